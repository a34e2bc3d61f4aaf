#include "docinfo/RtfText.h"

#include <string>

#include "core/strings/CharsetConversion.h"
#include "docinfo/DocMarkup.h"

namespace zx {
namespace {

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// "\'hh" at s[i]: its byte, or -1.
int EscapedByte(std::u16string_view s, size_t i) {
  if (i + 4 > s.size() || s[i] != u'\\' || s[i + 1] != u'\'') return -1;
  const int hi = HexDigitValue(s[i + 2]), lo = HexDigitValue(s[i + 3]);
  return hi < 0 || lo < 0 ? -1 : hi * 16 + lo;
}

// A decimal number with an optional "-" at s[i], at most 10 digits; its end, or
// i when there is none.
size_t Number(std::u16string_view s, size_t i, long long* value) {
  size_t at = i;
  const bool negative = at < s.size() && s[at] == u'-';
  if (negative) ++at;
  const size_t first = at;
  long long v = 0;
  while (at < s.size() && IsDigit(s[at]) && at - first < 10) v = v * 10 + (s[at++] - u'0');
  if (at == first) return i;
  *value = negative ? -v : v;
  return at;
}

void AppendBytes(std::u16string& out, std::string& bytes, uint32_t codePage) {
  if (bytes.empty()) return;
  String converted;
  if (codePage != 0) converted = StringFromNarrow(bytes.data(), static_cast<int64_t>(bytes.size()), codePage);
  if (converted.IsEmpty() || codePage == 0) {
    for (unsigned char b : bytes) out.push_back(char16_t(b));
  } else {
    out.append(converted.View());
  }
  bytes.clear();
}

}  // namespace

uint32_t RtfCodePage(const String& text) {
  const std::u16string_view s = text.View();
  const size_t at = s.find(u"\\ansicpg");
  if (at == std::u16string_view::npos) return 0;
  long long v = 0;
  const size_t start = at + 8;
  return Number(s, start, &v) != start && v > 0 && v < 65536 ? static_cast<uint32_t>(v) : 0;
}

String UnescapeRtf(const String& text, uint32_t codePage) {
  const std::u16string_view s = text.View();
  std::u16string out;
  out.reserve(s.size());
  std::string bytes;
  long long fallback = 1;   // characters behind a "\uN"
  size_t i = 0;
  while (i < s.size()) {
    const char16_t c = s[i];
    if (c == u'\r' || c == u'\n') {
      ++i;
      continue;
    }
    const int b = EscapedByte(s, i);
    if (b >= 0) {
      bytes.push_back(static_cast<char>(b));
      i += 4;
      continue;
    }
    AppendBytes(out, bytes, codePage);
    if (c != u'\\' || i + 1 >= s.size()) {
      out.push_back(c);
      ++i;
      continue;
    }
    if (s[i + 1] == u'\\') {   // an escaped backslash, copied with what it escapes
      out.append(s.substr(i, 2));
      i += 2;
      continue;
    }
    long long n = 0;
    if (s[i + 1] == u'u' && i + 2 < s.size() && s[i + 2] == u'c') {
      const size_t end = Number(s, i + 3, &n);
      if (end != i + 3 && n >= 0) {
        fallback = n;
        i = end < s.size() && s[end] == u' ' ? end + 1 : end;
        continue;
      }
    } else if (s[i + 1] == u'u') {
      size_t end = Number(s, i + 2, &n);
      if (end != i + 2 && n >= -32768 && n <= 65535) {
        out.push_back(static_cast<char16_t>(n < 0 ? n + 65536 : n));
        if (end < s.size() && s[end] == u' ') ++end;
        for (long long k = 0; k < fallback && end < s.size(); ++k) end += EscapedByte(s, end) >= 0 ? 4 : 1;
        i = end;
        continue;
      }
    }
    out.push_back(c);
    ++i;
  }
  AppendBytes(out, bytes, codePage);
  return String(out.c_str());
}

String RtfPlainValue(const String& value) {
  return !value.IsEmpty() && value.View()[0] == u' ' ? value.Mid(1) : value;
}

}  // namespace zx
