// The XML (format 1) and XFDF (format 2) routines of the profile parser. Both
// are line-oriented: fixed tag texts are looked for line by line.
#include <string>
#include <string_view>

#include "prof/ItemList.h"
#include "prof/LoadParser.h"
#include "prof/Masking.h"
#include "prof/ProfReader.h"

namespace zx {
namespace {

bool IsBlankOrTab(char16_t c) { return c == u' ' || c == u'\t'; }

char16_t* SkipBlanksAndTabs(char16_t* p) {
  while (IsBlankOrTab(*p)) ++p;
  return p;
}

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }

// Whether `text` begins with `prefix` (lower-case ASCII), ignoring case.
bool StartsNoCase(const char16_t* text, std::u16string_view prefix) {
  for (size_t i = 0; i < prefix.size(); ++i)
    if (text[i] == 0 || Lower(text[i]) != prefix[i]) return false;
  return true;
}

// The first `what` in `text`, or null; exact in case.
char16_t* Find(char16_t* text, std::u16string_view what) {
  const std::u16string_view hay(text);
  const size_t at = hay.find(what);
  return at == std::u16string_view::npos ? nullptr : text + at;
}

char16_t* FindChar(char16_t* text, char16_t c) {
  while (*text && *text != c) ++text;
  return *text ? text : nullptr;
}

// The attribute text of `name="...`: the name is terminated in place at its
// closing quote. `noName` when `name="` is missing, `unfinished` when the quote is.
struct NameAttr {
  char16_t* name = nullptr;
  char16_t* behind = nullptr;  // behind the closing quote
};
enum class NameResult { kOk, kMissing, kUnfinished };
NameResult FindName(char16_t* text, NameAttr* out) {
  char16_t* start = Find(text, u"name=\"");
  if (start == nullptr) return NameResult::kMissing;
  start += 6;
  char16_t* quote = FindChar(start, u'"');
  if (quote == nullptr) return NameResult::kUnfinished;
  *quote = 0;
  out->name = start;
  out->behind = quote + 1;
  return NameResult::kOk;
}

}  // namespace

void clsLoadParser::XmlLine(char16_t* text, const Frame& f) {
  char16_t* p = SkipBlanksAndTabs(text);
  if (*p == 0) return;
  if (comment && std::u16string_view(p).substr(0, 3) == std::u16string_view(u"-->")) {
    comment = false;
    p = SkipBlanksAndTabs(p + 3);
    if (*p == 0) return;
  }
  if (*p != u'<') Fail(u"prof::xml: bad format");
  char16_t* const lineStart = p;
  bool opened = false;
  if (!comment && StartsNoCase(p + 1, u"!--")) {
    comment = opened = true;
    p = SkipBlanksAndTabs(p + 4);
    if (*p == 0) return;
  }
  if (comment || opened) {
    // A comment ends only at "-->" with a blank or a tab before it.
    char16_t* end = Find(lineStart, u" -->");
    if (end == nullptr) end = Find(lineStart, u"\t-->");
    if (end == nullptr) return;
    comment = false;
    p = SkipBlanksAndTabs(end + 4);
    if (*p == 0) return;
    if (*p != u'<') Fail(u"prof::xml: bad format");
  }
  XmlTag(p + 1, f);
}

void clsLoadParser::XmlTag(char16_t* tag, const Frame& f) {
  if (StartsNoCase(tag, u"item ")) {
    if (f.level < 0) Fail(u"prof::xml::item bad nesting level (becomes negative)");
    NameAttr a;
    const NameResult r = FindName(tag + 5, &a);
    if (r == NameResult::kMissing) Fail(u"prof::xml::item empty name");
    if (r == NameResult::kUnfinished) Fail(u"prof::xml::item no end tag");
    char16_t* gt = FindChar(a.behind, u'>');
    if (gt == nullptr) Fail(u"prof::xml::item no end tag (2)");
    char16_t* value = gt + 1;
    char16_t* end = Find(value, u"</item>");
    if (end == nullptr) Fail(u"prof::xml::item no '</item>' tag found");
    *end = 0;
    const size_t nameLength = prof::UnmaskXml(a.name);
    const size_t valueLength = prof::UnmaskXml(value);
    AppendValue(f.list, a.name, static_cast<int64_t>(nameLength), value, static_cast<int64_t>(valueLength));
    return;
  }
  if (StartsNoCase(tag, u"list ")) {
    if (f.level < 0) Fail(u"prof::xml::list: bad nesting level");
    NameAttr a;
    const NameResult r = FindName(tag + 5, &a);
    if (r == NameResult::kMissing) Fail(u"prof::xml::list: name is empty");
    if (r == NameResult::kUnfinished) Fail(u"prof::xml::list: name is unfinished");
    const size_t nameLength = prof::UnmaskXml(a.name);
    Enter(f.list, a.name, static_cast<int64_t>(nameLength), f);
    return;
  }
  if (StartsNoCase(tag, u"/list>")) {
    if (f.level < 0) Fail(u"prof::xml::profile: bad nesting level (becomes negative)");
    Return();
    return;
  }
  if (StartsNoCase(tag, u"profile>")) {
    if (f.level != -1) Fail(u"prof::xml::profile: bad nesting level (should be -1)");
    Replace(Frame{0, f.list, kProfFormatXml});
    return;
  }
  if (StartsNoCase(tag, u"/profile>")) {
    if (f.level != 0) Fail(u"prof::xml::profile: bad nesting level (should be 0)");
    Return();
    return;
  }
  if (StartsNoCase(tag, u"xfdf ")) {
    if (f.level != -1) Fail(u"prof::xml::xfdf: bad nesting level (should be -1)");
    Replace(Frame{0, f.list, kProfFormatXfdf});
    return;
  }
  if (StartsNoCase(tag, u"/xfdf>")) {
    if (f.level != 0) Fail(u"prof::xml::xfdf: bad nesting level (should be 0)");
    Return();
  }
  // Any other tag (the DTD lines among them) is skipped with its line.
}

void clsLoadParser::XfdfLine(char16_t* text, const Frame& f) {
  char16_t* p = text;
  while (*p == u' ') ++p;
  if (*p == 0) return;
  if (*p != u'<') Fail(u"prof::xml::xfdf: bad format ('<' expected)");
  if (StartsNoCase(p, u"<value>")) {
    if (f.level < 0) Fail(u"prof::xml::value: bad format (negative level)");
    char16_t* value = p + 7;
    if (char16_t* end = Find(value, u"</value>")) {
      *end = 0;
      const size_t length = prof::UnmaskXml(value);
      const String name = JoinedFieldPath();
      AppendValue(f.list, name.wchar(), name.Length(), value, static_cast<int64_t>(length));
      return;
    }
    // The value goes on over the next lines, each joined with CR LF.
    std::u16string joined(value);
    for (;;) {
      char16_t* next = reader_.NextLine();
      if (next == nullptr) Fail(u"prof::xml::value: bad format (missing next line)");
      joined += u"\r\n";
      if (char16_t* end = Find(next, u"</value>")) {
        joined.append(next, static_cast<size_t>(end - next));
        break;
      }
      joined += next;
    }
    const size_t length = prof::UnmaskXml(joined.data());
    const String name = JoinedFieldPath();
    AppendValue(f.list, name.wchar(), name.Length(), joined.data(), static_cast<int64_t>(length));
    return;
  }
  if (StartsNoCase(p, u"<field>")) {
    if (f.level < 0) Fail(u"prof::xml::field: bad format (negative level)");
    NameAttr a;
    const NameResult r = FindName(p + 7, &a);
    if (r == NameResult::kMissing) Fail(u"prof::xml::field: no name found");
    if (r == NameResult::kUnfinished) Fail(u"prof::xml::field: name unfinished");
    const size_t length = prof::UnmaskXml(a.name);
    fieldPath_.push_back(String(a.name, 0, static_cast<int64_t>(length)));
    return;
  }
  if (StartsNoCase(p, u"</field>")) {
    if (f.level < 0) Fail(u"prof::xml::field: bad format (negative level)");
    if (!fieldPath_.empty()) fieldPath_.pop_back();
    Return();
  }
  // Any other tag, the writer's own "<field name=" lines among them, is skipped.
}

}  // namespace zx
