#include "core/charset/Utf8Decode.h"

#include <cstdint>

#include "core/strings/String.h"

namespace zx {
namespace {

// The largest value of a sequence one byte shorter than n bytes (n = 2..8): a
// value not above it is an overlong form.
constexpr uint64_t kOverlongLimit[9] = {0,          0,          0x7F,        0x7FF,      0xFFFF,
                                        0x1FFFFF,   0x3FFFFFF,  0x7FFFFFFF,  0xFFFFFFFFF};

int LeadingOnes(unsigned byte) {
  int n = 0;
  while (n < 8 && (byte & (0x80u >> n))) ++n;
  return n;
}

}  // namespace

String DecodeUtf8(const char16_t* bytes, size_t length) {
  String result;
  if (!bytes || length == 0) return result;
  // The result never has more characters than the input has bytes.
  char16_t* out = result.Reserve(static_cast<int64_t>(length));
  if (!out) return result;
  size_t written = 0;
  size_t i = 0;
  while (i < length) {
    char16_t unit = bytes[i];
    if (unit > 0xFF) return String(kUtf8InvalidSequence);
    if (unit < 0x80) {
      out[written++] = unit;
      ++i;
      continue;
    }
    int n = LeadingOnes(unit);
    if (n == 1) return String(kUtf8InvalidSequence);
    uint64_t value = n < 7 ? (unit & (0x7Fu >> n)) : 0;
    for (int k = 1; k < n; ++k) {
      // A sequence cut off by the end of the text is bad like a wrong byte.
      if (i + k >= length) return String(kUtf8InvalidSequence);
      char16_t next = bytes[i + k];
      if (next > 0xFF || (next & 0xC0) != 0x80) return String(kUtf8InvalidSequence);
      value = (value << 6) | (next & 0x3F);
    }
    if (value <= kOverlongLimit[n]) return String(kUtf8InvalidEncoding);
    if (value > 0xFFFF) return String(kUtf8Ucs4NotSupported);
    out[written++] = static_cast<char16_t>(value);
    i += static_cast<size_t>(n);
  }
  result.SetLength(static_cast<int64_t>(written));
  return result;
}

String DecodeUtf8(const String& bytes) {
  return DecodeUtf8(bytes.wchar(), static_cast<size_t>(bytes.Length()));
}

}  // namespace zx
