#!/bin/bash
# The runner of the mutations tells what became of each fault, and fails where too many survive.
# Usage: mutate_test.sh PROJECT
set -euo pipefail
# shellcheck source=tests/scripts/stage.sh
. "$(dirname "$0")/stage.sh"
export tested=tests/mutations/run.py JOBS=2
mkdir -p "$stage/tests/mutations" "$stage/tools/paper"
cp "$project/$tested" "$stage/$tested"
printf 'all is right\r\n' >"$stage/tools/paper/a.cpp"
cat >"$stage/tests/mutations/list.txt" <<'EOF'
# file | text that is in it once | text put in its place | what would print then

tools/paper/a.cpp | right | wrong | a test fails
tools/paper/a.cpp | right | crash | a test crashes
tools/paper/a.cpp | right | unclear | what does not compile
tools/paper/a.cpp | is right |  | same: nothing changes
tools/paper/a.cpp | right | busy | a test that fails only beside others
EOF
cp "$stage/tests/mutations/list.txt" "$stage/list"
# The test program of a copy: what it says depends on what the copy's source says.
cat >"$stage/paper_test" <<'EOF'
#!/bin/bash
source=$(tr -d '\r' <../../../tools/paper/a.cpp)
case "$GTEST_SHARD_INDEX of $GTEST_TOTAL_SHARDS $* $source" in
  *wrong) echo '[  FAILED  ] Paper.IsRight (0 ms)'; exit 1 ;;
  *crash) exit 3 ;;
  '2 of 6 '*=\*-\ *busy) echo '[  FAILED  ] Paper.IsAlone (0 ms)'; exit 1 ;;
esac
EOF
chmod 755 "$stage/paper_test"
export stage
stand_in git 'printf "tools/paper/a.cpp\0"'
stand_in cmake 'if [ "$1" = --build ]; then' \
  '  mkdir -p "$2/tests/paper" && cp "$stage/paper_test" "$2/tests/paper/"' \
  '  ! grep -q unclear "$2/../tools/paper/a.cpp" || exit 1' \
  'fi'

run 1 tries
diff - <(cut -f 1,4 "$stage/tries/results.txt") <<'EOF' || wrong "other results"
noticed: compiler	what does not compile
noticed: paper, Paper.IsRight	a test fails
noticed: paper, status 3	a test crashes
survived	same: nothing changes
survived	a test that fails only beside others
EOF
grep -qx '3 of 4 faults noticed; 1 more change no result' "$stage/said" || wrong "another verdict"
grep -qx 'paper: Paper.IsAlone failed once' "$stage/tries/busy.txt" || wrong "no busy test"
for copy in "$stage"/tries/copy?; do
  cmp "$stage/tools/paper/a.cpp" "$copy/tools/paper/a.cpp" || wrong "a fault stayed in $copy"
done
run 0 tries 'fails$|crashes|same:'
run 2 tries 'nothing of the kind'

run 0 --check
for stale in 'left | wrong' 'l | wrong'; do # a text that is not there, one that is there twice
  { cat "$stage/list" && echo "tools/paper/a.cpp | $stale | stale"; } \
    >"$stage/tests/mutations/list.txt"
  run 1 --check
  idle cmake
  run 1 tries
  idle cmake
  run 0 --check 'fails$'
done

# Tests that fail without any fault prove nothing.
cp "$stage/list" "$stage/tests/mutations/list.txt"
printf '#!/bin/sh\nexit 1\n' >"$stage/paper_test"
run 1 tries
grep -q 'paper fails without any fault' "$stage/said" || wrong "a failing test is no word worth"
fails cmake
run 1 tries
