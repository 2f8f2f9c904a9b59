#!/bin/bash
# Installs the packages that building, printing the demo, testing or measuring needs and that are
# missing.
#
# One list for demo.sh, test.sh, bench.sh and package.sh, so that a fresh Debian or Ubuntu machine is
# ready with one command. No print service is started, not even where its program is installed.
set -euo pipefail

usage() {
  cat <<'EOF'
Usage: tools/setup.sh [build|demo|gallery|printer|tests|arm64|bench|package|cross|packagetest|fresh]

Installs what is missing on a Debian or Ubuntu machine, as root or with sudo.

  build   compiler and libraries of the filter and its tools
  demo    what ./demo.sh needs: build, and programs that turn documents into pages (default)
  gallery what ./demo.sh gallery needs: demo, and the language it is written in
  printer what ./demo.sh printer needs: demo, and the print system's programs
  tests   what ./test.sh needs: build, and compilers, checkers and the test library
  arm64   what ./test.sh arm64 needs: tests, and a compiler for that processor and an emulator of it
  bench   what ./bench.sh needs: build, and the libraries and filters that it measures against
  package what ./package.sh needs: build, and what makes a Debian package
  cross   what ./package.sh arm64 needs besides on another machine
  packagetest  what ./test.sh package needs: package, its checker, what makes a Debian root
  fresh   what ./test.sh fresh needs: what makes a Debian root
EOF
}

# package, then what must be there: a program's name or a file's path, which may be a pattern.
build_list='
g++              c++
cmake            cmake
make             make
libcups2-dev     /usr/include/cups/ppd.h
libcupsimage2-dev /usr/include/cups/raster.h
libpng-dev       /usr/include/png.h
libqpdf-dev      /usr/include/qpdf/qpdf-c.h
nettle-dev       /usr/include/nettle/sha2.h
libsimde-dev     /usr/include/simde/x86/avx2.h
cups-ppdc        ppdc
'
demo_list="$build_list"'
ghostscript      gs
cups-filters     /usr/lib/cups/filter/gstoraster
cups-filters     /usr/lib/cups/filter/texttopdf
cups-filters-core-drivers /usr/lib/cups/filter/pdftopdf
fonts-dejavu-core /usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf
fontconfig       fc-match
'
gallery_list="$demo_list"'
python3          python3
'
printer_list="$demo_list"'
cups-client      /usr/sbin/lpadmin
cups-daemon      /usr/sbin/cupsd
'
tests_list="$demo_list"'
ninja-build      ninja
libgtest-dev     /usr/include/gtest/gtest.h
cups-client      cupstestppd
cups-daemon      /usr/sbin/cupsd
python3          python3
iproute2         ip
util-linux       unshare
zint             zint
zbar-tools       zbarimg
dmtx-utils       dmtxread
clang            clang++
llvm             llvm-cov
strace           strace
valgrind         valgrind
clang-format     clang-format
clang-tidy       clang-tidy
shellcheck       shellcheck
'
# The emulator's program is called with or without -static, depending on the package.
arm64_list="$tests_list"'
g++-aarch64-linux-gnu aarch64-linux-gnu-g++
qemu-user-static /usr/bin/qemu-aarch64*
'
# OpenCV for Python is large. No package cups: it starts a print service; bench.sh unpacks it.
bench_list="$build_list"'
libbenchmark-dev /usr/include/benchmark/benchmark.h
cups-filters     /usr/lib/cups/filter/rastertopclx
cups-common      /usr/share/cups/drv/sample.drv
python3          /usr/bin/python3
python3-pil      /usr/lib/python3/dist-packages/PIL/Image.py
python3-numpy    /usr/lib/python3/dist-packages/numpy/__init__.py
python3-opencv   /usr/lib/python3/dist-packages/cv2*.so
'
package_list="$build_list"'
dpkg-dev         dpkg-shlibdeps
binutils         strip
file             file
'
cross_list='
g++-aarch64-linux-gnu aarch64-linux-gnu-g++
dpkg-dev         dpkg-shlibdeps
'
fresh_list='
debootstrap      debootstrap
util-linux       unshare
'
packagetest_list="$package_list$fresh_list"'
lintian          lintian
python3          python3
iproute2         ip
'

# Reads such a list on standard input and names each package of which something is missing, once.
missing_packages() {
  local package wanted
  while read -r package wanted; do
    case "$wanted" in
      '') continue ;;
      /*) compgen -G "$wanted" >/dev/null || echo "$package" ;;
      *) command -v "$wanted" >/dev/null || echo "$package" ;;
    esac
  done | sort -u
}

fail() {
  echo "setup: $1" >&2
  exit 1
}

case "${1:-demo}" in
  build) list="$build_list" ;;
  demo) list="$demo_list" ;;
  gallery) list="$gallery_list" ;;
  printer) list="$printer_list" ;;
  tests) list="$tests_list" ;;
  arm64) list="$arm64_list" ;;
  bench) list="$bench_list" ;;
  package) list="$package_list" ;;
  cross) list="$cross_list" ;;
  packagetest) list="$packagetest_list" ;;
  fresh) list="$fresh_list" ;;
  -h | --help) usage; exit 0 ;;
  *) usage >&2; exit 2 ;;
esac

mapfile -t packages < <(missing_packages <<<"$list")
[ "${#packages[@]}" -gt 0 ] || exit 0

if ! command -v apt-get >/dev/null; then
  fail "this machine has no apt-get; install by hand what these packages hold: ${packages[*]}"
fi
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    fail "some packages are missing and there is neither root nor sudo here;
have them installed with: apt-get install --no-install-recommends ${packages[*]}"
  fi
  as_root=(sudo)
fi

echo "Installing ${packages[*]}"
apt() {
  ${as_root[@]+"${as_root[@]}"} env DEBIAN_FRONTEND=noninteractive apt-get -qq \
    -o Dpkg::Use-Pty=0 "$@" </dev/null
}
log=$(mktemp)
policy=/usr/sbin/policy-rc.d own_policy=''
clean_up() {
  rm -f "$log"
  [ -z "$own_policy" ] || ${as_root[@]+"${as_root[@]}"} rm -f "$policy"
}
trap clean_up EXIT
# Whoever only wants to run tests gets no running print service: this file forbids its start.
if [[ " ${packages[*]} " == *" cups-daemon "* ]] && [ ! -e "$policy" ]; then
  own_policy=yes
  printf '#!/bin/sh\nexit 101\n' | ${as_root[@]+"${as_root[@]}"} tee "$policy" >/dev/null
  ${as_root[@]+"${as_root[@]}"} chmod 755 "$policy"
  echo "cups-daemon is installed and not started now"
fi
# The lists of a fresh machine are empty or old: fetch them where the first try fails.
if ! apt install -y --no-install-recommends "${packages[@]}" >"$log" 2>&1; then
  if ! { apt update && apt install -y --no-install-recommends "${packages[@]}"; } >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    fail "could not install ${packages[*]}; the last lines above say why"
  fi
fi

mapfile -t packages < <(missing_packages <<<"$list")
[ "${#packages[@]}" -eq 0 ] || fail "still missing after the installation: ${packages[*]}"
