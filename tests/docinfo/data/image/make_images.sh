#!/usr/bin/env bash
# Writes the image test files of the TIFF and JPEG readers: a tiny TIFF in each
# byte order (written here from the format) and a JPEG of the nodejs package's
# documentation with its metadata removed, then each tag set with exiftool.
# The outputs are committed; run again only to change them.
#   bash tests/docinfo/data/image/make_images.sh
set -euo pipefail
cd "$(dirname "$0")"
command -v exiftool >/dev/null || { echo "needs exiftool (libimage-exiftool-perl)" >&2; exit 1; }

python3 - <<'PY'
import struct
def tiff(order, name):
    e = '<' if order == b'II' else '>'
    w, h = 8, 6
    pixels = bytes(range(w * h))
    entries = [(256, 3, 1, w), (257, 3, 1, h), (258, 3, 1, 8), (259, 3, 1, 1), (262, 3, 1, 1),
               (273, 4, 1, 8), (277, 3, 1, 1), (278, 3, 1, h), (279, 4, 1, len(pixels))]
    ifd_at = 8 + len(pixels)
    out = order + struct.pack(e + 'HI', 42, ifd_at) + pixels
    out += struct.pack(e + 'H', len(entries))
    for tag, typ, cnt, val in entries:
        v = struct.pack(e + 'HH', val, 0) if typ == 3 else struct.pack(e + 'I', val)
        out += struct.pack(e + 'HHI', tag, typ, cnt) + v
    out += struct.pack(e + 'I', 0)
    open(name, 'wb').write(out)
tiff(b'II', 'base_le.tif')
tiff(b'MM', 'base_be.tif')
PY
rm -f base.jpg
exiftool -q -all= -o base.jpg /usr/share/doc/nodejs/thin-white-stripe.jpg
ET=(exiftool -q -overwrite_original -charset exif=Latin)

for order in le be; do
  cp base_$order.tif tags_$order.tif
  "${ET[@]}" -DocumentName="Tiff title" -ImageDescription="Tiff subject" -Model="Scanner 9" -Artist="Ann Artist" \
    -Copyright="(c) 2012 Ann" -ModifyDate="2012:03:05 10:20:30" \
    -XPTitle="XP title ü" -XPAuthor="XP author" -XPComment="XP comment" -XPKeywords="a;b" -XPSubject="XP subject" \
    tags_$order.tif
done

cp base.jpg exif_le.jpg
"${ET[@]}" -ExifByteOrder=Little-endian -ImageDescription="Jpeg subject" -Model="Camera X" -Artist="Bob" -Copyright="(c) Bob" \
  -ModifyDate="2011:01:02 03:04:05" -DateTimeOriginal="2010:06:07 08:09:10" -ExposureTime=0.004 -FNumber=2.8 \
  -SubjectDistance=3.25 -UserComment="user comment" -XPTitle="XP title" -XPComment="XP comment" exif_le.jpg
cp base.jpg exif_be.jpg
"${ET[@]}" -ExifByteOrder=Big-endian -Model="Camera Y" -ExposureTime=2 -FNumber=8 -DateTimeOriginal="1999:12:31 23:59:59" \
  exif_be.jpg
# Texts beyond ASCII in the Latin-1 code page, and only a model (appended to no artist).
cp base.jpg latin1.jpg
"${ET[@]}" -ImageDescription="Café crème" -Model="Kamera Ä" -ExposureTime=0.5 latin1.jpg
# Dates that are not of the one form are not taken (the raw values, print conversion off).
cp base.jpg odd_dates.jpg
"${ET[@]}" -n -ModifyDate="2012:03:05 10:20" -DateTimeOriginal="2012-03-05 10:20:30" odd_dates.jpg
cp base.jpg odd_date2.jpg
"${ET[@]}" -n -ModifyDate="2012:03:05 10:20:30" -DateTimeOriginal="    :  :     :  :  " odd_date2.jpg
rm -f base_le.tif base_be.tif
ls -l
