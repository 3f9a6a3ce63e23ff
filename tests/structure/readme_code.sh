# Fails unless the C program in the README compiles as C99.
# usage: readme_code.sh SOURCE_ROOT CC
set -eu
code=$(sed -n '/^```c$/,/^```$/p' "$1/README.md" | grep -v '^```')
[ -n "$code" ] || { echo "no C code in the README" >&2; exit 1; }
printf '%s\n' "$code" |
  "$2" -std=c99 -pedantic -Wall -Wextra -Werror -fsyntax-only -I "$1" -x c -
