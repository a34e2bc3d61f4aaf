#!/usr/bin/env bash
# Installs what is missing (apt-get, needs root), builds the library and the
# `zxut` tool natively on Linux, and runs the demo on data the repository carries.
# With ZXUT_DEMO_BUILD naming a configured build folder (as scripts/test.sh does
# with its Linux build), that one is used instead.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
source "$here/lib.sh"

if [[ -n ${ZXUT_DEMO_BUILD:-} ]]; then
  b=$ZXUT_DEMO_BUILD
else
  bash "$here/setup.sh" --linux
  b=${ZXUT_OUT:-$ZXUT_ROOT/out}/demo
  mkdir -p "$b"
  cmake -S "$ZXUT_ROOT" -B "$b" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZXUT_TESTS=OFF \
    >"$b.configure.log" 2>&1 || { cat "$b.configure.log" >&2; exit 1; }
fi
ninja -C "$b" -j"$(ncores)" zxut >"$b.build.log" 2>&1 || { tail -40 "$b.build.log" >&2; exit 1; }

# The demo keeps its registry files in a folder of its own, not in ~/.config.
export ZXUT_REGISTRY_DIR=$b/registry
rm -rf "$ZXUT_REGISTRY_DIR"; mkdir -p "$ZXUT_REGISTRY_DIR"
zxut() { echo "\$ zxut $*"; "$b/zxut" "$@"; echo; }
cd "$ZXUT_ROOT"
zxut version
zxut help

# Settings: the registry store (here the demo's own folder), edited with zxut reg.
zxut reg set 'HKLM\software\zarnik' Debug.LogFilename zx-demo.log
zxut reg set 'HKCU\Software\zarnik' GPFMiniDumpMode --dword 0x000a3aa7
zxut reg list 'HKLM\software\zarnik'
zxut reg get 'HKCU\Software\zarnik' GPFMiniDumpMode
echo "--- $ZXUT_REGISTRY_DIR/HKLM.reg"; cat "$ZXUT_REGISTRY_DIR/HKLM.reg"; echo
zxut reg delete 'HKLM\software\zarnik' Debug.LogFilename

# Profiles: a hand-written UTF-8 profile from the repository, read, changed and
# saved in place (as UTF-16 text), then saved again as XML and as XFDF.
d=$b/profiles
rm -rf "$d"; mkdir -p "$d"
cp scripts/demo/report.prof "$d/"
zxut prof show "$d/report.prof"
zxut prof get "$d/report.prof" printer/name
zxut prof set "$d/report.prof" printer/duplex FALSE
zxut prof convert "$d/report.prof" "$d/report.xml" --format xml
zxut prof convert "$d/report.prof" "$d/report.xfdf" --format xfdf
for f in report.prof report.xml; do
  echo "--- $f (UTF-16, shown as UTF-8)"; iconv -f UTF-16 -t UTF-8 "$d/$f" | tr -d '\r'; echo
done
echo "--- report.xfdf (8-bit text in the default code page 1252, shown as UTF-8)"
iconv -f CP1252 -t UTF-8 "$d/report.xfdf" | tr -d '\r'; echo

# Archives: the profiles above into a new ZIP archive (names relative to their
# folder), listed, checked by unzip and extracted again.
cd "$d"
zxut zip --comment "zxUT22 demo profiles" profiles.zip report.prof report.xml report.xfdf
zxut zip --list profiles.zip
unzip -tq profiles.zip
zxut unzip profiles.zip unpacked
cmp report.prof unpacked/report.prof && echo "unpacked/report.prof is the same file"
cd "$ZXUT_ROOT"

# HTML and dates.
echo '<h1>Report</h1><p>Total: 1.234,50 EUR &amp; more</p><ul><li>printer<li>duplex</ul>' > "$d/report.html"
zxut html2text "$d/report.html"
zxut date parse 0x0407 "24.11.2026 13:05"
zxut date format 0x0409 20261124130509

# Document information: a PDF and a mail the repository carries.
zxut docinfo examples/docinfo/sample.pdf
zxut docinfo --json examples/docinfo/sample.eml
