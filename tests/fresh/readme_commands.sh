#!/bin/sh
# Prints the first two commands that README.md shows, one per line: what a newcomer types first.
# Fails where they are not one program of the project each.
# Usage: readme_commands.sh README.md
set -eu
commands=$(awk '/^```sh$/ { inside = 1; next } /^```/ { inside = 0 } inside' "$1" | head -n 2)
[ "$(printf '%s\n' "$commands" | grep -c '^\./[a-z]*\.sh$')" -eq 2 ] || {
  echo "the first two commands of $1 are no programs of the project: $commands" >&2
  exit 1
}
printf '%s\n' "$commands"
