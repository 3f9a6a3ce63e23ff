# Fails unless a shared library defines exactly the given dynamic names.
# usage: exports.sh NM LIBRARY NAME...
set -eu
nm=$1
library=$2
shift 2
expected=$(printf '%s\n' "$@" | LC_ALL=C sort)
found=$("$nm" -D --defined-only --format=posix "$library" | cut -d ' ' -f 1 | LC_ALL=C sort)
if [ "$found" != "$expected" ]; then
  printf '%s exports\n%s\ninstead of\n%s\n' "$library" "$found" "$expected" >&2
  exit 1
fi
echo "$library exports exactly $# names"
