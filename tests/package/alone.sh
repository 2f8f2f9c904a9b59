# Runs a command in namespaces that end, with everything in them, with the script that sources this:
# whatever is mounted or started there is gone afterwards, also after a failure or Ctrl-C.
# shellcheck shell=bash

work=$(mktemp -d)
child=''
# All mounts are in the child's namespace: when it is gone, so are they, and the tree can go.
cleanup() {
  local status=$?
  trap - EXIT
  # unshare ignores milder signals; it takes its whole machine with it.
  if [ -n "$child" ] && kill -KILL "$child" 2>/dev/null; then
    wait "$child" 2>/dev/null || true
  fi
  rm -rf --one-file-system "$work"
  exit "$status"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# alone UNSHARE_OPTION... -- COMMAND...: in namespaces that end, with all in them, with this script.
alone() {
  local options=()
  while [ "$1" != -- ]; do options+=("$1"); shift; done
  shift
  unshare "${options[@]}" --pid --fork --kill-child -- "$@" </dev/null &
  child=$!
  local status=0
  wait "$child" || status=$?
  child=''
  return "$status"
}
