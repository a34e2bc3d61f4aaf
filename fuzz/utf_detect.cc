// Arbitrary bytes through the encoding guess of clsFile, behind an in-memory
// stream: the first byte chooses where the guess starts (at the beginning, or a
// few bytes in), the rest is the file. The verdict must be one of the four
// values, the position must be where the rules put it, and a mark-less verdict
// of UTF-8 must agree with the strict test.
#include <cstdint>
#include <cstdlib>

#include "file/File.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t start = data[0] % 4;
  ++data;
  --size;
  zx::clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);
  if (size && file.Write(data, static_cast<uint32_t>(size)) != size) return 0;
  file.SetPos(start);
  const uint32_t verdict = file.GetUTFType();
  Check(verdict <= zx::kUtf8);
  const uint64_t pos = file.GetPos();
  if (start == 0 && size >= 2) {
    const bool bom8 = size >= 3 && data[0] == 0xEF && data[1] == 0xBB && data[2] == 0xBF;
    const bool bom16 = (data[0] == 0xFF && data[1] == 0xFE) || (data[0] == 0xFE && data[1] == 0xFF);
    Check(pos == (bom8 ? 3u : bom16 ? 2u : 0u));
    if (!bom8 && !bom16 && (data[0] == 0) != (data[1] == 0))
      Check(verdict == (data[0] == 0 ? zx::kUtf16BE : zx::kUtf16LE));
    else if (!bom8 && !bom16 && verdict == zx::kUtf8)
      Check(size >= 201 && zx::IsStrictUtf8(data, size));
  }
  if (start != 0 && size > start) Check(verdict == zx::kUtfNone);
  return 0;
}
