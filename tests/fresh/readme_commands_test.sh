#!/bin/sh
# Tests readme_commands.sh: a README that begins with other commands is noticed.
# Usage: readme_commands_test.sh PROJECT
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
commands=$(dirname "$0")/readme_commands.sh

fail() {
  echo "readme_commands.sh $1" >&2
  exit 1
}

[ "$("$commands" "$1/README.md")" = "./demo.sh
./test.sh" ] || fail "does not find ./demo.sh and ./test.sh in the README"

printf '%s\n' 'Text' '```' './other.sh' '```' '```sh' './first.sh' '```' 'Text ./not.sh' \
  '```sh' './second.sh' './third.sh' '```' >"$work/README.md"
[ "$("$commands" "$work/README.md")" = "./first.sh
./second.sh" ] || fail "takes other lines than the first two commands"

printf '%s\n' '```sh' './first.sh' 'rm -r everything' '```' >"$work/README.md"
! "$commands" "$work/README.md" 2>/dev/null || fail "takes any command"
printf '%s\n' '```sh' './first.sh' '```' >"$work/README.md"
! "$commands" "$work/README.md" 2>/dev/null || fail "is content with one command"
