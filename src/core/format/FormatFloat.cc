#include "core/format/FormatFloat.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace zx::fmt {
namespace {

// Digits beyond these are zeros for every double.
constexpr int kMaxFixedDigits = 1080;    // fraction digits of %f
constexpr int kMaxSignificant = 780;     // significant digits of %e and %g

struct Builder {
  FloatText& o;
  void Put(char c) { o.text[o.length++] = c; }
  void Put(const char* s, size_t n) {
    std::memcpy(o.text + o.length, s, n);
    o.length += n;
  }
};

void Special(double value, bool capitals, Builder& b) {
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const uint64_t mantissa = bits & ((uint64_t{1} << 52) - 1);
  const uint64_t quietBit = uint64_t{1} << 51;
  const bool negative = (bits >> 63) != 0;
  if (negative) b.Put('-');
  const char* s;
  if (mantissa == 0)
    s = capitals ? "INF" : "inf";
  else if (negative && mantissa == quietBit)
    s = capitals ? "NAN(IND)" : "nan(ind)";
  else if (mantissa & quietBit)
    s = capitals ? "NAN" : "nan";
  else
    s = capitals ? "NAN(SNAN)" : "nan(snan)";
  b.Put(s, std::strlen(s));
}

// %e: d.ddde+XX from the shortest exact rounding of std::to_chars.
void Scientific(double value, int precision, bool capitals, Builder& b) {
  const int p = std::min(precision, kMaxSignificant);
  FloatText& o = b.o;
  auto r = std::to_chars(o.text + o.length, o.text + FloatText::kCapacity, value,
                         std::chars_format::scientific, p);
  char* e = std::find(o.text + o.length, r.ptr, 'e');
  o.length = static_cast<size_t>(r.ptr - o.text);
  o.zerosAt = static_cast<size_t>(e - o.text);
  o.zeros = static_cast<size_t>(precision - p);
  if (capitals) *e = 'E';
}

void Fixed(double value, int precision, Builder& b) {
  const int p = std::min(precision, kMaxFixedDigits);
  FloatText& o = b.o;
  auto r = std::to_chars(o.text + o.length, o.text + FloatText::kCapacity, value,
                         std::chars_format::fixed, p);
  o.length = static_cast<size_t>(r.ptr - o.text);
  o.zerosAt = o.length;
  o.zeros = static_cast<size_t>(precision - p);
}

// %g: round once to `precision` significant digits, then lay the digits out as
// %e when the exponent is below -4 or not below the precision, else as %f.
void General(double value, int precision, bool capitals, bool alternate, Builder& b) {
  FloatText& o = b.o;
  if (std::signbit(value)) b.Put('-');
  const int p = std::min(precision, kMaxSignificant);
  char sci[kMaxSignificant + 16];
  auto r = std::to_chars(sci, sci + sizeof sci, std::fabs(value), std::chars_format::scientific,
                         p - 1);
  char* e = std::find(sci, r.ptr, 'e');
  int exponent = 0;
  std::from_chars(e + (e[1] == '+' ? 2 : 1), r.ptr, exponent);
  const size_t implied = static_cast<size_t>(precision - p);

  if (exponent < -4 || exponent >= precision) {
    b.Put(sci, static_cast<size_t>(e - sci));
    o.zerosAt = o.length;
    o.zeros = implied;
    b.Put(capitals ? 'E' : 'e');
    b.Put(e + 1, static_cast<size_t>(r.ptr - e - 1));
  } else {
    char digits[kMaxSignificant];
    size_t n = 0;
    for (const char* s = sci; s < e; ++s)
      if (*s != '.') digits[n++] = *s;
    if (exponent >= 0) {
      b.Put(digits, static_cast<size_t>(exponent) + 1);
      b.Put('.');
      b.Put(digits + exponent + 1, n - static_cast<size_t>(exponent) - 1);
    } else {
      b.Put("0.", 2);
      for (int i = -1; i > exponent; --i) b.Put('0');
      b.Put(digits, n);
    }
    o.zerosAt = o.length;
    o.zeros = implied;
  }
  if (alternate) return;
  // Crop the zeros of the fraction, and the point when nothing is left of it.
  char* begin = o.text;
  char* end = o.text + o.length;
  char* point = std::find(begin, end, '.');
  if (point == end) return;
  char* mantissaEnd = std::find_if(point, end, [](char c) { return c == 'e' || c == 'E'; });
  char* keep = mantissaEnd;
  while (keep[-1] == '0') --keep;
  if (keep - 1 == point) --keep;
  std::memmove(keep, mantissaEnd, static_cast<size_t>(end - mantissaEnd));
  o.length -= static_cast<size_t>(mantissaEnd - keep);
  o.zeros = 0;
  o.zerosAt = o.length;
}

// %a: 1.hhhhp+d with `precision` hex digits, rounded to even; subnormals keep a
// leading 0 and the exponent -1022, zero prints with the exponent +0.
void Hex(double value, int precision, bool capitals, Builder& b) {
  FloatText& o = b.o;
  uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  if (bits >> 63) b.Put('-');
  const int biased = static_cast<int>((bits >> 52) & 0x7FF);
  uint64_t mantissa = bits & ((uint64_t{1} << 52) - 1);
  unsigned lead = biased == 0 ? 0 : 1;
  const int exponent = biased == 0 ? (mantissa == 0 ? 0 : -1022) : biased - 1023;

  const int kept = std::min(precision, 13);
  if (kept < 13) {
    const int drop = (13 - kept) * 4;
    const uint64_t rest = mantissa & ((uint64_t{1} << drop) - 1);
    const uint64_t half = uint64_t{1} << (drop - 1);
    mantissa >>= drop;
    const bool odd = kept == 0 ? (lead & 1) != 0 : (mantissa & 1) != 0;
    if (rest > half || (rest == half && odd)) {
      ++mantissa;
      if (kept == 0 || (mantissa >> (kept * 4)) != 0) {
        ++lead;
        mantissa = 0;
      }
    }
  }
  const char* hexits = capitals ? "0123456789ABCDEF" : "0123456789abcdef";
  b.Put(static_cast<char>('0' + lead));
  if (precision > 0) b.Put('.');
  for (int i = kept - 1; i >= 0; --i) b.Put(hexits[(mantissa >> (i * 4)) & 0xF]);
  o.zerosAt = o.length;
  o.zeros = static_cast<size_t>(precision - kept);
  b.Put(capitals ? 'P' : 'p');
  b.Put(exponent < 0 ? '-' : '+');
  char e[8];
  auto r = std::to_chars(e, e + sizeof e, exponent < 0 ? -exponent : exponent);
  b.Put(e, static_cast<size_t>(r.ptr - e));
}

// With '#' at precision 0 the runtime inserts a point after the leading digits
// (after the first character for inf and nan, which it does not tell apart).
void ForcePoint(FloatText& o) {
  size_t i = 0;
  if (o.text[0] != 'e' && o.text[0] != 'E') {
    do ++i;
    while (i < o.length && o.text[i] >= '0' && o.text[i] <= '9');
  }
  std::memmove(o.text + i + 1, o.text + i, o.length - i);
  o.text[i] = '.';
  ++o.length;
  if (o.zerosAt >= i) ++o.zerosAt;
}

}  // namespace

void FormatDouble(double value, char conv, int precision, bool alternate, FloatText& out) {
  out.length = 0;
  out.zeros = 0;
  out.zerosAt = 0;
  Builder b{out};
  const bool capitals = conv >= 'A' && conv <= 'Z';
  const char lower = static_cast<char>(conv | 0x20);
  if (!std::isfinite(value)) {
    Special(value, capitals, b);
    out.zerosAt = out.length;
  } else if (lower == 'e') {
    Scientific(value, precision, capitals, b);
  } else if (lower == 'f') {
    Fixed(value, precision, b);
  } else if (lower == 'g') {
    General(value, precision, capitals, alternate, b);
  } else {
    Hex(value, precision, capitals, b);
  }
  if (alternate && precision == 0) ForcePoint(out);
}

}  // namespace zx::fmt
