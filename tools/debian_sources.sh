#!/bin/bash
# Names the Debian archives that this machine installs from, one per line: URI SUITE COMPONENT KEYS.
#
# A Debian root or another architecture's libraries must come from where the machine's own packages
# come from; KEYS is the file with the archive's keys, or "-" for the keys that apt trusts anyway.
set -euo pipefail

fail() {
  echo "debian_sources: $1" >&2
  exit 1
}

[ $# -eq 0 ] || fail "this command takes no arguments"
command -v apt-get >/dev/null || fail "this machine has no apt-get"

keys=-
[ ! -f /usr/share/keyrings/debian-archive-keyring.gpg ] ||
  keys=/usr/share/keyrings/debian-archive-keyring.gpg

# The lists tell who publishes an archive; other publishers' archives are none of our business.
lists() {
  # shellcheck disable=SC2016  # the dollar signs are apt's
  apt-get indextargets --format '$(CREATED_BY)|$(ORIGIN)|$(REPO_URI)|$(RELEASE)|$(COMPONENT)' |
    awk -F '|' -v keys="$keys" '$1 == "Packages" && $2 == "Debian" && !seen[$3, $4, $5]++ {
      print $3, $4, $5, keys }'
}

found=$(lists)
if [ -z "$found" ]; then
  fail "apt knows no Debian archive here; run apt-get update on a Debian machine first"
fi
# The suite itself before its updates: whoever needs one archive takes the first line.
printf '%s\n' "$found" | awk '{ print ($2 ~ /-/), $0 }' | sort -s -k 1,1 | cut -d ' ' -f 2-
