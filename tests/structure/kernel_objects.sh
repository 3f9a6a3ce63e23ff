# Fails when a kernel's object defines anything that the linker could take for another processor: the
# first of several weak copies serves all. Each object defines its entries and nothing else.
# usage: kernel_objects.sh NM OBJECT...
set -eu
nm=$1
shift
for object; do
  defined=$("$nm" --defined-only --extern-only --format=posix "$object")
  if [ -z "$defined" ]; then
    echo "$object defines nothing" >&2
    exit 1
  fi
  loose=$(printf '%s\n' "$defined" | grep -v ' T ' || true)
  if [ -n "$loose" ]; then
    printf '%s shares\n%s\n' "$object" "$loose" >&2
    exit 1
  fi
done
echo "$# objects define their entries alone"
