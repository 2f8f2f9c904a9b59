#!/bin/bash
# Builds the project with its tests and runs them, one verb per kind of proof.
#
# The same command before a change is handed in and in continuous integration, so that a print
# that is right here is right there.
set -euo pipefail

usage() {
  cat <<'EOF'
Usage: ./test.sh [VERB]

  (none)    build with warnings as errors, all tests, source format, static checks, scripts
  drawer NAME...  builds and runs the tests of these folders of tests/ alone, for example unit; see
            tests/README.md
  sanitize  all tests with the address and undefined-behaviour sanitizers
  memcheck  the digest list's jobs under a memory checker: no dot may depend on memory that nobody
            wrote, with the fastest inner loops and with the plain ones
  portable  the filter's tests with g++ and clang++, each without optimisation and with -O3, all
            other tests with one of them; then arm64
  arm64     the filter and the tests of its functions built for arm64 and run in an emulator; digest
            list and black-box tests with that filter (left out where the tools cannot be had)
  fuzz [S]  every fuzz target for S seconds (60), with both sanitizers
  shapes [M] the memory of pages of M million dots (500) in every shape, from one row to one column,
            through each halftone; takes some 15 minutes, 3 GB of memory and 2 GB of disk
  coverage  lines and branches of the filter's and the tools' code that the tests go through
  mutate [P] builds with one small fault at a time, those of tests/mutations/list.txt whose line
            matches P, and fails where the tests notice too few; takes long
  delivery [N] N random faults (100) of every kind against a private print system and a virtual
            printer, one table; then restarts of the print system in the middle of a page, at most
            100 (as root, or where namespaces are granted)
  package   builds the Debian package, and installs, prints with and purges it in a Debian root of
            its own (as root)
  fresh [bookworm|trixie] [demo] [printer] [delivery [N]] [package]
            the first two commands of README.md, or those that the words behind the release name
            (./demo.sh, ./demo.sh printer, ./test.sh delivery N, ./test.sh package), in a new
            minimal root of that Debian release, or of both one after the other (as root); takes
            15 to 40 minutes a release on two cores, one with demo, and 6 GB of memory or disk

Missing packages are installed first (as root, or with sudo). JOBS=N sets the number of parallel
jobs. The exit status is not 0 where anything failed.
EOF
}

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
jobs=${JOBS:-$(nproc)}
cd "$root"
start=$SECONDS
left_out=''

fail() {
  echo "test: $1" >&2
  exit 1
}

generator() { if command -v ninja >/dev/null; then echo Ninja; else echo "Unix Makefiles"; fi; }

# configure DIR CMAKE_OPTION...: makes a build directory with warnings as errors.
configure() {
  local directory=$1
  shift
  local generate=(-G "$(generator)")
  [ ! -f "$directory/CMakeCache.txt" ] || generate=() # a build directory keeps its generator
  cmake -S . -B "$directory" ${generate[@]+"${generate[@]}"} -DKESTRA_TESTS=ON -DKESTRA_WERROR=ON \
    "$@" >"$directory.configure.log" 2>&1 || {
    cat "$directory.configure.log" >&2
    fail "configuring $directory failed"
  }
  mv "$directory.configure.log" "$directory/configure.log"
}

# build_and_test DIR CMAKE_OPTION...: configures, builds and runs every test, but those with a label
# that `left_labels` matches.
left_labels='^$'
build_and_test() {
  local directory=$1
  configure "$@"
  cmake --build "$directory" -j "$jobs" || fail "building $directory failed"
  (cd "$directory" && ctest -j "$jobs" --output-on-failure -LE "$left_labels") ||
    fail "tests failed in $directory"
}

# test_drawers NAME...: builds what the tests of these drawers need and runs them.
test_drawers() {
  local name targets=() labels
  for name in "$@"; do
    [ -f "tests/$name/CMakeLists.txt" ] || fail "there is no drawer tests/$name; those are the
folders of tests/ with a CMakeLists.txt"
    targets+=("drawer_$name")
  done
  labels=$(IFS='|' && echo "$*")
  configure build-test -DCMAKE_BUILD_TYPE=Release
  cmake --build build-test -j "$jobs" --target "${targets[@]}" || fail "building $* failed"
  (cd build-test && ctest -j "$jobs" --output-on-failure --no-tests=error -L "^($labels)$") ||
    fail "tests failed in $*"
}

# What decides about dots, and nothing else: the same page must give the same bytes with every
# compiler. All else is built and tested once with another compiler.
dots_targets=(rastertokestra rastertokestra_relative kestra_unit_tests kestra_stencil_tests
  kestra_kernel_tests kestra_choice_tests kestra_digests_tests kestra_blackbox_tests ppds)
dots_labels='^(unit|stencil|kernels|digests|blackbox)$'

# build_and_test_dots DIR CMAKE_OPTION...: the same with the filter alone.
build_and_test_dots() {
  local directory=$1
  configure "$@"
  cmake --build "$directory" -j "$jobs" --target "${dots_targets[@]}" ||
    fail "building $directory failed"
  (cd "$directory" && ctest -j "$jobs" --output-on-failure --no-tests=error -L "$dots_labels") ||
    fail "tests failed in $directory"
}

# Sets `missing`: why this machine cannot run arm64 programs in an emulator; empty where it can.
prepare_arm64() {
  missing=''
  if [ "$(uname -m)" = aarch64 ]; then
    missing="this machine is arm64 itself; its own tests are the proof"
  elif ! tools/setup.sh arm64; then
    missing="the cross compiler or the emulator cannot be installed here"
  elif ! tools/arm64_sysroot.sh build-arm64/sysroot libgtest-dev; then
    missing="the arm64 libraries cannot be fetched here"
  fi
}

# check_memory DIR: a job's status, 99 where the checker found something, is part of its digest.
check_memory() {
  local directory=$1 checker version
  configure "$directory" -DCMAKE_BUILD_TYPE=Release
  cmake --build "$directory" -j "$jobs" \
    --target kestra_digests_tests rastertokestra rastertokestra_relative ||
    fail "building $directory failed"
  # A runner must be a program; the name without an ending may be a script around it.
  checker=$(command -v valgrind.bin || command -v valgrind) || fail "no valgrind"
  for version in best plain; do
    echo "Under the memory checker, $version inner loops"
    (cd "$directory" &&
      KESTRA_KERNELS=$version KESTRA_TEST_RUNNER="$checker -q --error-exitcode=99" \
      ctest -j "$jobs" --output-on-failure -L digests) ||
      fail "memory is misused by the $version inner loops"
  done
}

# arm64_part NATIVE CMAKE_OPTION...: the arm64 programs, emulated; NATIVE is a build directory of this
# machine for the test programs that start the arm64 filter.
arm64_part() {
  local native=$1 missing emulator
  prepare_arm64
  if [ -n "$missing" ]; then
    echo "test: the arm64 part is left out: $missing" >&2
    left_out=", without the arm64 part"
    return
  fi
  emulator=$(command -v qemu-aarch64-static || command -v qemu-aarch64) || fail "no emulator"
  echo "With aarch64-linux-gnu-g++ -O2, in $emulator"
  configure build-arm64 -DCMAKE_TOOLCHAIN_FILE=packaging/arm64.cmake \
    -DKESTRA_SYSROOT="$root/build-arm64/sysroot" -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS=-O2 \
    -DCMAKE_CROSSCOMPILING_EMULATOR="$emulator;-L;$root/build-arm64/sysroot"
  cmake --build build-arm64 -j "$jobs" --target all rastertokestra_relative ||
    fail "building for arm64 failed"
  configure "$@"
  cmake --build "$native" -j "$jobs" --target kestra_blackbox_tests kestra_digests_tests ||
    fail "building $native failed"
  JOBS=$jobs tests/arm64/run.sh build-arm64 "$native" build-arm64/sysroot "$emulator" ||
    fail "the arm64 filter does not print as this machine's"
}

# The C++ files of the project, one per line.
source_files() {
  git ls-files --cached --others --exclude-standard '*.h' '*.cpp' 2>/dev/null | grep . ||
    find . -name 'build*' -prune -o -name out -prune -o \( -name '*.h' -o -name '*.cpp' \) -print
}

# Each version of clang's checkers formats a little otherwise and has more checks in a group. Those of
# this one are agreed on; what others say is left out, so that the tests pass wherever they are run.
clang_version=14
is_agreed() { # CHECKER WHAT
  local version
  version=$("$1" --version | sed -n 's/.*version \([0-9]*\).*/\1/p')
  [ "$version" != "$clang_version" ] || return 0
  echo "test: $2 is left out: it is that of $1 $clang_version, here is $version" >&2
  left_out="$left_out, without $2"
  return 1
}

check_format() {
  is_agreed clang-format "the check of the format" || return 0
  echo "Checking the source format"
  source_files | while read -r file; do [ ! -f "$file" ] || printf '%s\0' "$file"; done |
    xargs -0 clang-format --dry-run -Werror ||
    fail "some files are not formatted; run clang-format -i on them"
}

check_scripts() {
  echo "Checking the shell scripts"
  find . -name 'build*' -prune -o -name out -prune -o -name '*.sh' -print0 |
    xargs -0 shellcheck -S warning -x .ci/run || fail "shellcheck has complaints"
}

# The list of checks and why each group is in it stand in .clang-tidy.
check_tidy() {
  local log=build-test/clang-tidy.log files
  is_agreed clang-tidy "the static check" || return 0
  echo "Running clang-tidy"
  mapfile -t files < <(sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' build-test/compile_commands.json |
    grep -E "^$root/(delivery|filter|printer|imaging|tools)/" | sort -u)
  [ "${#files[@]}" -gt 0 ] || fail "no sources in build-test/compile_commands.json"
  if ! printf '%s\0' "${files[@]}" |
    xargs -0 -n 1 -P "$jobs" clang-tidy -p build-test --quiet >"$log" 2>/dev/null; then
    grep -A 4 -E '(warning|error):' "$log" >&2 || cat "$log" >&2
    fail "clang-tidy has complaints; all of them are in $log"
  fi
}

# bear_faults N: random faults during delivery. The self-check of their judge comes first in each run.
bear_faults() {
  local faults=(python3 tests/delivery/system/faults.py --build build-test --jobs "$jobs")
  configure build-test -DCMAKE_BUILD_TYPE=Release
  cmake --build build-test -j "$jobs" \
    --target rastertokestra kestrafit kestrasize kestra kestra-monitor kestra-paper ppds ||
    fail "building failed"
  "${faults[@]}" "$1" || fail "delivery does not bear a fault; build-test/delivery-faults has the logs"
  "${faults[@]}" --restart "$(($1 < 100 ? $1 : 100))" ||
    fail "delivery does not bear a restart; build-test/delivery-faults has the logs"
}

wrong_usage() {
  usage >&2
  exit 2
}
case "${1-}" in
  -h | --help) usage; exit 0 ;;
  '' | sanitize | memcheck | portable | arm64 | coverage | package) [ $# -le 1 ] || wrong_usage ;;
  delivery) [[ $# -le 2 && "${2-100}" =~ ^[1-9][0-9]*$ ]] || wrong_usage ;;
  fuzz) [[ $# -le 2 && "${2-60}" =~ ^[1-9][0-9]*$ ]] || wrong_usage ;;
  shapes) [[ $# -le 2 && "${2-500}" =~ ^[1-9][0-9]*$ ]] || wrong_usage ;;
  mutate) [ $# -le 2 ] || wrong_usage ;;
  drawer) [ $# -ge 2 ] || wrong_usage ;;
  fresh) ;; # looks at its words itself
  *) echo "test: unknown verb $1" >&2; wrong_usage ;;
esac

case "${1-}" in
  package) tools/setup.sh packagetest ;;
  fresh) ;;
  *) tools/setup.sh tests ;;
esac
case "${1-}" in
  '')
    build_and_test build-test -DCMAKE_BUILD_TYPE=Release
    check_format
    check_scripts
    check_tidy
    ;;
  drawer) test_drawers "${@:2}" ;;
  sanitize)
    # Whole print systems in real time say nothing more about memory than the tests of their parts.
    # Nor can a program that checks itself be traced by another.
    left_labels='^system$'
    # What the checks add to large tests takes a compiler more than twice as long to optimise more.
    build_and_test build-sanitize -DCMAKE_BUILD_TYPE=None -DCMAKE_CXX_FLAGS="-O1 -g1" \
      -DKESTRA_SANITIZE=address,undefined
    ;;
  memcheck) check_memory build-test ;;
  portable)
    left_labels='^system$'
    for compiler in g++ clang++; do
      for level in -O0 -O3; do
        echo "With $compiler $level"
        run=build_and_test_dots
        [ "$compiler$level" != clang++-O0 ] || run=build_and_test
        # A build type without flags of its own, so that only this level counts.
        "$run" "build-portable-$compiler$level" -DCMAKE_BUILD_TYPE=None \
          -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="$level"
      done
    done
    arm64_part build-portable-g++-O3
    ;;
  arm64) arm64_part build-test -DCMAKE_BUILD_TYPE=Release ;;
  fuzz)
    configure build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
      -DKESTRA_FUZZ=ON -DKESTRA_SANITIZE=address,undefined,fuzzer-no-link
    cmake --build build-fuzz -j "$jobs" --target fuzz_targets || fail "building the targets failed"
    JOBS=$jobs tests/fuzz/run.sh build-fuzz "${2-60}" || fail "a fuzz target broke"
    ;;
  shapes)
    configure build-test -DCMAKE_BUILD_TYPE=Release
    cmake --build build-test -j "$jobs" --target rastertokestra_relative ppds || fail "building failed"
    python3 tests/blackbox/page_shapes_test.py build-test/filter/rastertokestra_relative \
      build-test/ppd/kestraa4.ppd "${2-500}" || fail "a page takes more memory than it may"
    ;;
  coverage)
    # Each process adds its counts to one of a few files, which must not lie below /tmp: that is
    # private to jobs, even where the project lies there.
    counts=$(mktemp -d /var/tmp/kestra-counts.XXXXXX)
    trap 'rm -rf "$counts"' EXIT
    python3 tests/coverage/counts_folder.py "$counts"
    LLVM_PROFILE_FILE=$counts/%8m.profraw \
      build_and_test build-coverage -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_COMPILER=clang++ \
      -DCMAKE_CXX_FLAGS="-O1 -fprofile-instr-generate -fcoverage-mapping -DKESTRA_COVERAGE"
    rm -rf build-coverage/profiles
    mkdir -p build-coverage/profiles
    mv "$counts"/*.profraw build-coverage/profiles/
    tests/coverage/report.sh build-coverage || fail "too little of the code is tested"
    ;;
  mutate)
    JOBS=$jobs tests/mutations/run.py build-mutate ${2+"$2"} || fail "too many faults go unnoticed"
    ;;
  delivery) bear_faults "${2-100}" ;;
  package) tests/package/run.sh || fail "the package has faults" ;;
  fresh)
    shift
    tests/fresh/run.sh "$@" || exit
    set -- "fresh${1+ }$*"
    ;;
esac
echo "test.sh ${1-}: all well in $((SECONDS - start)) s$left_out"
