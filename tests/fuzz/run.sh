#!/bin/bash
# Runs every fuzz target for a while with clang's fuzzer and both sanitizers, and says what was
# reached.
#
# Inputs that it finds are kept in the build directory; the committed corpus is only read. An input
# that breaks something is left there too, and its path is told.
set -euo pipefail

usage() { echo "Usage: tests/fuzz/run.sh BUILD_DIRECTORY SECONDS [TARGET...]"; }

[ $# -ge 2 ] || { usage >&2; exit 2; }
build=$(cd "$1" && pwd) seconds=$2
shift 2
corpus=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/corpus
targets=("$@")
[ $# -gt 0 ] || mapfile -t targets < <(cd "$corpus" && printf '%s\n' *)
jobs=${JOBS:-$(nproc)}

# A page takes microseconds; what takes a minute is a hang. The scratch spool lies in memory where
# it can.
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")")
trap 'rm -rf "$scratch"' EXIT

# fuzz TARGET: one target, its messages in BUILD/fuzz/TARGET.log.
fuzz() {
  local found=$build/fuzz/$1
  local leaks=1
  # The print system's own reader of printer descriptions loses a few bytes of damaged ones.
  case "$1" in job | settings) leaks=0 ;; esac
  mkdir -p "$found/corpus"
  ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=$leaks TMPDIR=$scratch \
    "$build/tests/fuzz/fuzz_$1" -max_total_time="$seconds" -timeout=60 -rss_limit_mb=2560 \
    -max_len=16384 -detect_leaks=$leaks -print_final_stats=1 -artifact_prefix="$found/" \
    "$found/corpus" "$corpus/$1" >"$build/fuzz/$1.log" 2>&1
}

mkdir -p "$build/fuzz"
failed=()
running=()
# collect: waits for the first of the running targets.
collect() {
  local entry=${running[0]}
  running=("${running[@]:1}")
  wait "${entry%%:*}" || failed+=("${entry#*:}")
}
for target in "${targets[@]}"; do
  [ "${#running[@]}" -lt "$jobs" ] || collect
  echo "Fuzzing $target for $seconds s"
  fuzz "$target" &
  running+=("$!:$target")
done
while [ "${#running[@]}" -gt 0 ]; do collect; done

# statistic TARGET NAME: a number of libFuzzer's last report.
statistic() { sed -n "s/^stat::$2: *\([0-9]*\)$/\1/p" "$build/fuzz/$1.log" | tail -n 1; }

printf '%-12s %12s %10s %14s %8s %8s\n' target runs runs/s "edges (corpus)" edges inputs
for target in "${targets[@]}"; do
  log=$build/fuzz/$target.log
  printf '%-12s %12s %10s %14s %8s %8s\n' "$target" "$(statistic "$target" number_of_executed_units)" \
    "$(statistic "$target" average_exec_per_sec)" \
    "$(sed -n 's/.*INITED cov: \([0-9]*\).*/\1/p' "$log" | tail -n 1)" \
    "$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)" \
    "$(find "$build/fuzz/$target/corpus" -type f | wc -l)"
done
for target in ${failed[@]+"${failed[@]}"}; do
  echo "fuzz: $target failed; the end of $build/fuzz/$target.log:" >&2
  tail -n 40 "$build/fuzz/$target.log" >&2
done
[ "${#failed[@]}" -eq 0 ]
