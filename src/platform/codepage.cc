// The converter front end of both OSes: argument checks as the system makes them,
// and our own code pages 1252, 65001 and 42. Everything else goes to the OS through
// codepage_system.h.
#include "platform/codepage.h"

#include <algorithm>
#include <cstring>

#include "platform/internal/codepage_system.h"
#include "platform/errors.h"

namespace plat {
namespace {

// 0x80..0x9F of 1252. The five bytes the code page leaves undefined (0x81, 0x8D,
// 0x8F, 0x90, 0x9D) map to the C1 controls of the same value, as Windows maps them.
constexpr char16_t k1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

struct BestFit {
  char16_t unit;
  unsigned char byte;
};
// Best-fit mappings of WideCharToMultiByte for 1252 (used unless
// WC_NO_BEST_FIT_CHARS): accented Latin letters to their base letter, fullwidth
// ASCII to ASCII, look-alike punctuation, letterlike and box-drawing symbols.
constexpr BestFit k1252BestFit[] = {
#include "platform/internal/codepage_1252_bestfit.inc"
};

char16_t Decode1252(unsigned char b) {
  return (b >= 0x80 && b < 0xA0) ? k1252High[b - 0x80] : char16_t(b);
}

// The byte that round-trips to `u`, or -1.
int Exact1252(char16_t u) {
  if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) return u;
  for (int i = 0; i < 32; ++i)
    if (k1252High[i] == u) return 0x80 + i;
  return -1;
}

int BestFit1252(char16_t u) {
  const BestFit* end = k1252BestFit + sizeof k1252BestFit / sizeof k1252BestFit[0];
  const BestFit* it = std::lower_bound(k1252BestFit, end, u,
                                       [](const BestFit& e, char16_t v) { return e.unit < v; });
  return (it != end && it->unit == u) ? it->byte : -1;
}

// Collects output units; with no buffer it only counts. Once the buffer is full the
// rest is counted as overflow, which the caller reports as error 122.
template <typename T>
struct Sink {
  T* dst;
  int cap;
  int n = 0;
  bool overflow = false;
  void Put(T c) {
    if (dst) {
      if (n >= cap) {
        overflow = true;
        return;
      }
      dst[n] = c;
    }
    ++n;
  }
  bool Room(int units) const { return !dst || n + units <= cap; }
};

constexpr char16_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence at s[0..len). Returns the code point, or -1 for an
// ill-formed sequence; `used` is the number of bytes consumed, which for an
// ill-formed sequence is its maximal valid prefix (at least 1), so that each such
// subpart becomes one U+FFFD.
long DecodeUtf8(const unsigned char* s, int len, int& used) {
  unsigned char b = s[0];
  used = 1;
  if (b < 0x80) return b;
  int need;
  long cp;
  unsigned char lo = 0x80, hi = 0xBF;  // range of the second byte
  if (b >= 0xC2 && b <= 0xDF) {
    need = 1;
    cp = b & 0x1F;
  } else if (b >= 0xE0 && b <= 0xEF) {
    need = 2;
    cp = b & 0x0F;
    if (b == 0xE0) lo = 0xA0;       // no overlongs
    else if (b == 0xED) hi = 0x9F;  // no surrogates
  } else if (b >= 0xF0 && b <= 0xF4) {
    need = 3;
    cp = b & 0x07;
    if (b == 0xF0) lo = 0x90;       // no overlongs
    else if (b == 0xF4) hi = 0x8F;  // nothing above U+10FFFF
  } else {
    return -1;  // a stray continuation byte, C0, C1 or F5..FF
  }
  for (int i = 1; i <= need; ++i) {
    if (i >= len) return -1;
    unsigned char c = s[i];
    unsigned char l = i == 1 ? lo : 0x80, h = i == 1 ? hi : 0xBF;
    if (c < l || c > h) return -1;
    cp = (cp << 6) | (c & 0x3F);
    used = i + 1;
  }
  return cp;
}

int Utf8ToWide(uint32_t flags, const char* src, int srcLen, char16_t* dst, int dstLen) {
  Sink<char16_t> out{dst, dstLen};
  bool invalid = false;
  const auto* s = reinterpret_cast<const unsigned char*>(src);
  for (int i = 0; i < srcLen && !out.overflow;) {
    int used;
    long cp = DecodeUtf8(s + i, srcLen - i, used);
    i += used;
    if (cp < 0) {
      invalid = true;
      out.Put(kReplacement);
    } else if (cp >= 0x10000) {
      if (!out.Room(2)) {
        out.overflow = true;
        break;
      }
      cp -= 0x10000;
      out.Put(char16_t(0xD800 + (cp >> 10)));
      out.Put(char16_t(0xDC00 + (cp & 0x3FF)));
    } else {
      out.Put(char16_t(cp));
    }
  }
  if (out.overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  if (invalid && (flags & kMbErrInvalidChars)) {
    SetLastError(kErrNoUnicodeTranslation);
    return 0;
  }
  return out.n;
}

int WideToUtf8(uint32_t flags, const char16_t* src, int srcLen, char* dst, int dstLen) {
  Sink<char> out{dst, dstLen};
  bool invalid = false;
  for (int i = 0; i < srcLen && !out.overflow; ++i) {
    unsigned long cp = src[i];
    if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < srcLen && src[i + 1] >= 0xDC00 &&
        src[i + 1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (src[i + 1] - 0xDC00);
      ++i;
    } else if (cp >= 0xD800 && cp <= 0xDFFF) {
      invalid = true;  // a lone surrogate
      cp = kReplacement;
    }
    int units = cp < 0x80 ? 1 : cp < 0x800 ? 2 : cp < 0x10000 ? 3 : 4;
    if (!out.Room(units)) {
      out.overflow = true;
      break;
    }
    if (units == 1) {
      out.Put(char(cp));
      continue;
    }
    static constexpr unsigned char kLead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    out.Put(char(kLead[units] | (cp >> (6 * (units - 1)))));
    for (int k = units - 2; k >= 0; --k) out.Put(char(0x80 | ((cp >> (6 * k)) & 0x3F)));
  }
  if (out.overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  if (invalid && (flags & kWcErrInvalidChars)) {
    SetLastError(kErrNoUnicodeTranslation);
    return 0;
  }
  return out.n;
}

int Cp1252ToWide(const char* src, int srcLen, char16_t* dst, int dstLen) {
  Sink<char16_t> out{dst, dstLen};
  for (int i = 0; i < srcLen && !out.overflow; ++i)
    out.Put(Decode1252(static_cast<unsigned char>(src[i])));
  if (out.overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  return out.n;
}

// Surrogate halves are mapped one by one, as the system does for single-byte pages.
int WideTo1252(uint32_t flags, const char16_t* src, int srcLen, char* dst, int dstLen,
               const char* defaultChar, bool* usedDefault) {
  Sink<char> out{dst, dstLen};
  const char fallback = defaultChar ? defaultChar[0] : '?';
  bool used = false;
  for (int i = 0; i < srcLen && !out.overflow; ++i) {
    int b = Exact1252(src[i]);
    if (b < 0 && !(flags & kWcNoBestFitChars)) b = BestFit1252(src[i]);
    if (b < 0) {
      used = true;
      out.Put(fallback);
    } else {
      out.Put(char(b));
    }
  }
  if (usedDefault) *usedDefault = used;
  if (out.overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  return out.n;
}

// The symbol page: controls as they are, 0x20..0xFF in the private area at U+F020.
int SymbolToWide(const char* src, int srcLen, char16_t* dst, int dstLen) {
  Sink<char16_t> out{dst, dstLen};
  for (int i = 0; i < srcLen && !out.overflow; ++i) {
    auto b = static_cast<unsigned char>(src[i]);
    out.Put(b < 0x20 ? char16_t(b) : char16_t(0xF000 + b));
  }
  if (out.overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  return out.n;
}

int WideToSymbol(const char16_t* src, int srcLen, char* dst, int dstLen) {
  Sink<char> out{dst, dstLen};
  for (int i = 0; i < srcLen && !out.overflow; ++i) {
    char16_t u = src[i];
    if (u < 0x20) {
      out.Put(char(u));
    } else if (u >= 0xF020 && u <= 0xF0FF) {
      out.Put(char(u - 0xF000));
    } else {
      SetLastError(kErrNoUnicodeTranslation);
      return 0;
    }
  }
  if (out.overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  return out.n;
}

uint32_t Resolve(uint32_t codePage) {
  switch (codePage) {
    case kCpAcp:
    case kCpThreadAcp:
      return AnsiCodePage();
    case kCpOemCp:
      return OemCodePage();
    case kCpMacCp:
      return 10000;
    default:
      return codePage;
  }
}

int Fail(uint32_t error) {
  SetLastError(error);
  return 0;
}

}  // namespace

bool IsValidCodePage(uint32_t codePage) {
  if (codePage == kCp1252 || codePage == kCpUtf8 || codePage == kCpSymbol) return true;
  // The pseudo pages 0..3 are not code pages of their own.
  if (codePage <= kCpThreadAcp) return false;
  return detail::SystemHasCodePage(codePage);
}

int MultiByteToWide(uint32_t codePage, uint32_t flags, const char* src, int srcLen,
                    char16_t* dst, int dstLen) {
  if (!src || srcLen == 0 || dstLen < 0 || (!dst && dstLen) ||
      (dst && static_cast<const void*>(dst) == static_cast<const void*>(src)))
    return Fail(kErrInvalidParameter);
  if (srcLen < 0) srcLen = static_cast<int>(std::min<size_t>(strlen(src) + 1, 0x7FFFFFFF));
  if (dstLen == 0) dst = nullptr;
  codePage = Resolve(codePage);
  switch (codePage) {
    case kCp1252:
      if ((flags & ~(kMbPrecomposed | kMbComposite | kMbUseGlyphChars | kMbErrInvalidChars)) ||
          (flags & (kMbPrecomposed | kMbComposite)) == (kMbPrecomposed | kMbComposite))
        return Fail(kErrInvalidFlags);
      return Cp1252ToWide(src, srcLen, dst, dstLen);
    case kCpUtf8:
      if (flags & ~kMbErrInvalidChars) return Fail(kErrInvalidFlags);
      return Utf8ToWide(flags, src, srcLen, dst, dstLen);
    case kCpSymbol:
      if (flags) return Fail(kErrInvalidFlags);
      return SymbolToWide(src, srcLen, dst, dstLen);
    default:
      return detail::SystemMultiByteToWide(codePage, flags, src, srcLen, dst, dstLen);
  }
}

int WideToMultiByte(uint32_t codePage, uint32_t flags, const char16_t* src, int srcLen,
                    char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
  if (!src || srcLen == 0 || dstLen < 0 || (!dst && dstLen) ||
      (dst && static_cast<const void*>(dst) == static_cast<const void*>(src)))
    return Fail(kErrInvalidParameter);
  if (srcLen < 0) {
    size_t n = 0;
    while (src[n] && n < 0x7FFFFFFE) ++n;
    srcLen = static_cast<int>(n + 1);
  }
  if (dstLen == 0) dst = nullptr;
  codePage = Resolve(codePage);
  switch (codePage) {
    case kCp1252:
      if (flags & ~(kWcCompositeCheck | kWcDiscardNs | kWcSepChars | kWcDefaultChar |
                    kWcNoBestFitChars))
        return Fail(kErrInvalidFlags);
      return WideTo1252(flags, src, srcLen, dst, dstLen, defaultChar, usedDefault);
    case kCpUtf8:
      if (defaultChar || usedDefault) return Fail(kErrInvalidParameter);
      if (flags & ~kWcErrInvalidChars) return Fail(kErrInvalidFlags);
      return WideToUtf8(flags, src, srcLen, dst, dstLen);
    case kCpSymbol:
      if (defaultChar || usedDefault) return Fail(kErrInvalidParameter);
      if (flags) return Fail(kErrInvalidFlags);
      return WideToSymbol(src, srcLen, dst, dstLen);
    default:
      return detail::SystemWideToMultiByte(codePage, flags, src, srcLen, dst, dstLen,
                                           defaultChar, usedDefault);
  }
}

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  if (text.empty()) return out;
  int len = static_cast<int>(std::min<size_t>(text.size(), 0x7FFFFFFF / 3));
  out.resize(static_cast<size_t>(len) * 3);
  int n = WideToUtf8(0, text.data(), len, out.data(), static_cast<int>(out.size()));
  out.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return out;
}

std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  if (text.empty()) return out;
  int len = static_cast<int>(std::min<size_t>(text.size(), 0x7FFFFFFF));
  out.resize(static_cast<size_t>(len));
  int n = Utf8ToWide(0, text.data(), len, out.data(), static_cast<int>(out.size()));
  out.resize(n > 0 ? static_cast<size_t>(n) : 0);
  return out;
}

}  // namespace plat
