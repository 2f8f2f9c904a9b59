#!/bin/bash
# Proves that the check of warnings notices a new warning and one that is gone.
#
# A check that always passes would hide the very warning it is there for.
# Usage: warnings_are_explained_test.sh CHECK CUPSTESTPPD PPD WARNINGS.md
set -euo pipefail

check=$1 cupstestppd=$2 ppd=$3 explained=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$ppd" "$explained" "$work/"
ppd=$work/$(basename "$ppd") explained=$work/$(basename "$explained")

# expect STATUS WHAT: runs the check on the copies.
expect() {
  local status=0
  bash "$check" "$cupstestppd" "$ppd" "$explained" 2>/dev/null || status=$?
  if [ "$status" -ne "$1" ]; then
    echo "$2: status $status, wanted $1" >&2
    exit 1
  fi
}
expect 0 "the description as it is"
sed -i 's/^\*cupsManualCopies:/*DefaultSomething: True\n&/' "$ppd"
expect 1 "a default without an option"
sed -i '/^\*DefaultSomething/d' "$ppd"
expect 0 "without it again"
sed -i '/^\*DefaultCenterOfPixel/d' "$ppd"
expect 1 "a warning that is gone"
