#!/bin/bash
# Proves that the scan tests fail where a barcode is spoilt: bars a dot too wide, or one bar short.
#
# A scanner that read everything would prove nothing.
# Usage: control_test.sh SOURCE BUILD PPD wide-bars|missing-bar
set -euo pipefail

root=$1 build=$2 ppd=$3 damage=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# expect_failure WORDS SYMBOL DPI PPD: the scan test must fail and say so with these words.
expect_failure() {
  local words=$1 symbol=$2 dpi=$3 status=0
  bash "$root/tests/barcodes/promised_test.sh" "$root" "$build" "$4" "$symbol" "$dpi" None \
    >"$work/out" 2>&1 || status=$?
  if [ "$status" -ne 1 ] || ! grep -q "$words" "$work/out"; then
    echo "$damage, $symbol at $dpi dpi: status $status, wanted 1 and \"$words\" in" >&2
    cat "$work/out" >&2
    exit 1
  fi
}

case "$damage" in
  wide-bars)
    # Without this line the renderer blackens every dot that a bar touches.
    grep -v '^\*DefaultCenterOfPixel' "$ppd" >"$work/wide.ppd"
    ! cmp -s "$ppd" "$work/wide.ppd"
    expect_failure 'None, modules of 0.25 mm: read ""' code39 203 "$work/wide.ppd"
    ;;
  missing-bar)
    # A zint of our own in front of the real one: it leaves out the bar in the middle.
    zint=$(command -v zint)
    mkdir "$work/bin"
    cat >"$work/bin/zint" <<EOF
#!/bin/bash
set -euo pipefail
"$zint" "\$@"
out=\${*: -1}
bars=(\$(grep -nE ' T?R\$' "\$out" | cut -d: -f1))
cp "\$out" "\$out.whole"
[ "\${#bars[@]}" -eq 0 ] ||
  sed -i -E "\${bars[\${#bars[@]} / 2]}s/(^| )[0-9.]+ [0-9.]+ T?R\$/\1pop pop/" "\$out"
# zint draws in another way from version to version.
if cmp -s "\$out" "\$out.whole"; then
  echo "the control finds no bar to leave out in what \$("$zint" --version) draws" >&2
  exit 1
fi
EOF
    chmod +x "$work/bin/zint"
    export PATH="$work/bin:$PATH"
    for symbol in ean13 code128 code39 itf14; do
      expect_failure 'None, modules of 0.5 mm: read ""' "$symbol" 203 "$ppd"
    done
    ;;
  *)
    echo "unknown damage $damage" >&2
    exit 2
    ;;
esac
