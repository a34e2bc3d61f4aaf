// Linux: the UTF-16 sniffing of the file layer where the system has none: the tests of
// the Windows call, read the same way. Each test looks at the text as
// little-endian (bits 0x1-0x8) or byte-reversed (0x10-0x80) characters; a text
// passes when one asked-for test holds and the reading asked for shows no
// character that cannot occur in text (a reversed mark inside, U+FFFF, a NUL
// before the end, or the byte-swapped CR LF 0x0A0D).
#include <cstdint>
#include <cstdlib>

#include "platform/utf16_sniff.h"

namespace plat {
namespace {

constexpr uint32_t kAscii16 = 0x1;
constexpr uint32_t kStatistics = 0x2;
constexpr uint32_t kControls = 0x4;
constexpr uint32_t kSignature = 0x8;

struct Verdict {
  uint32_t passed = 0;   // bits 0x1-0x8
  bool illegal = false;
};

Verdict Examine(const uint8_t* p, size_t chars, bool reversed) {
  Verdict v;
  auto at = [&](size_t i) -> uint16_t {
    const uint16_t lo = p[2 * i], hi = p[2 * i + 1];
    return reversed ? static_cast<uint16_t>((lo << 8) | hi) : static_cast<uint16_t>((hi << 8) | lo);
  };
  bool allAscii = chars > 0;
  bool controls = false;
  uint64_t lowChange = 0, highChange = 0;
  for (size_t i = 0; i < chars; ++i) {
    const uint16_t c = at(i);
    if (i == 0 && c == 0xFEFF) v.passed |= kSignature;
    if ((i > 0 && c == 0xFFFE) || c == 0xFFFF || c == 0x0A0D || (c == 0 && i + 1 < chars)) v.illegal = true;
    if (c >= 0x80 || (c == 0 && i + 1 < chars)) allAscii = false;
    if (c == 0x000D || c == 0x000A || c == 0x0009 || c == 0x0020 || c == 0x3000) controls = true;
    if (i > 0) {
      const uint16_t prev = at(i - 1);
      lowChange += static_cast<uint64_t>(std::abs((c & 0xFF) - (prev & 0xFF)));
      highChange += static_cast<uint64_t>(std::abs((c >> 8) - (prev >> 8)));
    }
  }
  if (allAscii) v.passed |= kAscii16;
  if (controls) v.passed |= kControls;
  // Text of one script keeps its high bytes nearly constant while its low bytes vary.
  if (chars >= 2 && lowChange > 3 * highChange) v.passed |= kStatistics;
  return v;
}

}  // namespace

bool LooksLikeUtf16(const void* buffer, int size, uint32_t mask) {
  if (!buffer || size < 2 || (size & 1)) return false;
  const auto* p = static_cast<const uint8_t*>(buffer);
  const size_t chars = static_cast<size_t>(size) / 2;
  if (mask & 0x0F) {
    const Verdict v = Examine(p, chars, false);
    if (!v.illegal && (v.passed & mask & 0x0F)) return true;
  }
  if (mask & 0xF0) {
    const Verdict v = Examine(p, chars, true);
    if (!v.illegal && (v.passed & (mask >> 4) & 0x0F)) return true;
  }
  return false;
}

}  // namespace plat
