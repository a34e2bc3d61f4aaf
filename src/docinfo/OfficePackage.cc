#include "docinfo/OfficePackage.h"

#include <memory>
#include <string_view>

#include "core/charset/CharsetTable.h"
#include "core/regex/RegEx.h"
#include "core/strings/CharsetConversion.h"
#include "docinfo/DocMarkup.h"
#include "docinfo/DocReaders.h"
#include "docinfo/OfficePackageZip.h"
#include "platform/codepage.h"

namespace zx {
namespace {

constexpr uint32_t kDotAll = kRegExDotAll;
constexpr uint32_t kDotAllUngreedy = kRegExDotAll | kRegExUngreedy;

enum eTarget { kAuthor, kCreated, kModified, kLastAuthor, kTitle, kSubject, kKeywords, kComments };

void Assign(clsDocu& doc, eTarget target, const String& raw) {
  const String value = UnescapeXmlText(raw);
  switch (target) {
    case kAuthor: doc.author = value; break;
    case kCreated: ParseIso8601Date(value, &doc.created); break;
    case kModified: ParseIso8601Date(value, &doc.lastSaved); break;
    case kLastAuthor: doc.lastAuthor = value; break;
    case kTitle: doc.title = value; break;
    case kSubject: doc.subject = value; break;
    case kKeywords: doc.keywords = value; break;
    case kComments: doc.comments = value; break;
  }
}

// Group `group` of the first match, if there is one.
bool Capture(clsRegEx& expression, const String& text, int group, String* value) {
  clsRegExMatchList m;
  if (!expression.Match(text, &m) || static_cast<int>(m.entries()) <= group) return false;
  *value = m.find(group).text;
  return true;
}

struct scOoxmlExpressions {
  clsRegEx block{String(u"<cp:coreProperties\\s+.*>(.*?)</cp:coreProperties>"), kDotAllUngreedy};
  struct {
    clsRegEx expression;
    eTarget target;
  } rows[8] = {
      {clsRegEx(String(u"<(dc:creator)[^>]*>(.*?)</\\1>"), kDotAll), kAuthor},
      {clsRegEx(String(u"<(dcterms:created)[^>]*>(.*?)</\\1>"), kDotAll), kCreated},
      {clsRegEx(String(u"<(dcterms:modified)[^>]*>(.*?)</\\1>"), kDotAll), kModified},
      {clsRegEx(String(u"<(cp:lastModifiedBy)[^>]*>(.*?)</\\1>"), kDotAll), kLastAuthor},
      {clsRegEx(String(u"<(dc:title)[^>]*>(.*?)</\\1>"), kDotAll), kTitle},
      {clsRegEx(String(u"<(dc:subject)[^>]*>(.*?)</\\1>"), kDotAll), kSubject},
      {clsRegEx(String(u"<(cp:keywords)[^>]*>(.*?)</\\1>"), kDotAll), kKeywords},
      {clsRegEx(String(u"<(dc:description)[^>]*>(.*?)</\\1>"), kDotAll), kComments},
  };
};

void ReadOoxml(clsDocu& doc, const String& text) {
  thread_local std::unique_ptr<scOoxmlExpressions> t_x;  // on the heap: the static TLS block is small
  if (!t_x) t_x = std::make_unique<scOoxmlExpressions>();
  scOoxmlExpressions& x = *t_x;
  String block;
  if (!Capture(x.block, text, 1, &block)) return;
  String value;
  for (auto& row : x.rows)
    if (Capture(row.expression, block, 2, &value)) Assign(doc, row.target, value);
}

struct scOdfExpressions {
  clsRegEx block{String(u"<office:document-meta.*>.*<office:meta.*>(.*?)</office:meta>.*</office:document-meta>"),
                 kDotAllUngreedy};
  clsRegEx keywords{String(u"<meta:keywords>(.*?)</meta:keywords>"), kDotAllUngreedy};
  clsRegEx eachKeyword{String(u"<meta:keyword>(.*?)</meta:keyword>"), 0};
  clsRegEx oneKeyword{String(u"<meta:keyword>(.*?)</meta:keyword>"), kDotAllUngreedy};
  struct {
    clsRegEx expression;
    eTarget target;
  } rows[7] = {
      {clsRegEx(String(u"<meta:initial-creator>(.*?)</meta:initial-creator>"), kDotAllUngreedy), kAuthor},
      {clsRegEx(String(u"<meta:creation-date>(.*?)</meta:creation-date>"), kDotAllUngreedy), kCreated},
      {clsRegEx(String(u"<dc:creator>(.*?)</dc:creator>"), kDotAllUngreedy), kLastAuthor},
      {clsRegEx(String(u"<dc:title>(.*?)</dc:title>"), kDotAllUngreedy), kTitle},
      {clsRegEx(String(u"<dc:subject>(.*?)</dc:subject>"), kDotAllUngreedy), kSubject},
      {clsRegEx(String(u"<dc:description>(.*?)</dc:description>"), kDotAllUngreedy), kComments},
      {clsRegEx(String(u"<dc:date>(.*?)</dc:date>"), kDotAllUngreedy), kModified},
  };
};

// Every match of `keyword` in the block, joined with ", ".
String JoinKeywords(clsRegEx& keyword, const String& block) {
  String joined;
  int64_t at = 0;
  clsRegExMatchList m;
  while (at <= block.Length() && keyword.Match(block.wchar() + at, &m) && m.entries() >= 2) {
    if (!joined.IsEmpty()) joined.Append(u", ");
    joined.Append(UnescapeXmlText(m.find(1).text));
    const scRegExMatch& whole = m.find(0);
    at += whole.offset + (whole.text.IsEmpty() ? 1 : whole.text.Length());
  }
  return joined;
}

// Keywords inside "<meta:keywords>" are joined. Without that element the first
// capture of a dot-all ungreedy "<meta:keyword>" expression is taken as it
// stands: with several loose elements it runs from the first opening tag to the
// last closing one, tags included, which is the stored form's rule.
void ReadOdfKeywords(scOdfExpressions& x, clsDocu& doc, const String& block) {
  clsRegExMatchList found;
  if (x.keywords.Match(block, &found)) doc.keywords = JoinKeywords(x.eachKeyword, block);
  else if (x.oneKeyword.Match(block, &found) && found.entries() >= 2)
    doc.keywords = UnescapeXmlText(found.find(1).text);
}

void ReadOdf(clsDocu& doc, const String& text) {
  thread_local std::unique_ptr<scOdfExpressions> t_x;  // on the heap: the static TLS block is small
  if (!t_x) t_x = std::make_unique<scOdfExpressions>();
  scOdfExpressions& x = *t_x;
  String block;
  if (!Capture(x.block, text, 1, &block)) return;
  String value;
  for (auto& row : x.rows) {
    if (row.target == kComments) ReadOdfKeywords(x, doc, block);  // keywords come before comments
    if (Capture(row.expression, block, 1, &value)) Assign(doc, row.target, value);
  }
}

// The code page an XML declaration names; 0 (the default narrow code page) without one.
uint32_t DeclaredCodePage(const String& text) {
  thread_local std::unique_ptr<clsRegEx> t_declaration;  // on the heap: the static TLS block is small
  if (!t_declaration) t_declaration = std::make_unique<clsRegEx>(String(u"<\\?xml.*\\sencoding=\"([-a-zA-Z0-9]*?)\".*\\?>"), kDotAll);
  clsRegEx& declaration = *t_declaration;
  String name;
  if (!Capture(declaration, text, 1, &name)) return 0;
  // Any spelling of UTF-8 reads as UTF-8 once; the name table knows only one.
  if (IString(name) == IString(u"UTF-8")) return plat::kCpUtf8;
  return CodePageFromCharsetName(name);
}

}  // namespace

String UnescapeXmlText(const String& text) {
  std::u16string_view s = text.View();
  if (s.find(u'&') == std::u16string_view::npos) return text;
  String out;
  for (size_t i = 0; i < s.size(); ++i) {
    const size_t semi = s[i] == u'&' ? s.find(u';', i) : std::u16string_view::npos;
    if (semi == std::u16string_view::npos || semi - i > 10) {
      out.Append(s[i]);
      continue;
    }
    const std::u16string_view name = s.substr(i + 1, semi - i - 1);
    char32_t ch = 0;
    if (name == std::u16string_view(u"lt")) ch = u'<';
    else if (name == std::u16string_view(u"gt")) ch = u'>';
    else if (name == std::u16string_view(u"amp")) ch = u'&';
    else if (name == std::u16string_view(u"quot")) ch = u'"';
    else if (name == std::u16string_view(u"apos")) ch = u'\'';
    else if (name.size() >= 2 && name[0] == u'#') {
      const bool hex = name[1] == u'x' || name[1] == u'X';
      const std::u16string_view digits = name.substr(hex ? 2 : 1);
      for (char16_t d : digits) {
        const int v = d >= u'0' && d <= u'9' ? d - u'0'
                      : hex && d >= u'a' && d <= u'f' ? d - u'a' + 10
                      : hex && d >= u'A' && d <= u'F' ? d - u'A' + 10 : -1;
        if (v < 0 || ch > 0x10FFFF) { ch = 0; break; }
        ch = ch * (hex ? 16 : 10) + v;
      }
      if (digits.empty() || ch > 0x10FFFF) ch = 0;
    }
    if (ch == 0) {
      out.Append(s[i]);
      continue;
    }
    if (ch > 0xFFFF) {
      out.Append(static_cast<char16_t>(0xD800 + ((ch - 0x10000) >> 10)));
      out.Append(static_cast<char16_t>(0xDC00 + ((ch - 0x10000) & 0x3FF)));
    } else {
      out.Append(static_cast<char16_t>(ch));
    }
    i = semi;
  }
  return out;
}

int ReadOfficePackage(clsDocu& doc, clsFile& file) {
  scZipCentralEntry entry;
  const eOfficePackageKind kind = FindOfficePackageEntry(file, &entry);
  if (kind == kOfficeNone) return -1;
  // The bytes are read once and converted again in the declared code page.
  const std::string bytes = ReadZipEntryBytes(file, entry);
  const auto length = static_cast<int64_t>(bytes.size());
  String text = StringFromNarrow(bytes.data(), length, 0);
  if (text.IsEmpty()) return 0;
  if (const uint32_t codePage = DeclaredCodePage(text)) text = StringFromNarrow(bytes.data(), length, codePage);
  if (kind == kOfficeOoxml) ReadOoxml(doc, text);
  else ReadOdf(doc, text);
  return 0;
}

}  // namespace zx
