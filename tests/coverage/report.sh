#!/bin/bash
# Says how many lines and branches of all programs the tests have gone through.
#
# What no test reaches can be wrong for years; the limits make a new gap an error.
set -euo pipefail

least_lines=95 least_branches=90 # per cent, of all code that ships

[ $# -eq 1 ] || { echo "Usage: tests/coverage/report.sh BUILD_DIRECTORY" >&2; exit 2; }
build=$(cd "$1" && pwd)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

shopt -s nullglob
profiles=("$build"/profiles/*.profraw)
[ "${#profiles[@]}" -gt 0 ] || { echo "coverage: no counts in $build/profiles" >&2; exit 1; }
llvm-profdata merge -sparse -o "$build/all.profdata" "${profiles[@]}"

# Every program that the tests start has its own copy of the libraries; a line counts where one of
# them ran it.
mapfile -t programs < <(find "$build" -type f -perm -u+x ! -name '*.so*' ! -path '*/CMakeFiles/*' |
  while read -r file; do
    if [ "$(head -c 4 "$file" | tail -c 3)" = ELF ]; then echo "$file"; fi
  done)
ignored="^/usr/|(^|/)(tests|bench)/" # only code that ships counts
shipped=("$root"/filter "$root"/printer "$root"/imaging "$root"/delivery "$root"/tools)
objects=("${programs[0]}")
for program in "${programs[@]:1}"; do objects+=(-object "$program"); done
llvm-cov report "${objects[@]}" -instr-profile "$build/all.profdata" -show-region-summary=false \
  -ignore-filename-regex="$ignored" "${shipped[@]}" 2>/dev/null |
  sed "s|^$root/||" >"$build/coverage.txt"
llvm-cov show "${objects[@]}" -instr-profile "$build/all.profdata" -show-branches=count \
  -ignore-filename-regex="$ignored" -show-line-counts "${shipped[@]}" \
  2>/dev/null >"$build/coverage-lines.txt"
cat "$build/coverage.txt"
echo "Each line with its count: $build/coverage-lines.txt"

# The last line holds the sums; per cent stand behind lines and branches.
awk -v lines="$least_lines" -v branches="$least_branches" '
  $1 == "TOTAL" {
    n = 0
    for (i = 2; i <= NF; ++i) if ($i ~ /%$/) value[++n] = $i + 0
    found = 1
    print "lines " value[2] " % (at least " lines "), branches " value[3] " % (at least " branches ")"
    bad = value[2] < lines || value[3] < branches
  }
  END { exit !found || bad }' "$build/coverage.txt"
