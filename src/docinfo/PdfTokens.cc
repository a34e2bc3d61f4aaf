#include "docinfo/PdfTokens.h"

#include <cstring>
#include <string>
#include <vector>

#include "docinfo/DocException.h"
#include "docinfo/PdfText.h"

namespace zx {
namespace {

// Nested dictionaries deeper than this end the parse: the stack stays small
// whatever the file holds.
constexpr int kMaxNesting = 32;

bool IsDelimiter(uint8_t c) { return std::strchr("()<>[]{}/%", c) != nullptr && c != 0; }

int HexDigit(uint8_t c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

void SkipLine(scPdfCursor& c) {
  while (!c.AtEnd() && *c.p != '\r' && *c.p != '\n') ++c.p;
}

// Behind the "/": up to white space or a delimiter; "#" takes the hexadecimal
// number behind it, keeps its low byte and moves by exactly three.
String ReadName(scPdfCursor& c) {
  ++c.p;
  std::u16string name;
  while (!c.AtEnd() && !IsPdfWhite(*c.p) && !IsDelimiter(*c.p)) {
    if (*c.p == '#') {
      unsigned value = 0;
      for (const uint8_t* q = c.p + 1; q < c.end && HexDigit(*q) >= 0; ++q) value = value * 16 + HexDigit(*q);
      name.push_back(static_cast<char16_t>(value & 0xFF));
      c.p = c.end - c.p > 3 ? c.p + 3 : c.end;
    } else {
      name.push_back(*c.p++);
    }
  }
  return String(name);
}

String ReadKey(scPdfCursor& c) {
  c.SkipWhite();
  while (c.Peek() == '%') {
    SkipLine(c);
    c.SkipWhite();
  }
  if (c.Peek() == '/') return ReadName(c);
  return String();
}

// "(...)" with escapes and nesting; the end of the buffer ends it as well.
String ReadLiteral(scPdfCursor& c) {
  ++c.p;
  const bool rawBom = c.end - c.p >= 2 && ((c.p[0] == 0xFE && c.p[1] == 0xFF) || (c.p[0] == 0xFF && c.p[1] == 0xFE));
  std::string chars;
  int depth = 1;
  while (!c.AtEnd()) {
    uint8_t ch = *c.p++;
    if (ch == '\\' && !c.AtEnd()) {
      const uint8_t e = *c.p;
      const char* simple = std::strchr("()\\bfnrt", e);
      if (simple != nullptr && e != 0) {
        static const char kValues[] = "()\\\b\f\n\r\t";
        chars.push_back(kValues[simple - "()\\bfnrt"]);
        ++c.p;
      } else if (e >= '0' && e <= '7') {
        int value = 0;
        for (int n = 0; n < 3 && !c.AtEnd() && *c.p >= '0' && *c.p <= '7'; ++n) value = value * 8 + (*c.p++ - '0');
        chars.push_back(static_cast<char>(value & 0xFF));
      } else {
        chars.push_back('\\');  // the backslash stands for itself
      }
      continue;
    }
    if (ch == '(') ++depth;
    if (ch == ')' && --depth == 0) break;
    chars.push_back(static_cast<char>(ch));
  }
  return PdfLiteralText(chars, rawBom);
}

String ReadHex(scPdfCursor& c) {
  ++c.p;
  std::string bytes;
  int high = -1;
  for (;;) {
    c.SkipWhite();
    if (c.AtEnd()) throw clsException(u"premature end of object");
    const uint8_t ch = *c.p++;
    if (ch == '>') break;
    const int d = HexDigit(ch) < 0 ? 0 : HexDigit(ch);
    if (high < 0) {
      high = d;
    } else {
      bytes.push_back(static_cast<char>(high * 16 + d));
      high = -1;
    }
  }
  if (high >= 0) bytes.push_back(static_cast<char>(high * 16));
  return PdfHexText(bytes);
}

// "[...]" as its raw text up to the first "]", comments dropped.
String ReadArrayText(scPdfCursor& c) {
  ++c.p;
  std::u16string text;
  while (!c.AtEnd() && *c.p != ']') {
    if (*c.p == '%') {
      SkipLine(c);
      continue;
    }
    text.push_back(*c.p++);
  }
  if (!c.AtEnd()) ++c.p;
  return String(text);
}

clsVariant NumberValue(int64_t n) {
  clsVariant v;
  if (n < INT32_MIN) n = INT32_MIN;  // the standard conversion saturates there
  if (n <= UINT32_MAX) {
    v.vt = VT_UI4;
    v.ulVal = static_cast<uint32_t>(n);
  } else {  // offsets of files beyond 4 GB
    v.vt = VT_UI8;
    v.ullVal = static_cast<uint64_t>(n);
  }
  return v;
}

clsVariant BoolValue(bool b) {
  clsVariant v;
  v.vt = VT_BOOL;
  v.boolVal = b ? VARIANT_TRUE : 0;
  return v;
}

clsVariant ArrayOf(const std::vector<clsVariant>& values) {
  SAFEARRAYBOUND bound{static_cast<ULONG>(values.size()), 0};
  SAFEARRAY* array = plat::SafeArrayCreate(VT_VARIANT, 1, &bound);
  clsVariant v;
  if (array == nullptr) return v;
  for (LONG i = 0; i < static_cast<LONG>(values.size()); ++i)
    plat::SafeArrayPutElement(array, &i, const_cast<clsVariant*>(&values[i]));
  v.vt = VT_ARRAY | VT_VARIANT;
  v.parray = array;
  return v;
}

struct scParse {
  PdfDict* decodeParms;
  int depth;
};

void ParseEntries(scPdfCursor& c, PdfDict& dict, scParse& ctx);

// The values behind a key, up to the next key or the end of the dictionary.
void ReadValues(scPdfCursor& c, std::vector<clsVariant>& values, const String& key, scParse& ctx) {
  c.SkipWhite();
  if (c.AtEnd() || *c.p == '>') return;
  for (;;) {
    const uint8_t ch = *c.p;
    if (ch == '%') {
      SkipLine(c);
    } else if (ch == '(') {
      values.emplace_back(ReadLiteral(c));
    } else if (ch == '+' || ch == '-' || ch == '.' || (ch >= '0' && ch <= '9')) {
      int64_t n = 0;
      if (ReadPdfInteger(c, &n))
        values.push_back(NumberValue(n));
      else
        ++c.p;  // a sign or a point alone
    } else if (ch == '/') {
      if (values.empty()) values.emplace_back(ReadName(c));
      return;
    } else if (ch == '<' && c.At("<<")) {
      PdfDict nested;
      const bool keep = ctx.decodeParms != nullptr && ctx.depth == 1 && key == String(u"DecodeParms");
      if (++ctx.depth > kMaxNesting) throw clsException(u"dictionary nested too deeply");
      c.p += 2;
      ParseEntries(c, keep ? *ctx.decodeParms : nested, ctx);
      --ctx.depth;
      values.emplace_back(String(u"<dummy:Dict>"));
    } else if (ch == '<') {
      values.emplace_back(ReadHex(c));
    } else if (ch == '[') {
      values.emplace_back(ReadArrayText(c));
    } else if (ch == 'f') {
      if (!c.At("false")) throw clsException(u"unexpected token");
      c.p += 5;
      values.push_back(BoolValue(false));
    } else if (ch == 't') {
      if (!c.At("true")) throw clsException(u"unexpected token");
      c.p += 4;
      values.push_back(BoolValue(true));
    } else if (ch == '>') {
      return;
    } else {
      ++c.p;
    }
    c.SkipWhite();
    if (c.AtEnd()) throw clsException(u"premature end of dictionary");
  }
}

// Behind "<<": the entries, then the cursor behind ">>".
void ParseEntries(scPdfCursor& c, PdfDict& dict, scParse& ctx) {
  for (;;) {
    const String key = ReadKey(c);
    if (key.Length() == 0) break;
    std::vector<clsVariant> values;
    ReadValues(c, values, key, ctx);
    if (values.empty()) continue;
    dict.insert(key, values.size() == 1 ? values[0] : ArrayOf(values));
  }
  if (!c.Find(">>")) throw clsException(u"expected end of dictionary");
  c.p += 2;
}

}  // namespace

bool scPdfCursor::Find(std::string_view text) {
  if (text.empty() || static_cast<size_t>(end - p) < text.size()) return false;
  const uint8_t* last = end - text.size();
  for (const uint8_t* q = p; q <= last; ++q) {
    q = static_cast<const uint8_t*>(std::memchr(q, text[0], static_cast<size_t>(last - q) + 1));
    if (q == nullptr) return false;
    if (std::memcmp(q, text.data(), text.size()) == 0) {
      p = q;
      return true;
    }
  }
  return false;
}

bool scPdfCursor::At(std::string_view text) const {
  return static_cast<size_t>(end - p) >= text.size() && std::memcmp(p, text.data(), text.size()) == 0;
}

bool ReadPdfInteger(scPdfCursor& c, int64_t* value) {
  c.SkipWhite();
  const uint8_t* q = c.p;
  bool negative = false;
  if (q < c.end && (*q == '+' || *q == '-')) negative = *q++ == '-';
  if (q >= c.end || *q < '0' || *q > '9') return false;
  uint64_t n = 0;
  for (; q < c.end && *q >= '0' && *q <= '9'; ++q)
    n = n > (INT64_MAX - 9) / 10 ? static_cast<uint64_t>(INT64_MAX) : n * 10 + (*q - '0');
  *value = negative ? -static_cast<int64_t>(n) : static_cast<int64_t>(n);
  c.p = q;
  return true;
}

void ParsePdfDictionary(scPdfCursor& c, const char* keyword, PdfDict& dict, PdfDict* decodeParms) {
  if (keyword != nullptr) {
    if (!c.Find(keyword)) throw clsException(u"no object");
    c.p += std::strlen(keyword);
    c.SkipWhite();
  }
  if (!c.Find("<<")) throw clsException(u"object is not a dictionary");
  c.p += 2;
  scParse ctx{decodeParms, 1};
  ParseEntries(c, dict, ctx);
}

bool PdfValueText(const PdfDict& dict, const char16_t* key, String* text) {
  clsVariant v;
  if (!dict.find(String(key), v) || v.vt != VT_BSTR) return false;
  *text = v.Text();
  return true;
}

bool PdfValueNumber(const PdfDict& dict, const char16_t* key, int64_t* number) {
  clsVariant v;
  if (!dict.find(String(key), v)) return false;
  if (v.vt == (VT_ARRAY | VT_VARIANT)) {
    const int32_t first = 0;
    v = v.Element(&first, 1);
  }
  if (v.vt == VT_UI4) {
    *number = v.ulVal;
    return true;
  }
  if (v.vt == VT_UI8) {
    *number = static_cast<int64_t>(v.ullVal);
    return true;
  }
  return false;
}

}  // namespace zx
