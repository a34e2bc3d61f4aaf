// HTML documents: the title and the meta elements of the head, or the property
// block of an Office document saved as HTML, in the first 64 KiB.
//
// The head is text in the default narrow code page, unless the page says
// otherwise: a byte-order mark (UTF-8, UTF-16) or a charset declaration that the
// charset table knows ("<meta charset=...>", "content=...; charset=...").
#include <string>

#include "core/charset/CharsetTable.h"
#include "core/regex/RegEx.h"
#include "core/strings/CharsetConversion.h"
#include "docinfo/DocMarkup.h"
#include "docinfo/DocReaders.h"

namespace zx {
namespace {

constexpr uint32_t kOptions = kRegExCaseless | kRegExDotAll | kRegExUngreedy;  // 517

char Lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

// The code page a "charset=" in the bytes names, or 0.
uint32_t DeclaredCodePage(const std::string& bytes) {
  std::string lower(bytes.size(), '\0');
  for (size_t i = 0; i < bytes.size(); ++i) lower[i] = Lower(bytes[i]);
  for (size_t at = lower.find("charset="); at != std::string::npos; at = lower.find("charset=", at + 1)) {
    size_t i = at + 8;
    while (i < lower.size() && (lower[i] == '"' || lower[i] == '\'' || lower[i] == ' ')) ++i;
    std::u16string name;
    for (; i < lower.size() && name.size() < 40; ++i) {
      const char c = lower[i];
      if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.' || c == ':')) break;
      name.push_back(char16_t(c));
    }
    // The table spells some names with "-" where pages use "_" ("shift_jis").
    std::u16string dashed = name;
    for (char16_t& c : dashed) c = c == u'_' ? u'-' : c;
    for (const scCharsetName& row : CharsetNameTable())
      if (name == row.name || dashed == row.name) return row.codePage;
  }
  return 0;
}

String HeadText(const std::string& bytes) {
  const auto* u = reinterpret_cast<const unsigned char*>(bytes.data());
  const size_t n = bytes.size();
  if (n >= 2 && ((u[0] == 0xFF && u[1] == 0xFE) || (u[0] == 0xFE && u[1] == 0xFF))) {
    const bool little = u[0] == 0xFF;
    std::u16string text;
    for (size_t i = 2; i + 1 < n; i += 2) {
      const char16_t c = little ? char16_t(u[i] | u[i + 1] << 8) : char16_t(u[i] << 8 | u[i + 1]);
      if (c == 0) break;
      text.push_back(c);
    }
    return String(text.c_str());
  }
  if (n >= 3 && u[0] == 0xEF && u[1] == 0xBB && u[2] == 0xBF)
    return StringFromNarrow(bytes.c_str() + 3, -1, plat::kCpUtf8);
  const uint32_t declared = DeclaredCodePage(bytes);
  // The text ends at the first zero byte, as a terminated buffer would.
  return StringFromNarrow(bytes.c_str(), -1, declared ? declared : String::DefaultCodePage());
}

// Capture 1 of `pattern` in `text`, or false.
bool Capture(const char16_t* pattern, uint32_t options, const String& text, String* value) {
  clsRegEx re{String(pattern), options};
  clsRegExMatchList m;
  if (!re.Match(text, &m) || m.entries() < 2) return false;
  *value = m.find(1).text;
  return true;
}

}  // namespace

int ReadHtmlInfo(clsDocu& doc, clsFile& file) {
  std::string bytes;
  if (!ReadDocumentHead(file, &bytes)) return 0;
  String head;
  if (!Capture(u"<head>(.*)</head>", kOptions | kRegExMultiline, HeadText(bytes), &head)) return 0;
  head = UnescapeHtml(head);
  String value;
  if (Capture(u"<title>(.*)</title>", kOptions, head, &value)) doc.title = value;
  if (Capture(u"<o:DocumentProperties>(.*)</o:DocumentProperties>", kOptions, head, &value))
    return ReadPropertyBlock(doc, value);
  static constexpr struct {
    const char16_t* pattern;
    clsVariant clsDocu::*property;
  } kMeta[] = {
      {u"<meta\\s+name=\"author\"\\s+content=\"(.*)\">", &clsDocu::author},
      {u"<meta\\s+name=\"(?:description|DC\\.Description)\"\\s+content=\"(.*)\">", &clsDocu::comments},
      {u"<meta\\s+name=\"DC\\.Subject\"\\s+content=\"(.*)\">", &clsDocu::subject},
      {u"<meta\\s+name=\"(?:keywords|DC\\.Subject\\.Keywords)\"\\s+content=\"(.*)\">", &clsDocu::keywords},
  };
  for (const auto& meta : kMeta)
    if (Capture(meta.pattern, kOptions, head, &value)) doc.*meta.property = value;
  return 0;
}

}  // namespace zx
