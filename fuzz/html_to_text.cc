// HTML to plain text on arbitrary UTF-16 (the first byte picks the bracket
// notation), and the link and comment passes against the expression engine
// running the expressions they stand for, on inputs short enough for it.
#include <string>

#include "core/regex/RegEx.h"
#include "fuzz_util.h"
#include "text/HtmlConvert.h"

namespace {

std::u16string LinksByExpression(std::u16string text) {
  static clsRegEx re(zx::String(u"^(.*)<a\\s+(.*)href=\"(.*)\"(.*)>(.*)</a>(.*)$"), 517);
  std::u16string out, last;
  bool pieces = false;
  while (text.find(u"<a") != std::u16string::npos) {
    clsRegExMatchList list;
    if (!re.Match(zx::String(std::u16string_view(text)), &list)) {
      FUZZ_CHECK(re.LastMatchError() == 0);
      if (pieces) out += text;
      break;
    }
    pieces = true;
    out += list.find(1).text.View();
    const zx::String url = list.find(3).text, label = list.find(5).text;
    if (zx::CompareText(url.wchar(), label.wchar(), -1, false, false) != 0) {
      out += label.View();
      out += u" [";
      out += url.View();
      out += u"]";
    } else {
      out += url.View();
    }
    text = std::u16string(list.find(6).text.View());
  }
  return out + text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const bool brackets = data[0] & 1;
  std::u16string html;
  for (size_t i = 1; i + 1 < size; i += 2) {
    const char16_t c = static_cast<char16_t>(data[i] | data[i + 1] << 8);
    if (c) html.push_back(c);  // the exports take terminated text
  }
  const zx::String text = zx::ConvertHtml2PlainText(html, brackets);
  // Only the rest behind a link can come twice; nothing else adds text.
  FUZZ_CHECK(text.Length() <= 2 * static_cast<int64_t>(html.size()) + 1);

  if (html.size() <= 512) {
    std::u16string linked = html, uncommented = html;
    zx::html::ReplaceLinks(linked);
    FUZZ_CHECK(linked == LinksByExpression(html));
    zx::html::RemoveComments(uncommented);
    clsRegEx comments(zx::String(u"<!--.*?-->"), 518);
    FUZZ_CHECK(uncommented == comments.Substitute(zx::String(std::u16string_view(html)), zx::String(u"")).View());
  }
  return 0;
}
