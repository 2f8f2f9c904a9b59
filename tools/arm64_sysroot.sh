#!/bin/bash
# Makes a folder with the arm64 libraries and headers that the filter and its tools are built with.
#
# Cross-building needs another architecture's packages; here they are unpacked beside the machine,
# so that neither its dpkg architectures nor its packages change, and no root is needed.
set -euo pipefail

usage() {
  cat <<'EOF_USAGE'
Usage: tools/arm64_sysroot.sh DIR [PACKAGE...]

Makes DIR, a Debian arm64 tree with what building needs (libcups2-dev, libcupsimage2-dev,
libpng-dev, libqpdf-dev, nettle-dev, libsimde-dev, the C and C++ libraries, each with its dependencies)
and with any PACKAGE besides.
Says nothing and does nothing where DIR is complete. DIR/DEBIAN holds what dpkg-shlibdeps wants to
know: DEB_HOST_ARCH=arm64 dpkg-shlibdeps -SDIR.
EOF_USAGE
}

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

fail() {
  echo "arm64_sysroot: $1" >&2
  exit 1
}

case "${1-}" in
  -h | --help) usage; exit 0 ;;
  '' | -*) usage >&2; exit 2 ;;
esac
directory=$1
shift
packages=(libcups2-dev libcupsimage2-dev libpng-dev libqpdf-dev nettle-dev libsimde-dev libc6-dev libstdc++6 libgcc-s1 "$@")
mark="$directory/.complete"
# Complete is a tree that holds at least what is wanted now.
if [ -f "$mark" ] && ! printf '%s\n' "${packages[@]}" | grep -vqxF -f "$mark"; then exit 0; fi
if [ -e "$directory" ] && [ ! -d "$directory/DEBIAN" ] && [ -n "$(ls -A "$directory")" ]; then
  fail "$directory exists and is no such tree; remove it or name another folder"
fi
rm -rf "$directory"
mkdir -p "$directory/DEBIAN"
directory=$(cd "$directory" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# apt as on this machine, but with lists, cache and package database of its own, all for arm64.
private_apt() {
  apt-get -qq -o Dpkg::Use-Pty=0 -o APT::Architecture=arm64 -o APT::Architectures=arm64 \
    -o APT::Install-Recommends=false -o APT::Sandbox::User="$(id -un)" \
    -o Dir::Etc::SourceList="$work/sources.list" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State="$work/state" -o Dir::State::status="$work/status" -o Dir::Cache="$work/cache" \
    -o Dir::Etc::Preferences=/dev/null -o Dir::Etc::PreferencesParts=/dev/null \
    -o APT::Update::Post-Invoke-Success::= -o Debug::NoLocking=1 "$@" </dev/null
}

# The archives of this machine, with arm64 in place of its own architecture.
private_sources() {
  local uri suite component keys
  "$here/debian_sources.sh" | while read -r uri suite component keys; do
    local signed=''
    [ "$keys" = - ] || signed=" signed-by=$keys"
    echo "deb [arch=arm64$signed] $uri $suite $component"
  done
}

echo "Fetching the arm64 libraries into $directory"
mkdir -p "$work/state/lists/partial" "$work/cache/archives/partial"
: >"$work/status"
private_sources >"$work/sources.list"
for step in update "install --download-only -y --no-install-recommends ${packages[*]}"; do
  # shellcheck disable=SC2086  # the words of the step are apt's arguments
  if ! private_apt $step >"$work/log" 2>&1; then
    tail -n 20 "$work/log" >&2
    fail "apt-get ${step%% *} for arm64 failed; the last lines above say why"
  fi
done

for package in "$work"/cache/archives/*.deb; do
  [ -f "$package" ] || fail "apt fetched no packages"
  dpkg-deb -x "$package" "$directory"
  # One file each for all packages: which version of a library has the symbols used, and which
  # package a library without such a list is in.
  dpkg-deb -e "$package" "$work/control"
  for list in symbols shlibs; do
    [ ! -f "$work/control/$list" ] || cat "$work/control/$list" >>"$directory/DEBIAN/$list"
  done
  rm -r "$work/control"
done
[ -s "$directory/DEBIAN/symbols" ] || fail "the packages name no symbols"

# Links to absolute paths would lead into this machine; let them stay inside the tree.
find "$directory" -type l -lname '/*' | while read -r link; do
  ln -sfnr "$directory$(readlink "$link")" "$link"
done
printf '%s\n' "${packages[@]}" >"$mark"
