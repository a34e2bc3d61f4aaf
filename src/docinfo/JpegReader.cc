// JPEG files: the first APP1 segment with an EXIF block, read as TIFF
// directories whose offsets count from the block's TIFF header.
#include "docinfo/DocReaders.h"
#include "docinfo/TiffReader.h"

namespace zx {
namespace {

bool ReadBigEndian16(clsFile& file, uint32_t* value) {
  uint8_t b[2];
  if (file.Read(b, 2) != 2) return false;
  *value = uint32_t(b[0]) << 8 | b[1];
  return true;
}

}  // namespace

int ReadJpegInfo(clsDocu& doc, clsFile& file) {
  if (file.SetPos(0) != 0) return -1;
  uint64_t at = 0;
  uint32_t marker = 0;
  if (!ReadBigEndian16(file, &marker)) return -1;
  for (;;) {
    while (marker == 0xFFD8) {  // start of image: the next marker follows directly
      at += 2;
      if (!ReadBigEndian16(file, &marker)) return -1;
    }
    if (marker == 0xFFD9 || marker < 0xFF00) return -1;
    uint32_t length = 0;
    if (!ReadBigEndian16(file, &length)) return -1;
    if (marker == 0xFFE1) break;
    // A length below 2 would point back into the segment's own head.
    const uint64_t next = at + 2 + length;
    if (length < 2 || file.SetPos(next) != next) return -1;
    at = next;
    if (!ReadBigEndian16(file, &marker)) return -1;
  }
  uint8_t sig[4];
  if (file.Read(sig, 4) != 4 || sig[0] != 'E' || sig[1] != 'x' || sig[2] != 'i' || sig[3] != 'f') return -1;
  uint8_t pad[2];
  if (file.Read(pad, 2) != 2) return -1;
  return ReadTiff(doc, file, at + 2 + 2 + 6);
}

}  // namespace zx
