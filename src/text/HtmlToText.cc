// HTML to plain text: one scan over the text with the tag table, then the entities
// and a clean-up of spaces and guillemets.
#include <algorithm>
#include <cstring>
#include <string>

#include "core/containers/WCSkipList.h"
#include "text/HtmlConvert.h"

namespace zx {

namespace {

using TagTable = WCValSkipListDict<String, String>;

// Tags that become text; all others vanish. Names are compared exactly: "BR" is
// not "br", and "br/" is not either.
// Returns the length of the longest name.
size_t BuildTagTable(TagTable& table) {
  static const char16_t* const kNothing[] = {u"h1", u"h2", u"h3", u"h4", u"h5", u"h6", u"table",
                                             u"div", u"ol", u"tr", u"ul", u"thead", u"tbody",
                                             u"blockquote", u"address", u"pre"};
  static const char16_t* const kLineEnd[] = {u"/h1", u"/h2", u"/h3", u"/h4", u"/h5", u"/h6",
                                             u"/p", u"/div", u"/ol", u"/tr", u"/ul", u"/thead",
                                             u"/tbody", u"/blockquote", u"/address", u"/pre",
                                             u"/li", u"br", u"hr"};
  for (const char16_t* name : kNothing) table.insert(String(name), String());
  for (const char16_t* name : kLineEnd) table.insert(String(name), String(u"\r"));
  table.insert(String(u"li"), String(u"- "));
  table.insert(String(u"/td"), String(u" "));
  table.insert(String(u"/th"), String(u" "));
  size_t longest = 0;
  for (const char16_t* name : kNothing) longest = std::max(longest, String(name).View().size());
  for (const char16_t* name : kLineEnd) longest = std::max(longest, String(name).View().size());
  return longest;
}

// +1 for a tag that opens a region whose text is dropped, -1 for its end tag.
int SkipStep(std::u16string_view name) {
  static constexpr std::u16string_view kOpen[] = {u"head", u"script", u"iframe",
                                                  u"textarea", u"select", u"style"};
  const bool closing = !name.empty() && name[0] == u'/';
  const std::u16string_view bare = closing ? name.substr(1) : name;
  for (std::u16string_view s : kOpen)
    if (bare == s) return closing ? -1 : 1;
  return 0;
}

bool IsBlank(char16_t c) { return c == 9 || c == 10 || c == 13 || c == 32 || c == 160; }

// The scan proper; writes at most as many characters as it reads.
String ScanTags(std::u16string_view text, bool brackets) {
  TagTable table;
  const size_t longestTag = BuildTagTable(table);  // longer names need no look-up

  const char16_t open = brackets ? u'[' : u'<';
  const char16_t close = brackets ? u']' : u'>';
  const size_t n = text.size();
  String result;
  char16_t* const begin = result.Reserve(static_cast<int64_t>(n) + 1);
  if (!begin) return result;
  char16_t* w = begin;
  std::u16string name;   // one buffer for every tag's name
  name.reserve(n);
  bool inTag = false, nameDone = false, lastSpace = false;
  int64_t skip = 0;

  for (size_t i = 0; i < n; ++i) {
    char16_t c = text[i];
    if (c == open) {
      if (brackets && i + 2 < n && text[i + 1] == u'_' && text[i + 2] == open) i += 2;
      inTag = true;   // nameDone stays: white space before this makes it a dropped tag
      name.clear();
      continue;
    }
    if (!inTag) {
      if (skip != 0) continue;
      if (c == 9 || c == 10 || c == 13) c = 32;
      if (c == 32 || c == 160) {
        if (lastSpace) continue;
        lastSpace = true;
      } else {
        lastSpace = false;
      }
      *w++ = c;
      continue;
    }
    if (c != close) {
      if (nameDone) continue;
      if (IsBlank(c)) nameDone = true;
      else name.push_back(c);
      continue;
    }
    if (brackets && i + 2 < n && text[i + 1] == u'_' && text[i + 2] == close) i += 2;
    inTag = nameDone = false;
    String replacement;
    if (skip == 0 && name.size() <= longestTag && table.find(String(name), replacement)) {
      const std::u16string_view r = replacement.View();
      std::memcpy(w, r.data(), r.size() * sizeof(char16_t));
      w += r.size();
      continue;
    }
    skip += SkipStep(name);
  }
  result.SetLength(w - begin);
  return result;
}

// Folds spaces once more (entities may have made new ones), drops bare line feeds
// and the outermost pair of guillemets.
void CleanUp(String& text) {
  char16_t* const begin = text.Reserve(text.Length());
  if (!begin) return;
  const int64_t n = text.Length();
  char16_t* w = begin;
  bool lastSpace = false;
  int64_t depth = 0;
  for (int64_t i = 0; i < n; ++i) {
    const char16_t c = begin[i];
    if (c == 32 || c == 160) {
      if (lastSpace) continue;
      lastSpace = true;
    } else if (c == 10) {
      continue;
    } else if (c == 171) {
      if (depth++ == 0) {
        lastSpace = false;
        continue;
      }
    } else if (c == 187) {
      if (depth-- == 1) {
        lastSpace = false;
        continue;
      }
    } else {
      lastSpace = false;
    }
    *w++ = c;
  }
  text.SetLength(w - begin);
}

}  // namespace

String ConvertHtml2PlainText(std::u16string_view html, bool bracketTags) {
  std::u16string text(html);
  html::RemoveComments(text);
  // Line ends become single carriage returns.
  size_t w = 0;
  for (size_t r = 0; r < text.size(); ++r) {
    text[w++] = text[r];
    if (text[r] == u'\r' && r + 1 < text.size() && text[r + 1] == u'\n') ++r;
  }
  text.resize(w);
  html::ReplaceLinks(text);
  String plain = DemaskAllHtmlCharacters(ScanTags(text, bracketTags).View());
  CleanUp(plain);
  plain.ReplaceAll(u"\r\r\r", u"\r\r");
  plain.ReplaceAll(u"\r\r\r\r", u"\r\r");
  return plain;
}

}  // namespace zx
