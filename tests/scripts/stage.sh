# A copy of one command of the project among stand-ins for the programs that it calls.
# Why: what a command asks of others and answers with must be testable without a build of minutes.
# shellcheck shell=bash

export project=$1
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
mkdir -p "$stage/bin" "$stage/tools/demo" "$stage/calls"
calls=$stage/calls
export calls

# stand_in NAME [LINE...]: a program that notes its words, one a line, in $calls/NAME, does what the
# lines say, and ends with the status in $calls/NAME.status, 0 where there is none. NAME with a slash
# is a file of the copy, else a program on the PATH.
stand_in() {
  local name=$1 file=$stage/bin/$1
  shift
  case "$name" in */*) file=$stage/$name ;; esac
  {
    echo '#!/bin/bash'
    printf 'name=%q\n' "${name##*/}"
    echo 'printf "%s\n" "$@" >>"$calls/$name"'
    [ $# -eq 0 ] || printf '%s\n' "$@"
    echo 'exit "$(cat "$calls/$name.status" 2>/dev/null || echo 0)"'
  } >"$file"
  chmod 755 "$file"
}

# fails NAME [STATUS]: from now on that stand-in fails; with status 0 it is well again.
fails() { echo "${2-1}" >"$calls/$1.status"; }

# run STATUS WORD...: runs the command of the copy, which must end with that status.
run() {
  local wanted=$1 status=0
  shift
  rm -f "$calls"/*[!s] # notes, not states
  (cd "$stage" && PATH=$stage/bin:$PATH "./${tested:?}" "$@") >"$stage/said" 2>&1 || status=$?
  [ "$status" -eq "$wanted" ] || wrong "$tested $*: status $status, wanted $wanted"
}

# asked NAME TEXT: the words that a stand-in got, side by side, hold that text.
asked() {
  local words
  words=" $(tr '\n' ' ' <"$calls/$1" 2>/dev/null)"
  [[ "$words" == *" $2 "* ]] || wrong "$1 was asked \"$words\", not \"$2\""
}

idle() { [ ! -e "$calls/$1" ] || wrong "$1 was run"; }

wrong() {
  cat "$stage/said" >&2 2>/dev/null || true
  echo "$1" >&2
  exit 1
}
