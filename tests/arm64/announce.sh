#!/bin/bash
# Says on standard error under which name a program is started, and starts it so: NAME PROGRAM ARGS.
#
# A runner that can be heard shows that the filter of a test really goes through its runner.
set -euo pipefail

name=$1
shift
echo "announced: $name" >&2
exec -a "$name" "$@"
