#include "docinfo/Rfc1342Decoder.h"

#include <string>

#include "core/charset/CharsetTable.h"
#include "core/strings/CharsetConversion.h"
#include "packed/Base64.h"
#include "platform/codepage.h"

namespace zx {
namespace {

char16_t FoldAscii(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

bool SameNameNoCase(std::u16string_view a, const char16_t* b) {
  size_t i = 0;
  for (; i < a.size(); ++i) {
    if (b[i] == 0 || FoldAscii(a[i]) != FoldAscii(b[i])) return false;
  }
  return b[i] == 0;
}

// A group of the match; an absent group is stood in for by the last one present.
String Group(const clsRegExMatchList& match, int index) {
  const int count = match.entries();
  if (count == 0) return String();
  return match.find(index < count ? index : count - 1).text;
}

int QDigit(char16_t c) {
  if (c < u'A') return c - u'0';
  if (c < u'a') return c - 0x37;
  return c - 0x57;
}

}  // namespace

uint32_t CodePageOfMailCharset(const String& charset) {
  if (!charset.IsEmpty()) {
    for (const scCharsetName& row : CharsetNameTable()) {
      if (SameNameNoCase(charset.View(), row.name)) return row.codePage;
    }
  }
  return plat::AnsiCodePage();
}

std::string DecodeQBytes(const String& text) {
  std::string bytes;
  const std::u16string_view t = text.View();
  bytes.reserve(t.size());
  for (size_t i = 0; i < t.size(); ++i) {
    const char16_t c = t[i];
    if (c == u'_') {
      bytes.push_back(' ');
    } else if (c == u'=') {
      // "=" without two characters behind it ends the text, as one at the very end.
      if (i + 2 >= t.size()) break;
      bytes.push_back(static_cast<char>((QDigit(t[i + 1]) * 16 + QDigit(t[i + 2])) & 0xFF));
      i += 2;
    } else {
      bytes.push_back(static_cast<char>(c & 0xFF));
    }
  }
  return bytes;
}

String clsRFC1342Decoder::Decode(const clsRegExMatchList& match) const {
  const uint32_t codePage = CodePageOfMailCharset(Group(match, 1));
  const String encoding = Group(match, 2);
  const String encoded = Group(match, 3);
  std::string bytes;
  if (encoding == u"Q" || encoding == u"q") {
    bytes = DecodeQBytes(encoded);
  } else if (encoding == u"B" || encoding == u"b") {
    bytes.resize(Base64DecodeCapacity(static_cast<size_t>(encoded.Length())));
    const int64_t n = Base64Decode(encoded.View(), reinterpret_cast<uint8_t*>(bytes.data()), bytes.size(), false);
    bytes.resize(n > 0 ? static_cast<size_t>(n) : 0);
  } else {
    throw clsException(u"Bad encoding '%s' in word '%s'", encoding.wchar(), Group(match, 0).wchar());
  }
  return StringFromNarrow(bytes.data(), static_cast<int64_t>(bytes.size()), codePage);
}

String DecodeEncodedWords(const String& value) {
  // Most values hold no word: skip the engine for them.
  if (value.View().find(u"=?") == std::u16string_view::npos) return value;
  clsRegEx words{String(kEncodedWordPattern)};
  clsRFC1342Decoder decoder(value);
  return words.Substitute(value, decoder);
}

}  // namespace zx
