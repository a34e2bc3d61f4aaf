// Byte-order detection and the encoding guess of GetUTFType.
#include <cstdlib>
#include <cstring>

#include "core/diag/Diag.h"
#include "file/File.h"
#include "platform/utf16_sniff.h"

namespace zx {
namespace {

constexpr uint64_t kMinGuessSize = 201;
// The guess reads at most this much: a larger file is judged by its beginning
// (reading all of a multi-gigabyte file to guess its encoding would not end).
constexpr uint64_t kMaxGuessRead = 64u << 20;

// A cut at the end of a truncated read must not make valid UTF-8 look invalid.
size_t TrimPartialSequence(const uint8_t* p, size_t n) {
  size_t back = 0;
  while (back < 3 && back < n && (p[n - 1 - back] & 0xC0) == 0x80) ++back;
  if (back < n && (p[n - 1 - back] & 0x80)) {
    const uint8_t lead = p[n - 1 - back];
    const size_t need = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    if (need > back + 1) return n - back - 1;
  }
  return n;
}

}  // namespace

bool IsStrictUtf8(const uint8_t* text, size_t size) {
  static constexpr uint32_t kShorterMax[5] = {0, 0, 0x7F, 0x7FF, 0xFFFF};
  size_t i = 0;
  while (i < size && text[i]) {
    const uint8_t lead = text[i];
    if (!(lead & 0x80)) {
      ++i;
      continue;
    }
    int n = 0;
    while (n < 8 && (lead & (0x80 >> n))) ++n;
    if (n == 1 || n > 4) return false;   // a lone continuation byte, or a form longer than 4 bytes
    uint32_t value = lead & (0x7F >> n);
    for (int k = 1; k < n; ++k) {
      if (i + k >= size || (text[i + k] & 0xC0) != 0x80) return false;
      value = (value << 6) | (text[i + k] & 0x3F);
    }
    if (value <= kShorterMax[n] || value >= 0x10000) return false;
    i += static_cast<size_t>(n);
  }
  return true;
}

uint32_t clsFile::GetUTFType() {
  const uint64_t size = GetSize();
  if (size < 2 || size == kAllOnes64) return kUtfNone;
  if (GetPos() == 0) {
    uint8_t b[3] = {0, 0, 0};
    const uint32_t want = size == 2 ? 2 : 3;
    const uint32_t got = Read(b, want);
    uint32_t mark = kUtfNone;
    uint64_t behindMark = 0;
    if (got >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) {
      mark = kUtf8;
      behindMark = 3;
    } else if (got >= 2 && b[0] == 0xFF && b[1] == 0xFE) {
      mark = kUtf16LE;
      behindMark = 2;
    } else if (got >= 2 && b[0] == 0xFE && b[1] == 0xFF) {
      mark = kUtf16BE;
      behindMark = 2;
    }
    SetPos(behindMark);
    if (mark != kUtfNone) return mark;
    if (got >= 2 && b[0] == 0 && b[1] != 0) return kUtf16BE;
    if (got >= 2 && b[0] != 0 && b[1] == 0) return kUtf16LE;
  } else {
    DiagLine(u"clsFile::GetUTFType(): file not at BOF!");
  }
  if (size < kMinGuessSize) return kUtfNone;

  const uint64_t want = size < kMaxGuessRead ? size : kMaxGuessRead;
  auto* buffer = static_cast<uint8_t*>(std::malloc(static_cast<size_t>(want) + 1));
  if (!buffer) return kUtfNone;
  const uint32_t got = Read(buffer, static_cast<uint32_t>(want));
  uint32_t verdict = kUtfNone;
  if (got == want) {
    buffer[got] = 0;
    const size_t judged = want < size ? TrimPartialSequence(buffer, got) : got;
    if (IsStrictUtf8(buffer, judged)) verdict = kUtf8;
    else if (plat::LooksLikeUtf16(buffer, static_cast<int>(got), 15)) verdict = kUtf16LE;
    else if (plat::LooksLikeUtf16(buffer, static_cast<int>(got), 240)) verdict = kUtf16BE;
  }
  std::free(buffer);
  SetPos(0);
  return verdict;
}

}  // namespace zx
