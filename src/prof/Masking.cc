#include "prof/Masking.h"

#include <cstdint>
#include <cstring>

namespace zx::prof {
namespace {

constexpr char16_t kPictureBase = 0x2400;

// Stops at the first difference, so that a text ending before the prefix's
// length is not read beyond its terminator.
bool StartsWith(const char16_t* text, const char16_t* prefix, size_t n) {
  for (size_t i = 0; i < n; ++i)
    if (text[i] != prefix[i]) return false;
  return true;
}

char16_t* Put(char16_t* dst, const char16_t* text, size_t n) {
  std::memcpy(dst, text, n * sizeof(char16_t));
  return dst + n;
}

}  // namespace

char16_t* MaskTextName(char16_t* dst, const char16_t* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    char16_t c = text[i];
    if (c < 0x20) c = static_cast<char16_t>(c + kPictureBase);
    else if (c == u'=') c = 0x2338;
    else if (c == u'[') c = 0x301A;
    else if (c == u']') c = 0x301B;
    *dst++ = c;
  }
  return dst;
}

char16_t* MaskTextValue(char16_t* dst, const char16_t* text, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    const char16_t c = text[i];
    *dst++ = c < 0x20 ? static_cast<char16_t>(c + kPictureBase) : c;
  }
  return dst;
}

void UnmaskTextName(char16_t* text) {
  for (; *text; ++text) {
    if (*text == 0x2338) *text = u'=';
    else if (*text == 0x301A) *text = u'[';
    else if (*text == 0x301B) *text = u']';
  }
}

size_t UnmaskTextValue(char16_t* text) {
  char16_t* p = text;
  for (; *p; ++p)
    if (*p > kPictureBase && *p < kPictureBase + 0x20) *p = static_cast<char16_t>(*p - kPictureBase);
  return static_cast<size_t>(p - text);
}

size_t XmlMaskedLength(const char16_t* text, size_t length) {
  size_t n = 0;
  for (size_t i = 0; i < length; ++i) {
    const char16_t c = text[i];
    if (c == u'\r') n += i + 1 < length && text[i + 1] == u'\n' ? 0 : 4;   // "&cr;" or nothing
    else if (c == u'\n') n += 4;
    else if (c == u'\t') n += 5;
    else if (c < 0x20) n += 8;
    else if (c == u'<' || c == u'>') n += 4;
    else if (c == u'&') n += 5;
    else if (c == u'\'' || c == u'"') n += 6;
    else n += 1;
  }
  return n;
}

char16_t* MaskXml(char16_t* dst, const char16_t* text, size_t length) {
  static const char16_t kHex[] = u"0123456789abcdef";
  for (size_t i = 0; i < length; ++i) {
    const char16_t c = text[i];
    switch (c) {
      case u'\r':
        if (i + 1 < length && text[i + 1] == u'\n') break;   // the LF writes the entity
        dst = Put(dst, u"&cr;", 4);
        break;
      case u'\n': dst = Put(dst, u"&cr;", 4); break;
      case u'\t': dst = Put(dst, u"&tab;", 5); break;
      case u'<': dst = Put(dst, u"&lt;", 4); break;
      case u'>': dst = Put(dst, u"&gt;", 4); break;
      case u'&': dst = Put(dst, u"&amp;", 5); break;
      case u'\'': dst = Put(dst, u"&apos;", 6); break;
      case u'"': dst = Put(dst, u"&quot;", 6); break;
      default:
        if (c < 0x20) {
          dst = Put(dst, u"&#x00", 5);
          *dst++ = kHex[c >> 4];
          *dst++ = kHex[c & 15];
          *dst++ = u';';
        } else {
          *dst++ = c;
        }
    }
  }
  return dst;
}

size_t UnmaskXml(char16_t* text) {
  char16_t* out = text;
  const char16_t* in = text;
  while (*in) {
    if (*in != u'&') {
      *out++ = *in++;
      continue;
    }
    if (StartsWith(in, u"&cr;", 4)) { *out++ = u'\r'; *out++ = u'\n'; in += 4; continue; }
    if (StartsWith(in, u"&tab;", 5)) { *out++ = u'\t'; in += 5; continue; }
    if (StartsWith(in, u"&lt;", 4)) { *out++ = u'<'; in += 4; continue; }
    if (StartsWith(in, u"&gt;", 4)) { *out++ = u'>'; in += 4; continue; }
    if (StartsWith(in, u"&amp;", 5)) { *out++ = u'&'; in += 5; continue; }
    if (StartsWith(in, u"&apos;", 6)) { *out++ = u'\''; in += 6; continue; }
    if (StartsWith(in, u"&quot;", 6)) { *out++ = u'"'; in += 6; continue; }
    if (in[1] == u'#') {
      const bool hex = in[2] == u'x';
      in += hex ? 3 : 2;
      uint32_t value = 0;
      for (;; ++in) {
        uint32_t digit;
        if (*in >= u'0' && *in <= u'9') digit = *in - u'0';
        else if (hex && *in >= u'a' && *in <= u'f') digit = *in - u'a' + 10;
        else if (hex && *in >= u'A' && *in <= u'F') digit = *in - u'A' + 10;
        else break;
        value = value > 0x10FFFF ? value : value * (hex ? 16 : 10) + digit;   // saturates
      }
      while (*in && *in != u';') ++in;
      if (!*in || value == 0) break;   // no ";", or the number 0: the text ends
      ++in;
      if (value <= 0xFFFF) {
        *out++ = static_cast<char16_t>(value);
      } else if (value <= 0x10FFFF) {
        value -= 0x10000;
        *out++ = static_cast<char16_t>(0xD800 + (value >> 10));
        *out++ = static_cast<char16_t>(0xDC00 + (value & 0x3FF));
      } else {
        *out++ = 0xFFFD;
      }
      continue;
    }
    *out++ = *in++;   // an unknown entity stays as it is
  }
  *out = 0;
  return static_cast<size_t>(out - text);
}

}  // namespace zx::prof
