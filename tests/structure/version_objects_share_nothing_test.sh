#!/bin/sh
# Proves that the check of the objects of versions notices what it is there for: an inline function that
# was emitted must fail, the same as a static one must pass.
# Usage: version_objects_share_nothing_test.sh CHECK NM COMPILER
set -eu
check=$1
nm=$2
compiler=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

expect() { # STATUS WORD: of an object with a function that is declared with this word
  printf '%s int twice(int n) { return 2 * n; }\nint (*const pointer)(int) = twice;\n%s\n' "$2" \
    'int use(int n) { return pointer(n); }' >"$folder/a.cpp"
  "$compiler" -O0 -c "$folder/a.cpp" -o "$folder/a.o"
  status=0
  sh "$check" "$nm" "$folder/a.o" 2>/dev/null || status=$?
  if [ "$status" -ne "$1" ]; then
    echo "a function that is $2: status $status, wanted $1" >&2
    exit 1
  fi
}
expect 1 inline
expect 0 static
