#!/bin/bash
# Tests .ci/run and what tells the failures at its end, with a test.sh that only pretends: whoever
# sees the last hundred lines must see which test failed first of all, and why.
# Usage: ci_tells_what_failed_test.sh PROJECT
set -euo pipefail
project=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/.ci"
cp "$project"/.ci/* "$work/.ci/"

fail() {
  echo ".ci/run $1:" >&2
  tail -n 100 "$work/said" >&2
  exit 1
}

# The first verb has two failed tests of three among much else; memcheck fails without any test.
cat >"$work/test.sh" <<'END'
#!/bin/bash
case "${1-}" in
  '')
    echo '  1/3 Test #1: Good.Test ......   Passed    0.01 sec'
    echo '  2/3 Test #2: Bad.Label ......***Failed    0.02 sec'
    for i in $(seq 60); do echo "line $i of the label"; done
    echo '      Start 3: Late.Label'
    echo '  3/3 Test #3: Late.Label .....***Timeout   9.00 sec'
    echo 'why it is late'
    echo
    echo '33% tests passed, 2 tests failed out of 3'
    echo
    echo 'The following tests did not run:'
    echo '          7 - No.Printer (Skipped)'
    echo 'The following tests FAILED:'
    echo '          2 - Bad.Label (Failed)'
    echo '          3 - Late.Label (Timeout)'
    echo 'Errors while running CTest'
    for i in $(seq 200); do echo "more $i"; done
    exit 1
    ;;
  memcheck) for i in $(seq 60); do echo "memory $i"; done; exit 3 ;;
  *) echo "nothing wrong with $1" ;;
esac
END
chmod +x "$work/test.sh"

status=0
"$work/.ci/run" >"$work/said" 2>&1 || status=$?
[ "$status" -eq 1 ] || fail "ends with $status where a verb failed"
tail -n 100 "$work/said" >"$work/end"
has() { grep -qxE "$1" "$work/end" || fail "does not say \"$1\" at its end"; }
lacks() { ! grep -qxE "$1" "$work/end" || fail "says \"$1\" at its end"; }
has ' *2 - Bad.Label \(Failed\)'
has ' *3 - Late.Label \(Timeout\)'
has '.*Test #2: Bad.Label .*'
has 'line 60 of the label'
lacks 'line 1 of the label'
has 'why it is late'
lacks '.*Good.Test.*'
lacks 'more .*'
lacks '.*No.Printer.*'
has 'memory 60'
lacks 'memory 20'
has ' +[0-9]+ s  FAILED  ./test.sh '
has ' +[0-9]+ s  FAILED  ./test.sh memcheck'
has ' +[0-9]+ s  well    ./test.sh sanitize'
[ "$(wc -l <"$work/build-ci/all.log")" -eq 274 ] || fail "does not keep what a verb said"

printf '#!/bin/sh\n' >"$work/test.sh"
"$work/.ci/run" >"$work/said" 2>&1 || fail "fails where no verb does"
! grep -q FAILED "$work/said" || fail "says that a verb failed where none did"
