// Plain text to HTML on arbitrary UTF-16 (the first byte picks the bracket
// notation): the result is paragraphs around masked text, which holds no mark-up
// character and nothing above code 127.
#include <string>

#include "fuzz_util.h"
#include "text/HtmlConvert.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const bool brackets = data[0] & 1;
  std::u16string text;
  for (size_t i = 1; i + 1 < size; i += 2) {
    const char16_t c = static_cast<char16_t>(data[i] | data[i + 1] << 8);
    if (c) text.push_back(c);
  }
  const zx::String html = zx::ConvertText2Html(text, brackets);
  std::u16string rest(html.View());
  const std::u16string open = brackets ? u"[_[p]_]" : u"<p>";
  const std::u16string close = brackets ? u"[_[/p]_]" : u"</p>";
  FUZZ_CHECK(rest.compare(0, open.size(), open) == 0);
  FUZZ_CHECK(rest.size() >= open.size() + close.size() &&
             rest.compare(rest.size() - close.size(), close.size(), close) == 0);
  for (const std::u16string& tag : {open, close, std::u16string(u"<br>")}) {
    for (size_t at; (at = rest.find(tag)) != std::u16string::npos;) rest.erase(at, tag.size());
  }
  for (char16_t c : rest) {
    FUZZ_CHECK(c < 128);
    FUZZ_CHECK(c != u'<' && c != u'>' && c != u'"' && c != u'\r');
  }
  // The way back never fails and never grows beyond its input.
  FUZZ_CHECK(zx::ConvertHtml2PlainText(html.View(), brackets).Length() <= 2 * html.Length() + 1);
  return 0;
}
