#!/bin/bash
# Builds the project with one small fault at a time and says which faults no test notices.
#
# A rule that can be broken without a failing test is a rule that some later change will break.
set -euo pipefail

least=95 # per cent of the faults that must be noticed

usage() {
  cat <<'EOF'
Usage: tests/mutations/run.sh WORK_DIRECTORY|--check [PATTERN]

Tries every fault of tests/mutations/list.txt, or those whose line matches PATTERN (as for
grep -E), in copies of the project below WORK_DIRECTORY. Names the faults that survive; fails where
too many do. What became of each fault stands in WORK_DIRECTORY/results.txt. JOBS=N works in N copies
at a time.

--check tries nothing: it fails where a line's text is not in its file exactly once.
EOF
}

if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  usage >&2
  exit 2
fi
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
separator=$'\x01'

# stale FILE OLD: whether the file does not hold the text exactly once.
stale() {
  local text without
  text=$(cat "$root/$1") || return 0
  without=${text//"$2"/}
  [ $((${#text} - ${#without})) -ne ${#2} ]
}

mapfile -t faults < <(grep -v '^#' "$root/tests/mutations/list.txt" | grep . | grep -E -e "${2-.}")
[ "${#faults[@]}" -gt 0 ] || { echo "mutations: no fault matches ${2-.}" >&2; exit 2; }
wrong=0
for fault in "${faults[@]}"; do
  IFS=$separator read -r file old _ <<<"${fault// | /$separator}"
  stale "$file" "$old" || continue
  echo "stale, the text is not there exactly once: $fault" >&2
  wrong=1
done
[ "$wrong" -eq 0 ] || exit 1
[ "$1" != --check ] || exit 0

mkdir -p "$1"
work=$(cd "$1" && pwd)
jobs=${JOBS:-$(nproc)}

# Many builds of nearly the same: what is compiled once is kept, for all copies together.
if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER-}" ] && command -v ccache >/dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$work CCACHE_NOHASHDIR=1
fi
ulimit -c 0 # faults crash

# What a test that is broken off leaves behind must not stay, and jobs of other users write there.
export TMPDIR
TMPDIR=$(mktemp -d)
chmod 1777 "$TMPDIR"
trap 'rm -rf "$TMPDIR"' EXIT

# The test programs: their place in a build, and the seconds after which they hang.
declare -A place=([unit]=tests/unit/kestra_unit_tests [stencil]=tests/stencil/kestra_stencil_tests
  [kernels]=tests/kernels/kestra_kernel_tests [choice]=tests/kernels/kestra_choice_tests
  [digests]=tests/digests/kestra_digests_tests
  [tools]=tests/tools/tools_test [paper]=tests/paper/paper_test
  [core]=tests/delivery/core/kestra_delivery_core_tests
  [sinks]=tests/delivery/sinks/kestra_delivery_sinks_tests
  [backend]=tests/delivery/backend/delivery_backend_test
  [delivery]=tests/delivery/tool/delivery_tool_test
  [driver]=tests/driver/driver_test
  [blackbox]=tests/blackbox/kestra_blackbox_tests)
declare -A limit=([unit]=60 [stencil]=120 [kernels]=60 [choice]=10 [digests]=180 [tools]=120 [paper]=60 [core]=60
  [sinks]=60 [backend]=60 [delivery]=60 [driver]=120 [scripts]=60 [blackbox]=1200)
# Those that wait more than they compute run in so many parts side by side.
declare -A parts=([tools]=2 [paper]=6 [core]=4 [sinks]=8 [backend]=4 [delivery]=4)
# Of the slow ones the tests that look at bytes.
declare -A filter=([blackbox]='-LongJob*:ParallelJobs*:CancelledJob*:NoMemory*:*CutStream*')

# programs_for FILE: the programs that may notice a fault in it, the likeliest and quickest first.
programs_for() {
  case $1 in
    delivery/core/device_uri*) echo sinks backend delivery ;;
    delivery/core/*) echo core delivery backend ;;
    delivery/sinks/*) echo sinks backend delivery ;;
    delivery/backend/* | delivery/monitor/*) echo backend ;;
    delivery/tool/*) echo delivery ;;
    tools/paper/*) echo paper ;;
    tools/*) echo tools ;;
    driver/*) echo driver ;;
    *.sh | packaging/*) echo scripts ;;
    imaging/kernels/*) echo kernels choice unit stencil digests blackbox ;;
    imaging/tattoo/* | printer/anti_wrinkle.cpp | printer/page_processing.cpp)
      echo stencil unit kernels digests blackbox ;;
    filter/*) echo unit digests blackbox ;;
    *) echo unit stencil kernels digests blackbox ;;
  esac
}

# build COPY PROGRAM
build() {
  [ "$2" != scripts ] || return 0 # they are their own programs
  cmake --build "$work/$1/build" -j 1 --target "${place[$2]##*/}" >"$work/$1.build.log" 2>&1
}

# run_part COPY PROGRAM PART PARTS FILTER
run_part() {
  if [ "$2" = scripts ]; then
    cd "$work/$1/build"
    exec timeout -k 10 "${limit[$2]}" ctest -L scripts --no-tests=error >"$work/$1.part$3.log" 2>&1
  fi
  local program=$work/$1/build/${place[$2]}
  cd "${program%/*}"
  GTEST_TOTAL_SHARDS=$4 GTEST_SHARD_INDEX=$3 exec timeout -k 10 "${limit[$2]}" "$program" \
    --gtest_fail_fast --gtest_brief=1 --gtest_filter="$5" >"$work/$1.part$3.log" 2>&1
}

# run_tests COPY PROGRAM PARTS FILTER: until the first test fails, or the time is up.
run_tests() {
  local running=() status=0 part pid
  rm -f "$work/$1".part*.log
  for ((part = 0; part < $3; ++part)); do
    run_part "$1" "$2" "$part" "$3" "$4" &
    running[$!]=$part
  done
  while [ "$status" -eq 0 ] && [ "${#running[@]}" -gt 0 ]; do
    wait -n "${!running[@]}" || true # of several that ended at once it tells of one
    for pid in "${!running[@]}"; do
      if kill -0 "$pid" 2>/dev/null; then continue; fi
      wait "$pid" || status=$?
      unset "running[$pid]"
    done
  done
  if [ "${#running[@]}" -gt 0 ]; then
    kill "${!running[@]}" || true
    wait "${!running[@]}" || true
  fi 2>/dev/null
  cat "$work/$1".part*.log >"$work/$1.test.log"
  return "$status"
}

# failed_test COPY: the name of the first test that failed; nothing where a program crashed or hung.
failed_test() {
  sed -n 's/^\[ *FAILED *\] \([^ ,]*\).*/\1/p' "$work/$1.test.log" | head -n 1
}

# fails COPY PROGRAM: names the test that fails. One that passes when it is run again, alone, failed
# because the machine was busy: the others are run again without it.
fails() {
  local status test tests=${filter[$2]-*-}
  while true; do
    status=0
    run_tests "$1" "$2" "${parts[$2]-1}" "$tests" || status=$?
    [ "$status" -ne 0 ] || return 1
    test=$(failed_test "$1")
    if [ -z "$test" ]; then echo "status $status"; return 0; fi
    run_tests "$1" "$2" 1 "$test" || { echo "$test"; return 0; }
    echo "$2: $test failed once" >>"$work/busy.txt"
    tests=$tests:$test
  done
}

# prepare COPY: a copy of the project, ready to build; in one that is there, what differs is renewed.
prepare() {
  local copy=$work/$1 file
  while IFS= read -r -d '' file; do
    [ -f "$root/$file" ] || continue
    cmp -s "$root/$file" "$copy/$file" && continue
    mkdir -p "$copy/$(dirname "$file")"
    cp "$root/$file" "$copy/$file"
  done < <(cd "$root" && git ls-files -z --cached --others --exclude-standard)
  cmake -G Ninja -S "$copy" -B "$copy/build" -DKESTRA_TESTS=ON -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_CXX_FLAGS=-O1 >"$work/$1.build.log" 2>&1
}

# check_without_fault COPY: all tests that will be run must pass, or they prove nothing.
check_without_fault() {
  local program
  for program in "${needed[@]}"; do
    if ! build "$1" "$program" || fails "$1" "$program"; then
      echo "$program fails without any fault: $work/$1.build.log, $work/$1.test.log" >&2
      return 1
    fi
  done
}

# notice COPY FILE: what notices the fault that is in the copy, or "survived".
notice() {
  local program test
  for program in $(programs_for "$2"); do
    if ! build "$1" "$program"; then
      echo "noticed: compiler"
      return 0
    fi
    if test=$(fails "$1" "$program"); then
      echo "noticed: $program, $test"
      return 0
    fi
  done
  echo survived
}

# try COPY FILE OLD NEW: prints what became of one fault.
try() {
  local path=$work/$1/$2 text
  text=$(cat "$path" && echo .)
  text=${text%.}
  printf '%s' "${text/"$3"/"$4"}" >"$path"
  notice "$1" "$2"
  printf '%s' "$text" >"$path"
}

# Numbers of the faults, each taken once.
take() {
  local n
  {
    flock 9
    n=$(cat "$work/next")
    echo $((n + 1)) >"$work/next"
  } 9>"$work/next.lock"
  echo "$n"
}

# worker NUMBER: takes faults while there are any, in a copy of its own.
worker() {
  local index file old new meaning
  [ "$1" -eq 0 ] || prepare "copy$1"
  [ "$1" -ne 0 ] || check_without_fault copy0
  while index=$(take) && [ "$index" -lt "${#faults[@]}" ]; do
    IFS=$separator read -r file old new meaning <<<"${faults[index]// | /$separator}"
    printf '%s\x01%s\x01%s\x01%s\n' "$(try "copy$1" "$file" "$old" "$new")" "$file" "$old" \
      "$meaning" | tee -a "$work/result.$1" | tr '\001' '\t'
  done
}

echo "${#faults[@]} faults, $jobs at a time"
mapfile -t needed < <(for fault in "${faults[@]}"; do programs_for "${fault%% | *}"; done |
  tr ' ' '\n' | sort -u)
rm -f "$work"/result.* "$work/busy.txt"
prepare copy0
for program in "${needed[@]}"; do # the other copies find it compiled
  build copy0 "$program" || { cat "$work/copy0.build.log" >&2; exit 1; }
done
echo 0 >"$work/next"
pids=()
for ((n = 0; n < jobs; ++n)); do
  worker "$n" &
  pids+=($!)
done
failed=0
for pid in "${pids[@]}"; do wait "$pid" || failed=1; done
[ "$failed" -eq 0 ] || exit 1

cat "$work"/result.* | tr '\001' '\t' | sort >"$work/results.txt"
count() { grep -c "$1" "$work/results.txt" || true; }
noticed=$(count '^noticed') same=$(count $'^survived.*\tsame:')
all=$((${#faults[@]} - same))
echo
echo "$noticed of $all faults noticed; $same more change no result"
grep -o '^noticed: [a-z]*' "$work/results.txt" | sort | uniq -c || true
grep '^survived' "$work/results.txt" || true
[ $((noticed * 100)) -ge $((all * least)) ]
