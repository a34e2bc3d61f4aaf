#!/usr/bin/env bash
# Writes the RTF files of a real word processor (LibreOffice headless) from
# lo_sources/meta_nonascii.fodt and ../odf/real_writer.odt, then prints what
# LibreOffice itself reads back from them (the expectations of rtf_test.cc).
# Needs soffice; CI uses the committed outputs.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$here/lo_sources/meta_nonascii.fodt" "$here/../odf/real_writer.odt" "$work/"
cd "$work"
soffice --headless --convert-to rtf meta_nonascii.fodt real_writer.odt >/dev/null
cp meta_nonascii.rtf "$here/lo_nonascii.rtf"
cp real_writer.rtf "$here/lo_writer.rtf"
soffice --headless --convert-to odt --outdir back meta_nonascii.rtf real_writer.rtf >/dev/null
for f in back/*.odt; do
  echo "== $f"
  python3 -c 'import sys, zipfile; print(zipfile.ZipFile(sys.argv[1]).read("meta.xml").decode())' "$f"
done
