#!/bin/bash
# Unpacks the print system's own backends (socket, usb, lpd ...) into a folder, for tests.
#
# They lie in the package cups, which must not be installed for a test: it starts a print service.
set -euo pipefail

usage() {
  cat <<'EOF_USAGE'
Usage: tools/stock_backends.sh DIR

Makes DIR/usr/lib/cups/backend-available with the backends of the package cups. Does nothing where
it is there, or where the machine has the package. Where the package cannot be had it says so and
succeeds: tests that need a backend are skipped.
EOF_USAGE
}

case "${1-}" in
  -h | --help) usage; exit 0 ;;
  '' | -*) usage >&2; exit 2 ;;
esac
directory=$1
if [ -e /usr/lib/cups/backend/socket ] || [ -e "$directory/usr/lib/cups/backend-available/socket" ]; then
  exit 0
fi
mkdir -p "$directory"
if ! (cd "$directory" && apt-get -qq download cups) >"$directory/download.log" 2>&1; then
  echo "stock_backends: the package cups cannot be fetched; tests that need it are skipped" >&2
  exit 0
fi
dpkg-deb -x "$directory"/cups_*.deb "$directory"
