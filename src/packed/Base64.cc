#include "packed/Base64.h"

namespace zx {

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The digit of each ASCII character: -1 for those that are skipped, 64 for "=".
struct DigitTable {
  int8_t digit[128];
  constexpr DigitTable() : digit() {
    for (int c = 0; c < 128; ++c) digit[c] = -1;
    for (int k = 0; k < 64; ++k) digit[static_cast<int>(kAlphabet[k])] = static_cast<int8_t>(k);
    digit[static_cast<int>('=')] = 64;
  }
};
constexpr DigitTable kDigits;

inline int DigitOf(char16_t c) { return c < 128 ? kDigits.digit[c] : -1; }

}  // namespace

void Base64Encode(const uint8_t* data, size_t size, std::u16string& out) {
  const size_t start = out.size();
  out.resize(start + (size + 2) / 3 * 4);
  char16_t* o = out.data() + start;
  size_t i = 0;
  for (; i + 3 <= size; i += 3) {
    const uint32_t v = uint32_t(data[i]) << 16 | uint32_t(data[i + 1]) << 8 | data[i + 2];
    *o++ = static_cast<char16_t>(kAlphabet[v >> 18]);
    *o++ = static_cast<char16_t>(kAlphabet[(v >> 12) & 63]);
    *o++ = static_cast<char16_t>(kAlphabet[(v >> 6) & 63]);
    *o++ = static_cast<char16_t>(kAlphabet[v & 63]);
  }
  if (i < size) {
    const bool two = i + 1 < size;
    const uint32_t v = uint32_t(data[i]) << 16 | (two ? uint32_t(data[i + 1]) << 8 : 0);
    *o++ = static_cast<char16_t>(kAlphabet[v >> 18]);
    *o++ = static_cast<char16_t>(kAlphabet[(v >> 12) & 63]);
    *o++ = two ? static_cast<char16_t>(kAlphabet[(v >> 6) & 63]) : u'=';
    *o++ = u'=';
  }
}

int64_t Base64Decode(std::u16string_view text, uint8_t* buffer, size_t capacity, bool wholeQuads) {
  size_t pos = 0;
  int quad[4];
  int have = 0;
  const char16_t* p = text.data();
  const char16_t* const end = p + text.size();
  while (p < end) {
    // The common case: a whole quad of digits without padding.
    if (have == 0 && end - p >= 4 && pos + 3 <= capacity) {
      const int a = DigitOf(p[0]), b = DigitOf(p[1]), c = DigitOf(p[2]), d = DigitOf(p[3]);
      if ((a | b | c | d) >= 0 && a < 64 && b < 64 && c < 64 && d < 64) {
        const uint32_t v = uint32_t(a) << 18 | uint32_t(b) << 12 | uint32_t(c) << 6 | uint32_t(d);
        buffer[pos] = static_cast<uint8_t>(v >> 16);
        buffer[pos + 1] = static_cast<uint8_t>(v >> 8);
        buffer[pos + 2] = static_cast<uint8_t>(v);
        pos += 3;
        p += 4;
        continue;
      }
    }
    const char16_t c = *p++;
    if (c < 0x21) continue;
    const int d = DigitOf(c);
    if (d < 0) continue;
    quad[have++] = d;
    if (have < 4) continue;
    have = 0;
    if (pos + 3 > capacity) return -1;
    uint32_t v = 0;
    for (int k = 0; k < 4; ++k) v = v << 6 | uint32_t(quad[k] == 64 ? 0 : quad[k]);
    buffer[pos] = static_cast<uint8_t>(v >> 16);
    buffer[pos + 1] = static_cast<uint8_t>(v >> 8);
    buffer[pos + 2] = static_cast<uint8_t>(v);
    if (wholeQuads)
      pos += 3;
    else
      pos += 1 + (quad[2] != 64) + (quad[3] != 64);
  }
  return static_cast<int64_t>(pos);
}

}  // namespace zx
