#!/bin/bash
# Compares what cupstestppd warns of with the warnings that driver/WARNINGS.md explains.
#
# A warning that nobody has looked at may be a size that prints skewed or an option that no dialog
# shows; one that is gone leaves an explanation that misleads.
# Usage: warnings_are_explained.sh CUPSTESTPPD PPD WARNINGS.md
set -euo pipefail

cupstestppd=$1 ppd=$2 explained=$3
model=$(basename "$ppd")

# Warnings of the description, one per line. The filter need not be installed.
found=$(LC_ALL=C LANG=C "$cupstestppd" -v -I filters "$ppd" | sed -n 's/^ *WARN *//p' | sort)

# The lines between the ``` below the model's heading.
wanted=$(awk -v heading="## $model" '
  /^## / { here = ($0 == heading) }
  here && /^```/ { inside = !inside; next }
  here && inside' "$explained" | sort)

if [ -z "$wanted" ]; then
  echo "$explained has no list for $model" >&2
  exit 1
fi
if ! diff <(echo "$wanted") <(echo "$found") >&2; then
  echo "$model: the warnings above are not explained (>), or no longer there (<)" >&2
  exit 1
fi
