#!/bin/bash
# Proves that each check of hardening.sh can fail: a little program with all protections passes,
# and fails with the right words when it is built without one of them.
set -euo pipefail
check=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/hardening.sh
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# A buffer on the stack and a copy whose length only the program's user knows.
cat >"$work/program.cpp" <<'EOF_PROGRAM'
#include <cstdio>
#include <cstring>
int main(int count, char** words) {
  char buffer[32];
  std::strcpy(buffer, words[count - 1]);
  return std::puts(buffer);
}
EOF_PROGRAM

# shellcheck disable=SC2054  # the commas are the linker's
full=(-O2 -fPIE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
  -pie -Wl,-z,relro -Wl,-z,now)

# build OPTION...: the program with all protections but for what the options take away.
build() { g++ "${full[@]}" "$@" "$work/program.cpp" -o "$work/program"; }

build
"$check" "$work/program" || { echo "a program with all protections fails" >&2; exit 1; }

# notices WORDS OPTION...: built with the options the program must fail, with these words.
notices() {
  local words=$1
  shift
  build "$@"
  if "$check" "$work/program" 2>"$work/said"; then
    echo "built with $* the program passes, though it has no $words" >&2
    exit 1
  fi
  grep -qF "no $words" "$work/said" || {
    echo "built with $* the check should say \"no $words\", but says:" >&2
    cat "$work/said" >&2
    exit 1
  }
}

notices "position-independent code" -fno-pie -no-pie
notices "position-independent executable" -shared -fPIC
notices "read-only relocations" -Wl,-z,norelro
notices "binding at the start" -Wl,-z,lazy
notices "stack protector" -fno-stack-protector
notices "checked functions" -U_FORTIFY_SOURCE
notices "stack without execution" -Wl,-z,execstack
