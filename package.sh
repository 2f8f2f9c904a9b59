#!/bin/bash
# Builds the Debian package into out/packages.
#
# One command from a fresh machine to a package that apt installs, for this machine's architecture
# or, cross-built, for arm64.
set -euo pipefail

usage() {
  cat <<'EOF_USAGE'
Usage: ./package.sh [amd64|arm64]

Builds out/packages/rastertokestra_VERSION_ARCH.deb (default: for this machine's architecture;
arm64 can be built on amd64 as well) and names it. Missing packages are installed first (as root,
or with sudo). JOBS=N sets the number of parallel jobs.
EOF_USAGE
}

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
jobs=${JOBS:-$(nproc)}
cd "$root"

fail() {
  echo "package: $1" >&2
  exit 1
}

[ $# -le 1 ] || { usage >&2; exit 2; }
case "${1-}" in
  -h | --help) usage; exit 0 ;;
  '' | amd64 | arm64) ;;
  *) echo "package: no package is built for $1" >&2; usage >&2; exit 2 ;;
esac
command -v dpkg >/dev/null || fail "a Debian package wants dpkg; use cmake --install elsewhere"
machine=$(dpkg --print-architecture)
architecture=${1:-$machine}
case "$architecture" in
  "$machine") cross='' ;;
  arm64) cross=yes ;;
  *) fail "a package for $architecture is built on $architecture only, this is $machine" ;;
esac
case "$architecture" in amd64 | arm64) ;; *) fail "$architecture is not supported" ;; esac

build="$root/build-package-$architecture"
programs=(rastertokestra kestrafit kestrasize kestra kestra-monitor kestra-delivery kestra-proof
  kestra-paper kestra-testlabel)
sysroot="$root/out/arm64-sysroot"
packages="$root/out/packages"

# configure_and_build: the release build that the package is made from.
configure_and_build() {
  local options=(-DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr -DKESTRA_TESTS=OFF)
  if [ -n "$cross" ]; then
    tools/arm64_sysroot.sh "$sysroot"
    options+=("-DCMAKE_TOOLCHAIN_FILE=$root/packaging/arm64.cmake"
      "-DKESTRA_SYSROOT=$sysroot")
  fi
  # Names of this machine's folders do not belong into a package.
  if ! {
    cmake -S . -B "$build" "${options[@]}" "-DCMAKE_CXX_FLAGS=-ffile-prefix-map=$root=." &&
      cmake --build "$build" -j "$jobs"
  } >"$build.log" 2>&1; then
    tail -n 30 "$build.log" >&2
    fail "the build failed; all of it is in $build.log"
  fi
  mv "$build.log" "$build/package.log"
  local program
  for program in "${programs[@]}"; do
    [ -x "$build/$program" ] || fail "$program was not built; $build/package.log says why"
  done
  [ -f "$build/ppd/kestra4.ppd" ] || fail "the printer descriptions were not built"
}

# cross_depends: the packages that the arm64 programs need, from the lists of the arm64 tree.
cross_depends() {
  local work
  work=$(mktemp -d)
  mkdir "$work/debian"
  printf 'Source: rastertokestra\n\nPackage: rastertokestra\nArchitecture: any\n' \
    >"$work/debian/control"
  if ! (cd "$work" && DEB_HOST_ARCH=arm64 dpkg-shlibdeps -O "-S$sysroot" \
    "${programs[@]/#/-e$build/}" >depends 2>log); then
    cat "$work/log" >&2
    rm -r "$work"
    return 1
  fi
  sed -n 's/^shlibs:Depends=//p' "$work/depends"
  rm -r "$work"
}

# pack: turns the build into a package below $build/deb.
pack() {
  local options=() depends
  if [ -n "$cross" ]; then
    depends=$(cross_depends) || fail "the libraries of the arm64 programs could not be found"
    [ -n "$depends" ] || fail "the arm64 programs need no library at all, which cannot be"
    options=(-D CPACK_DEBIAN_PACKAGE_SHLIBDEPS=OFF
      -D "CPACK_DEBIAN_PACKAGE_DEPENDS=cups, $depends")
  fi
  rm -rf "$build/deb"
  # The same sources give the same package: its files are as old as its newest change.
  SOURCE_DATE_EPOCH=$(dpkg-parsechangelog -l packaging/debian/changelog -S Timestamp)
  export SOURCE_DATE_EPOCH
  (cd "$build" && cpack -G DEB -B "$build/deb" ${options[@]+"${options[@]}"}) \
    >>"$build/package.log" 2>&1 || {
    tail -n 30 "$build/package.log" >&2
    fail "cpack failed"
  }
}

tools/setup.sh package
[ -z "$cross" ] || tools/setup.sh cross
configure_and_build
pack
mkdir -p "$packages"
for package in "$build"/deb/*.deb; do
  [ -f "$package" ] || fail "cpack made no package"
  mv "$package" "$packages/"
  echo "$packages/$(basename "$package")"
done
