# Fails when a source includes a folder that stands below its own in the house.
# usage: include_order.sh SOURCE_ROOT
set -eu
cd "$1"

# A folder, and those whose headers its files may include besides their own.
allowed() {
  case "$1" in
    pellix) ;;
    multilayer/io) echo pellix ;;
    multilayer/shot) echo "$(allowed multilayer/io)" multilayer/io ;;
    multilayer/meter) echo "$(allowed multilayer/shot)" multilayer/shot ;;
    multilayer/color) echo "$(allowed multilayer/meter)" multilayer/meter ;;
    multilayer/coeff) echo "$(allowed multilayer/color)" multilayer/color ;;
    multilayer/multi_layer) echo "$(allowed multilayer/coeff)" multilayer/coeff ;;
    multilayer/api) echo "$(allowed multilayer/multi_layer)" multilayer/multi_layer ;;
    simulation) echo "$(allowed multilayer/api)" multilayer/api ;;
    tool | bench | tests) echo "$(allowed simulation)" simulation ;;
    examples) echo "$(allowed simulation)" ;;
    *) return 1 ;;
  esac
}

# The first folder of a path; within multilayer/, the first two.
room() {
  case "$1" in
    multilayer/*/*) echo "$1" | cut -d / -f 1,2 ;;
    */*) echo "$1" | cut -d / -f 1 ;;
    *) echo "$1" ;;
  esac
}

violations=0
includes=$(find pellix multilayer simulation tool bench tests examples \
             \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -type f 2>/dev/null |
           xargs grep -E -H '^[[:space:]]*#[[:space:]]*include[[:space:]]+"' || true)
count=$(printf '%s\n' "$includes" | grep -c . || true)
while IFS=: read -r file line; do
  [ -n "$file" ] || continue
  included=$(printf '%s\n' "$line" | sed 's/[^"]*"\([^"]*\)".*/\1/')
  own=$(room "$file")
  used=$(room "$included")
  if ! list=$(allowed "$own"); then
    echo "$file: its folder has no place in the order" >&2
    violations=$((violations + 1))
    continue
  fi
  case " $own $list " in
    *" $used "*) ;;
    *)
      echo "$file: must not include \"$included\"" >&2
      violations=$((violations + 1))
      ;;
  esac
done <<END
$includes
END

if [ "$count" -eq 0 ]; then
  echo "no includes found below $1" >&2
  exit 1
fi
echo "$count includes, $violations against the order"
[ "$violations" -eq 0 ]
