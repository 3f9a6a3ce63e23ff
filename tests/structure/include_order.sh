# Fails when a source includes a folder that stands below its own in the house.
# usage: include_order.sh SOURCE_ROOT
set -eu
cd "$1"

set --
for folder in pellix multilayer simulation tool bench tests examples; do
  [ ! -d "$folder" ] || set -- "$@" "$folder"
done
if [ $# -eq 0 ]; then
  echo "no sources here" >&2
  exit 1
fi
find "$@" \( -name '*.h' -o -name '*.c' -o -name '*.cpp' \) -type f -exec awk '
BEGIN {
  # From the ground floor up: a folder may include itself and those before it.
  floors = split("pellix multilayer/io multilayer/cpu multilayer/shot multilayer/meter " \
                 "multilayer/color multilayer/coeff multilayer/multi_layer multilayer/api simulation tool", house)
  for (i = 1; i <= floors; ++i) floor_of[house[i]] = i
  # Guests include the house and themselves, and nobody includes them.
  guests["bench"] = guests["tests"] = floors
  guests["examples"] = floor_of["multilayer/api"]  # what is installed
}
# The folder that a path belongs to.
function room(path, parts) {
  split(path, parts, "/")
  return parts[1] == "multilayer" ? parts[1] "/" parts[2] : parts[1]
}
function complain(text) { print FILENAME ": " text; ++violations }
/^[ \t]*#[ \t]*include[ \t]*"/ {
  ++count
  split($0, quoted, "\"")
  own = room(FILENAME)
  used = room(quoted[2])
  highest = own in guests ? guests[own] : floor_of[own]
  if (!highest) complain("its folder has no place in the order")
  else if (used != own && !(used in floor_of && floor_of[used] <= highest))
    complain("must not include \"" quoted[2] "\"")
}
END {
  print count + 0 " includes, " violations + 0 " against the order"
  exit count == 0 || violations > 0
}' {} +
