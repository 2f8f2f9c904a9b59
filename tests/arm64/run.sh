#!/bin/bash
# Runs the arm64 programs of a cross-build in an emulator: tests of functions, then whole jobs.
#
# The same page must give the same dots on both processors of print servers, and most people who
# change the code have only one of them.
set -euo pipefail

usage() {
  cat <<'EOF'
Usage: tests/arm64/run.sh CROSS_BUILD NATIVE_BUILD SYSROOT EMULATOR

CROSS_BUILD holds the arm64 programs, configured with this EMULATOR and SYSROOT; NATIVE_BUILD this
machine's kestra_blackbox_tests and kestra_digests_tests, which start the arm64 filter through it.
EOF
}

fail() {
  echo "arm64: $1" >&2
  exit 1
}

[ $# -eq 4 ] || { usage >&2; exit 2; }
cross=$(cd "$1" && pwd) native=$(cd "$2" && pwd) sysroot=$(cd "$3" && pwd) emulator=$4
jobs=${JOBS:-$(nproc)}

# Black-box tests that say nothing here. All others run.
left_out=(
  # Limits the address space, of which the emulator takes more than any filter.
  'OfEachKind/NoMemory\.'
  # Measure the memory of the process, which is the emulator's.
  'ThousandPages/LongJob\.' 'LongJobMemory\.' 'PageShapes\.'
  # Cancel at moments of a job's time, most of which is the emulator's start.
  'TwentyMoments/CancelledJob\.' 'CancelledJob\.'
  # Thousands of starts with a page cut at every byte: five minutes, for the reading of streams,
  # which the library does. The cut compressed stream and the garbage stay in.
  'EveryByte/CutStream\.'
  # The program with relative paths, again.
  'BlackboxInRelativeMode$'
)

# Fails unless the program was built for arm64.
expect_arm64() {
  LC_ALL=C readelf -h "$1" | grep -q 'Machine: *AArch64' || fail "$1 is no arm64 program"
}

# run_tests DIR CTEST_OPTION...: none found is a failure, too.
run_tests() {
  local directory=$1
  shift
  (cd "$directory" && ctest -j "$jobs" --output-on-failure --no-tests=error "$@") |
    grep -vE '^ +Start +[0-9]+:|^ *[0-9]+/[0-9]+ Test .* Passed ' ||
    fail "tests failed with the arm64 programs"
}

for program in "$cross"/{rastertokestra,kestrafit,filter/rastertokestra_relative} \
  "$cross"/tests/*/kestra_*_tests; do
  expect_arm64 "$program"
done

echo "Tests of functions, as arm64 programs"
run_tests "$cross"

export KESTRA_TEST_FILTER=$cross/rastertokestra
export KESTRA_TEST_FILTER_RELATIVE=$cross/filter/rastertokestra_relative
export KESTRA_TEST_RUNNER="$emulator -L $sysroot -0 %0"
# The fastest kernels of arm64 first, then those that go pixel by pixel.
for version in baseline plain; do
  echo "The digest list with the arm64 filter, $version kernels"
  KESTRA_KERNELS=$version run_tests "$native" -L '^digests$'
done
echo "Black-box tests with the arm64 filter"
run_tests "$native" -L '^blackbox$' -E "^($(IFS='|' && echo "${left_out[*]}"))"
