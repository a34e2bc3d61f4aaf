// Plain text to HTML: one paragraph a line.
#include <string>

#include "text/HtmlConvert.h"

namespace zx {

String ConvertText2Html(std::u16string_view text, bool bracketTags) {
  // The way back drops the outermost pair of guillemets, so each is doubled here.
  std::u16string doubled;
  doubled.reserve(text.size());
  for (char16_t c : text) {
    doubled.push_back(c);
    if (c == 171 || c == 187) doubled.push_back(c);
  }
  const char16_t* open = bracketTags ? u"[_[p]_]" : u"<p>";
  const char16_t* close = bracketTags ? u"[_[/p]_]" : u"</p>";
  String between(close);
  between.Append(open);
  String html = MaskAllHtmlCharacters(doubled);
  html.ReplaceAll(u"\r\n", between.wchar());
  html.ReplaceAll(u"\r", between.wchar());
  html.Insert(0, open);
  html.Append(close);
  if (!bracketTags) html.ReplaceAll(u"<p></p>", u"<p><br></p>");
  return html;
}

}  // namespace zx
