# Plants includes in a small tree and looks at what the order check says.
# usage: include_order_test.sh CHECKER FOLDER
set -eu
checker=$1
tree=$2

# Expects the check to pass (0) or fail (1) with one source that has one include.
expect() {
  rm -rf "$tree"
  mkdir -p "$tree/pellix" "$(dirname "$tree/$2")"
  printf '#include "pellix/pellix.h"\n' >"$tree/pellix/pellix.cpp"
  printf '  #  include "%s"  // why\n' "$3" >"$tree/$2"
  result=0
  sh "$checker" "$tree" >/dev/null 2>&1 || result=1
  if [ "$result" -ne "$1" ]; then
    echo "$2 includes $3: expected $1, got $result" >&2
    exit 1
  fi
}

expect 0 multilayer/api/a.cpp multilayer/io/fail.h
expect 0 multilayer/color/a.h multilayer/meter/led_meter.h
expect 0 multilayer/io/a.cpp pellix/pellix.h
expect 0 simulation/a.cpp multilayer/api/multilayer.h
expect 0 tool/deeper/a.cpp simulation/wall.h
expect 0 tests/meter/a.cpp tests/support/meters.h
expect 0 tests/tool/a.cpp tool/scan.h
expect 1 tool/a.cpp tests/support/meters.h
expect 1 multilayer/io/a.cpp multilayer/meter/led_meter.h
expect 1 multilayer/meter/a.h multilayer/color/chroma.h
expect 1 multilayer/color/a.c multilayer/multi_layer/multi_layer_coeff.h
expect 1 multilayer/multi_layer/a.cpp multilayer/api/multilayer.h
expect 1 multilayer/multi_layer/a.cpp simulation/wall.h
expect 1 multilayer/meter/a.cpp tests/support/meters.h
expect 1 simulation/a.cpp tool/scan.h
expect 1 examples/cpp/a.cpp simulation/wall.h
expect 1 pellix/a.cpp multilayer/io/fail.h
expect 1 multilayer/utils/a.cpp multilayer/io/fail.h
expect 1 multilayer/api/a.cpp neighbour.h

rm -rf "$tree"
mkdir "$tree"
if sh "$checker" "$tree" >/dev/null 2>&1; then
  echo "an empty tree passed" >&2
  exit 1
fi
