#!/bin/bash
# The package's own scripts give folders their rights once, and remove nothing that is not theirs.
# They run on a tree of their own, whose paths take the place of the machine's in copies of them.
# Usage: maintainer_test.sh PROJECT
set -euo pipefail
# shellcheck source=tests/scripts/stage.sh
. "$(dirname "$0")/stage.sh"
root=$stage/root
spool=$root/var/spool/cups/tmp
mkdir -p "$spool" "$root/tmp" "$root/var/lib"

# Copies whose absolute paths lie below the tree; where one is left, they do not run.
for script in postinst postrm; do
  sed "1!s,\(^\|[ =\"]\)/\(var\|tmp\|etc\|usr\|run\)\b,\1$root/\2,g" \
    "$project/packaging/debian/$script" >"$stage/$script"
  chmod 755 "$stage/$script"
  ! sed "1d; /^ *\(#\|echo\)/d; s,$root/,,g; s,/dev/null,,g" "$stage/$script" |
    grep -E '(^|[^[:alnum:]_*./")}])/[a-z]' ||
    wrong "$script names a path of the machine"
done
# Nothing else is on the PATH: no program that sets rights of the machine.
for name in sh bash cat rm find sed tail grep mkdir chmod basename tr; do
  ln -s "$(command -v "$name")" "$stage/bin/$name"
done
stand_in chown
stand_in install
stand_in dpkg-statoverride
stand_in dpkg
configure() { (PATH=$stage/bin "$stage/postinst" configure "$@") >"$stage/said" 2>&1; }
rights() { stat -c %a "$spool"; }

# Rights that the administrator has laid down stay.
chmod 0711 "$spool"
configure 1.0.0-1 || wrong "postinst fails"
[ "$(rights)" = 711 ] || wrong "rights of the administrator are changed to $(rights)"
idle chown
fails dpkg-statoverride # nobody has said anything
configure 1.0.0-1 || wrong "postinst fails"
[ "$(rights)" = 1770 ] || wrong "the spool gets the rights $(rights)"
asked chown "root:lp $spool"

# A purge removes the side file of jobs, which run as lp, and not one that somebody else made.
if [ "$(id -u)" -ne 0 ] || ! id lp >/dev/null 2>&1; then
  echo "the rest is left out: only root can give files away, and only to users that there are"
  exit 0
fi
purge_file_of() {
  touch "$root/tmp/xxxxx.log" "$spool/origin_1.bmp" "$spool/origin_1.txt"
  chown "$1" "$root/tmp/xxxxx.log"
  (PATH=$stage/bin "$stage/postrm" remove) || wrong "postrm fails"
  [ -f "$root/tmp/xxxxx.log" ] && [ -f "$spool/origin_1.bmp" ] || wrong "removing purges"
  (PATH=$stage/bin "$stage/postrm" purge) || wrong "postrm fails"
  [ ! -e "$spool/origin_1.bmp" ] || wrong "purging leaves a debug image"
  [ -e "$spool/origin_1.txt" ] || wrong "purging removes a file of others"
}
purge_file_of nobody
[ -f "$root/tmp/xxxxx.log" ] || wrong "purging removes the side file of somebody else"
purge_file_of lp
[ ! -e "$root/tmp/xxxxx.log" ] || wrong "purging leaves the side file of a job"
