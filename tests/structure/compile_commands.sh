# Fails unless every source is compiled with -ffp-contract=off and nothing that loosens it.
# usage: compile_commands.sh COMPILE_COMMANDS_JSON
set -eu
commands=$(grep '"command":' "$1")
loose=$(printf '%s\n' "$commands" | grep -v -e ' -ffp-contract=off ' || true)
loose="$loose$(printf '%s\n' "$commands" |
  grep -e '-ffp-contract=[^o]' -e '-ffp-contract=on' -e '-ffast-math' -e '-Ofast' \
       -e '-funsafe-math' -e '-fassociative-math' -e '-freciprocal-math' || true)"
if [ -n "$loose" ]; then
  printf 'compiled loosely:\n%s\n' "$loose" >&2
  exit 1
fi
printf '%s commands\n' "$(printf '%s\n' "$commands" | wc -l)"
