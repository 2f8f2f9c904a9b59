#!/bin/bash
# Says how many lines and branches of all programs the tests have gone through.
#
# What no test reaches can be wrong for years; the limits make a new gap an error.
set -euo pipefail

# Per cent, of all code that ships and once more of what must not lose a label, with its judge.
# Branches are the two ways of each condition in the source, never those of exceptions.
least_lines=95 least_branches=90
careful='(^|/)(delivery|tools/paper)/'

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
# Only code that ships counts, whether the compiler was given its path as a whole or from the build
# directory on; what the build makes does not.
ignored="^/usr/|(^|/)(tests|bench)/|^$build/[^.]"
objects=("${programs[0]}")
for program in "${programs[@]:1}"; do objects+=(-object "$program"); done
llvm-cov report "${objects[@]}" -instr-profile "$build/all.profdata" -show-region-summary=false \
  -ignore-filename-regex="$ignored" 2>/dev/null |
  sed "s|^$root/||; s|^[^ ]*/[.][.]/||" >"$build/coverage.txt"
llvm-cov show "${objects[@]}" -instr-profile "$build/all.profdata" -show-branches=count \
  -ignore-filename-regex="$ignored" -show-line-counts 2>/dev/null >"$build/coverage-lines.txt"
cat "$build/coverage.txt"
echo "Each line with its count: $build/coverage-lines.txt"

# Behind each name stand functions, lines and branches, of each the number, the missed ones and a
# share; the last line holds the sums.
awk -v lines="$least_lines" -v branches="$least_branches" -v careful="$careful" '
  function share(all, missed) { return all > 0 ? 100 * (all - missed) / all : 0 }
  function judge(what, all, missed, ways, ways_missed) {
    printf "%s: lines %.2f %% (at least %d), branches %.2f %% (at least %d)\n", what,
      share(all, missed), lines, share(ways, ways_missed), branches
    if (share(all, missed) < lines || share(ways, ways_missed) < branches) bad = 1
  }
  $1 ~ careful { all += $5; missed += $6; ways += $8; ways_missed += $9 }
  $1 == "TOTAL" {
    found = 1
    judge("all", $5, $6, $8, $9)
  }
  END {
    judge("delivery and tools/paper", all, missed, ways, ways_missed)
    exit !found || bad
  }' "$build/coverage.txt"
