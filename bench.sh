#!/bin/bash
# Measures how fast filter and delivery are, beside programs that everybody can install, and writes
# docs/performance.md and the figures of docs/delivery.md.
#
# One command, so that every figure of that page can be repeated by anyone on any machine.
set -euo pipefail

usage() {
  cat <<'EOT'
Usage: ./bench.sh [quick | delivery | fit]

  (none)  measures everything, prints the table of goals and writes docs/performance.md with its
          pictures; under 15 minutes
  quick   fewer runs and only the main rows, prints the table only; under two minutes
  fit     measures what kestrafit adds to the filter alone and prints the table; under two minutes
  delivery  measures from lp to the printer, beside the print system's own programs, prints the table
          and writes it into docs/delivery.md; as root or where namespaces are allowed; 15 minutes

Missing packages are installed first (as root, or with sudo). Nothing is left outside build-bench/
and docs/. Close other programs: they slow down what is measured.
EOT
}

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
build=$root/build-bench
jobs=${JOBS:-$(nproc)}
cd "$root"
start=$SECONDS

fail() {
  echo "bench: $1" >&2
  exit 1
}

# Builds the filter as users get it, and the programs that measure it.
build_release() {
  local generate=()
  if [ ! -f "$build/CMakeCache.txt" ] && command -v ninja >/dev/null; then generate=(-G Ninja); fi
  mkdir -p "$build"
  cmake -S . -B "$build" ${generate[@]+"${generate[@]}"} -DCMAKE_BUILD_TYPE=Release \
    -DKESTRA_BENCH=ON >"$build/configure.log" 2>&1 ||
    { cat "$build/configure.log" >&2; fail "configuring failed"; }
  cmake --build "$build" -j "$jobs" --target bench ppds >"$build/build.log" 2>&1 ||
    { tail -n 40 "$build/build.log" >&2; fail "building failed"; }
}

# Sets `epson` to CUPS's own filter. Its package would start a print service, so where it is not
# installed the one program is taken out of the package.
find_epson() {
  epson=/usr/lib/cups/filter/rastertoepson
  epson_version=$(dpkg-query -W -f '${Version}' cups 2>/dev/null || true)
  [ ! -x "$epson" ] || return 0
  local peers=$build/peers
  epson=$peers/files/usr/lib/cups/filter/rastertoepson
  if [ ! -x "$epson" ]; then
    mkdir -p "$peers"
    (cd "$peers" && apt-get -qq download cups) >"$peers/download.log" 2>&1 ||
      { cat "$peers/download.log" >&2; fail "cannot download the package cups"; }
    dpkg-deb -x "$peers"/cups_*.deb "$peers/files"
  fi
  epson_version=$(dpkg-deb -f "$peers"/cups_*.deb Version)
}

# Sets `work`, a directory for pages and spool on a disk, where a print system's spool lies; and
# `memory`, one in memory, empty where there is no room.
make_places() {
  local free
  work=$(mktemp -d "$build/work.XXXXXX")
  memory=
  trap 'rm -rf "$work" ${memory:+"$memory"}' EXIT
  free=$(df --output=avail /dev/shm 2>/dev/null | tail -n 1 || true)
  if [ -w /dev/shm ] && [ "${free:-0}" -gt 100000 ]; then
    memory=$(mktemp -d /dev/shm/kestra-bench.XXXXXX)
  fi
  findmnt -n -o FSTYPE -T "$work" >"$work/file-system"
}

# measure_stages ROUNDS SECONDS FILTER: our stages and the libraries' loops, taking turns.
measure_stages() {
  local rounds=$1 seconds=$2 filter=$3 round
  for round in $(seq "$rounds"); do
    echo "Stages and image libraries, round $round of $rounds"
    (cd "$work" && "$build/bench/kestra_bench" --benchmark_min_time="$seconds" \
      --benchmark_filter="$filter" --benchmark_out="$work/stages-$round.json" \
      --benchmark_out_format=json >/dev/null 2>"$work/stages.log") ||
      { tail -n 5 "$work/stages.log" >&2; fail "a stage failed"; }
    /usr/bin/python3 bench/peers.py "$work/photo-2480x3508-1.ras" "$seconds" \
      >"$work/peers-$round.json"
  done
}

# measure_jobs OPTION...: whole jobs against the two peers, their memory and growth.
measure_jobs() {
  echo "Whole jobs"
  local source
  for source in /usr/share/cups/drv/sample.drv bench/peers.drv; do
    ppdc -d "$work/ppd" "$source" >/dev/null 2>&1 || fail "cannot compile $source"
  done
  /usr/bin/python3 bench/jobs.py --build "$build" --work "$work" --epson "$epson" \
    --epson-ppd "$work/ppd/epson9.ppd" --pclx-ppd "$work/ppd/pclx.ppd" --memory "$memory" \
    --out "$work/jobs.json" "$@"
}

# Whole print jobs through a print system of the measurement's own. Its spool lies on the disk, in the
# build directory, as in memory nothing would cost what it costs a user.
measure_delivery() {
  tools/setup.sh printer
  tools/stock_backends.sh "$build/stock"
  local stock=$build/stock/usr/lib/cups
  [ -d "$stock" ] || stock=/usr/lib/cups
  cmake --build "$build" -j "$jobs" \
    --target rastertokestra kestrafit kestrasize kestra kestra-monitor kestra-paper ppds \
    >"$build/build.log" 2>&1 || { tail -n 40 "$build/build.log" >&2; fail "building failed"; }
  /usr/bin/python3 bench/delivery.py --build "$build" --stock "$stock" --work "$work" \
    --docs docs/delivery.md
}

[ $# -le 1 ] || { usage >&2; exit 2; }
case "${1-}" in
  -h | --help) usage; exit 0 ;;
  '' | quick | delivery | fit) ;;
  *) echo "bench: unknown verb $1" >&2; usage >&2; exit 2 ;;
esac

export PYTHONDONTWRITEBYTECODE=1
tools/setup.sh bench
build_release
if [ "${1-}" = delivery ]; then
  make_places
  measure_delivery || fail "something could not be measured"
  echo "bench.sh delivery: done in $((SECONDS - start)) s"
  exit 0
fi
if [ "${1-}" = fit ]; then
  make_places
  cmake --build "$build" -j "$jobs" --target kestrafit >"$build/build.log" 2>&1 ||
    { tail -n 40 "$build/build.log" >&2; fail "building failed"; }
  /usr/bin/python3 bench/fit_stage.py "$build" "$work"
  exit 0
fi
find_epson
make_places
cp /proc/loadavg "$work/load"
echo "$epson_version" >"$work/peer-version"
"$build/bench/kestra_make_raster" photo 2480 3508 300 1 "$work/photo-2480x3508-1.ras"
if [ "${1-}" = quick ]; then
  measure_stages 2 0.02 '^memcpy|/photo/|float diffusion/(text|blank)'
  measure_jobs --quick
  /usr/bin/python3 bench/report.py "$work" "$build"
else
  measure_stages 9 0.05 '.'
  measure_jobs
  /usr/bin/python3 bench/report.py "$work" "$build" docs
fi
echo "bench.sh ${1-}: done in $((SECONDS - start)) s"
