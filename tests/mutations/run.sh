#!/bin/bash
# Builds the project with one small fault at a time and says which faults no test notices.
#
# A rule that can be broken without a failing test is a rule that some later change will break.
set -euo pipefail

least=95 # per cent of the faults that must be noticed

usage() {
  cat <<'EOF'
Usage: tests/mutations/run.sh WORK_DIRECTORY [PATTERN]

Tries every fault of tests/mutations/list.txt, or those whose line matches PATTERN, in copies of the
project below WORK_DIRECTORY. Names the faults that survive; fails where too many do.
EOF
}

if [ $# -lt 1 ] || [ $# -gt 2 ]; then
  usage >&2
  exit 2
fi
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
mkdir -p "$1"
work=$(cd "$1" && pwd)
jobs=${JOBS:-$(nproc)}

# The quick ones first: most faults never reach the last.
programs=(tests/unit/kestra_unit_tests tests/stencil/kestra_stencil_tests
  tests/kernels/kestra_kernel_tests tests/digests/kestra_digests_tests
  tests/blackbox/kestra_blackbox_tests)
targets=()
for program in "${programs[@]}"; do targets+=("${program##*/}"); done

# prepare COPY: a copy of the project, built without faults, whose tests pass.
prepare() {
  local copy=$work/$1
  mkdir -p "$copy"
  (cd "$root" && git ls-files -z --cached --others --exclude-standard | xargs -0 tar -c --) |
    tar -x -C "$copy"
  cmake -G Ninja -S "$copy" -B "$copy/build" -DKESTRA_TESTS=ON -DCMAKE_BUILD_TYPE=None \
    -DCMAKE_CXX_FLAGS=-O1 >"$work/$1.log" 2>&1
  cmake --build "$copy/build" -j 1 --target "${targets[@]}" >>"$work/$1.log" 2>&1
}

# notice COPY: the name of the first test program that fails, or nothing. What takes minutes hangs.
notice() {
  local program
  for program in "${programs[@]}"; do
    (cd "$work/$1/build/${program%/*}" &&
      timeout 300 "$work/$1/build/$program" --gtest_fail_fast --gtest_brief=1) \
      >"$work/$1.test.log" 2>&1 || {
      echo "${program##*/}"
      return 0
    }
  done
}

# try COPY FILE OLD NEW: prints what became of one fault.
try() {
  local path=$work/$1/$2 text changed seen
  text=$(cat "$path" && echo .)
  text=${text%.}
  local without=${text//"$3"/}
  if [ $((${#text} - ${#without})) -ne ${#3} ]; then
    echo "stale: the text is not in $2 exactly once"
    return 0
  fi
  changed=${text/"$3"/"$4"}
  printf '%s' "$changed" >"$path"
  if cmake --build "$work/$1/build" -j 1 --target "${targets[@]}" >"$work/$1.build.log" 2>&1; then
    seen=$(notice "$1")
    if [ -n "$seen" ]; then echo "noticed: $seen"; else echo survived; fi
  else
    echo "noticed: compiler"
  fi
  printf '%s' "$text" >"$path"
}

mapfile -t faults < <(grep -v '^#' "$root/tests/mutations/list.txt" | grep . | grep -e "${2-.}")
echo "${#faults[@]} faults, $jobs at a time"
rm -f "$work"/result.*

# worker NUMBER: every jobs-th fault, in a copy of its own.
worker() {
  local index file old new meaning
  prepare "copy$1" || { echo "the copy does not build: $work/copy$1.log" >&2; return 1; }
  [ -z "$(notice "copy$1")" ] || { echo "tests fail without any fault: $work/copy$1.test.log" >&2; return 1; }
  for ((index = $1; index < ${#faults[@]}; index += jobs)); do
    IFS=$'\x01' read -r file old new meaning <<<"${faults[index]// | /$'\x01'}"
    printf '%s\x01%s\x01%s\n' "$(try "copy$1" "$file" "$old" "$new")" "$file" "$meaning" |
      tee -a "$work/result.$1" | tr '\001' ' '
  done
}
pids=()
for ((n = 0; n < jobs; ++n)); do
  worker "$n" &
  pids+=($!)
done
for pid in "${pids[@]}"; do wait "$pid"; done

cat "$work"/result.* >"$work/results.txt"
count() { grep -c "$1" "$work/results.txt" || true; }
all=${#faults[@]} noticed=$(count '^noticed') stale=$(count '^stale')
same=$(grep '^survived' "$work/results.txt" | grep -c $'\x01same:' || true)
echo
echo "$noticed of $((all - same - stale)) faults noticed; $same more change no result; $stale stale"
grep '^survived\|^stale' "$work/results.txt" | tr '\001' ' ' || true
[ "$stale" -eq 0 ] && [ $((noticed * 100)) -ge $(((all - same) * least)) ]
