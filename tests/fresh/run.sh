#!/bin/bash
# Runs the first two commands of the README, or those that words name, on a Debian machine that has
# nothing, once per release.
#
# What works where everything is installed already says little: a newcomer's first minutes are tried
# here, on the release of the machine or another one. Called by ../../test.sh fresh.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
project=$(cd "$here/../.." && pwd)
logs=$project/build-fresh

fail() {
  echo "fresh: $1" >&2
  exit 1
}

releases=(bookworm trixie)
case "${1-}" in
  bookworm | trixie) releases=("$1"); shift ;;
esac
mapfile -t readme < <("$here/readme_commands.sh" "$project/README.md")
[ "${#readme[@]}" -eq 2 ] || fail "README.md does not begin with the two commands"
commands=()
while [ $# -gt 0 ]; do
  case "$1" in
    demo) commands+=("${readme[0]}") ;;
    printer) commands+=("./demo.sh printer") ;;
    package) commands+=("./test.sh package") ;;
    delivery)
      commands+=("./test.sh delivery")
      [[ ! "${2-}" =~ ^[1-9][0-9]*$ ]] || { commands[-1]+=" $2"; shift; }
      ;;
    *)
      echo "fresh: unknown word \"$1\"; there are bookworm and trixie, and behind them demo," \
        "printer, delivery [N], package" >&2
      exit 2
      ;;
  esac
  shift
done
[ "${#commands[@]}" -gt 0 ] || commands=("${readme[@]}")

[ "$(id -u)" -eq 0 ] || fail "a Debian root can be made by root only; use sudo ./test.sh fresh"
unshare -m --pid --fork true 2>/dev/null ||
  fail "this machine refuses namespaces (unshare -m --pid), so nothing could be mounted privately"

"$project/tools/setup.sh" fresh

# shellcheck source=tests/package/alone.sh
. "$project/tests/package/alone.sh" # gives `work`, a folder, and `alone`

# committed_sources: what a clone would have, as a tar archive; without git all but what was built.
committed_sources() {
  local trust=(git -c "safe.directory=$project" -C "$project")
  if "${trust[@]}" rev-parse --verify -q HEAD >"$work/commit" 2>/dev/null; then
    [ -z "$("${trust[@]}" status --porcelain 2>/dev/null)" ] ||
      echo "fresh: changes that are not committed are left out" >&2
    "${trust[@]}" archive HEAD
  else
    tar -c -C "$project" --exclude='./build*' --exclude=./out .
  fi
}

mkdir -p "$logs"
committed_sources >"$work/sources.tar" || fail "the sources could not be packed"
failed=''
table=''
for release in "${releases[@]}"; do
  : >"$work/times"
  alone -m -- "$here/machine.sh" "$work/$release" "$release" "$work" "$logs" "${commands[@]}" ||
    failed+=" $release"
  table+=$(sed "s/^/  $release  /" "$work/times")$'\n'
  rm -rf --one-file-system "${work:?}/$release"
done
printf 'On fresh machines (what was said stands in build-fresh):\n%s' "$table"
[ -z "$failed" ] || fail "not all of it works on:$failed"
