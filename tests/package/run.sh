#!/bin/bash
# Tests the Debian package from the build to the purge, on a throw-away Debian machine.
#
# A package is right when a stranger's machine prints with it and forgets it again; only a machine
# of its own can show that.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
project=$(cd "$here/../.." && pwd)
[ $# -eq 0 ] || { echo "Usage: tests/package/run.sh" >&2; exit 2; }

fail() {
  echo "package: $1" >&2
  exit 1
}

[ "$(id -u)" -eq 0 ] || fail "a throw-away Debian root can be made by root only; use sudo"
unshare -m -n --pid --fork true 2>/dev/null ||
  fail "this machine refuses namespaces (unshare -m -n --pid); without them cupsd would not be
private, so the package is not tested here"

# shellcheck source=tests/package/alone.sh
. "$here/alone.sh" # gives `work`, a folder, and `alone`

# check_lintian DEB: no error, and no warning that is not explained in the overrides.
check_lintian() {
  local said
  said=$(lintian --fail-on error,warning --allow-root "$1" 2>&1) || {
    printf '%s\n' "$said" >&2
    fail "lintian has complaints"
  }
}

# The programs and their rights. cupsd starts a backend as root that nobody else may execute.
programs='rwxr-xr-x ./usr/bin/kestra-paper
rwxr-xr-x ./usr/bin/kestra-proof
rwxr-xr-x ./usr/bin/kestra-testlabel
rwxr--r-- ./usr/lib/cups/backend/kestra
rwxr-xr-x ./usr/lib/cups/filter/kestrafit
rwxr-xr-x ./usr/lib/cups/filter/kestrasize
rwxr-xr-x ./usr/lib/cups/filter/rastertokestra
rwxr-xr-x ./usr/lib/cups/monitor/kestra
rwxr-xr-x ./usr/sbin/kestra-delivery'

# check_install BUILD: cmake --install obeys DESTDIR and gives what cupsd wants of its programs.
check_install() {
  local destination="$work/destination" bin want
  DESTDIR="$destination" cmake --install "$1" --prefix /usr/local >"$work/install.log" ||
    fail "cmake --install failed"
  bin=".$(cups-config --serverbin)"
  for want in bin/kestra-paper bin/kestra-proof bin/kestra-testlabel sbin/kestra-delivery \
    lib/tmpfiles.d/rastertokestra.conf share/man/man1/kestra-paper.1.gz \
    share/man/man1/kestra-proof.1.gz share/man/man1/kestra-testlabel.1.gz share/man/man8/kestra-delivery.8.gz \
    share/man/man8/kestrafit.8.gz share/man/man8/kestrasize.8.gz \
    share/man/man8/rastertokestra.8.gz share/doc/rastertokestra/LICENSE \
    share/doc/rastertokestra/CHANGELOG.md share/doc/rastertokestra/docs/protocol.md \
    share/doc/rastertokestra/examples/driver/kestra.drv share/ppd/rastertokestra/kestra4.ppd \
    share/ppd/rastertokestra/kestraa4.ppd; do
    [ -f "$destination/usr/local/$want" ] || fail "cmake --install gives no /usr/local/$want"
  done
  [ ! -e "$destination/etc" ] || fail "cmake --install writes into /etc"
  # Nothing but these folders, and the five programs alone in the print system's.
  want=$(cd "$destination" &&
    find . -type f ! -path './usr/local/*' -printf '%u:%g %m %p\n' | sort -k 3)
  [ "$want" = "root:root 744 $bin/backend/kestra
root:root 755 $bin/filter/kestrafit
root:root 755 $bin/filter/kestrasize
root:root 755 $bin/filter/rastertokestra
root:root 755 $bin/monitor/kestra" ] ||
    fail "cmake --install gives the print system other programs or rights: $want"
}

# check_contents DEB: owners and rights of all files, and the packages that it asks for.
check_contents() {
  local wrong depends name
  # Folders and the programs may be entered and run, everything else only read; all programs and
  # settings are there.
  wrong=$(dpkg-deb -c "$1" | awk -v "programs=$programs" '
    BEGIN {
      count = split(programs " rwxr-xr-x ./etc/cron.daily/rastertokestra" \
        " rw-r--r-- ./etc/rastertokestra.conf", words)
      for (i = 1; i < count; i += 2) rights[words[i + 1]] = "-" words[i]
    }
    { want = "-rw-r--r--" }
    $6 ~ "/$" { want = "drwxr-xr-x" }
    $6 in rights { want = rights[$6]; delete rights[$6] }
    $1 != want || $2 != "root/root"
    END { for (name in rights) print name " is missing" }')
  [ -z "$wrong" ] || fail "wrong owner or rights: $wrong"
  depends=$(dpkg-deb -f "$1" Depends)
  for name in cups libcups2 libc6 'libstdc++6' libpng16-16 'libqpdf[0-9]*' libnettle8; do
    grep -qE "(^|, )${name//+/\\+}(t64)?( |,|$)" <<<"$depends" ||
      fail "the package does not ask for $name"
  done
}

# check_programs DEB: protections, architecture, and no name of a folder of this machine; documents
# without dead links.
check_programs() {
  local directory architecture machine program
  architecture=$(dpkg-deb -f "$1" Architecture)
  directory="$work/unpacked-$architecture"
  dpkg-deb -x "$1" "$directory"
  python3 "$here/../structure/installed_documents.py" "$directory" \
    "$directory/usr/share/doc/rastertokestra" || fail "installed documents lead nowhere"
  case "$architecture" in amd64) machine=X86-64 ;; *) machine=AArch64 ;; esac
  while read -r _ program; do
    program=$directory/$program
    "$here/hardening.sh" "$program" || fail "the program lacks a protection"
    LC_ALL=C readelf -h "$program" | grep -q "Machine: .*$machine" ||
      fail "$program is not built for $architecture"
    ! grep -qF "$project" "$program" || fail "$program names the folder that it was built in"
  done <<<"$programs"
}

# step TEXT: what is done by now.
step() { echo "  $1 ($SECONDS s)"; }

cd "$project"
package=$(./package.sh | tail -n 1)
[ -f "$package" ] || fail "package.sh built nothing"
build="$project/build-package-$(dpkg --print-architecture)"
step "built $(basename "$package")"
check_lintian "$package"
check_contents "$package"
check_install "$build"
"$here/hardening_test.sh"
check_programs "$package"
step "contents, lintian, protections"

if [ "$(dpkg --print-architecture)" != arm64 ]; then
  other=$(./package.sh arm64 | tail -n 1)
  [ -f "$other" ] || fail "package.sh arm64 built nothing"
  check_lintian "$other"
  check_contents "$other"
  check_programs "$other"
  step "the same of $(basename "$other")"
fi

alone -m -- "$here/machine.sh" "$work/root" "$package" ||
  fail "the package does not do on a Debian machine what it should"
step "printed, restarted, aged, removed, purged"
