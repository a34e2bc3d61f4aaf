// The two text passes in front of the HTML scan: comments and links. Both are
// plain searches that give what the expressions "<!--.*?-->" (ungreedy, dot-all)
// and ^(.*)<a\s+(.*)href="(.*)"(.*)>(.*)</a>(.*)$ (caseless, dot-all, ungreedy)
// give, but in one pass over the text: run through the expression engine, each link
// would rescan the rest of the text.
#include <string>

#include "text/HtmlConvert.h"

namespace zx::html {

namespace {

constexpr size_t npos = std::u16string::npos;

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }
// \s of the expression engine without Unicode properties.
bool IsSpace(char16_t c) { return c == 32 || (c >= 9 && c <= 13); }

// The first place from `from` where the lower-case ASCII `word` stands, any case.
size_t FindCaseless(const std::u16string& text, std::u16string_view word, size_t from) {
  for (size_t i = from; i + word.size() <= text.size(); ++i) {
    size_t k = 0;
    while (k < word.size() && Lower(text[i + k]) == word[k]) ++k;
    if (k == word.size()) return i;
  }
  return npos;
}

struct scLink {
  size_t start;               // the "<a"
  size_t urlStart, urlEnd;    // between the quotes behind href=
  size_t textStart, textEnd;  // between ">" and "</a>"
  size_t end;                 // behind "</a>"
};

// Each part takes as little as it can: the first "<a" with white space, the first
// href=" behind it, the first quote, the first ">", the first "</a>". When the first
// choice of one part has no match for the rest, no later one has either, so the
// first choices are the match or there is none.
bool FindLink(const std::u16string& text, size_t from, scLink& link) {
  size_t p = from;
  for (;; ++p) {
    p = FindCaseless(text, u"<a", p);
    if (p == npos) return false;
    if (p + 2 < text.size() && IsSpace(text[p + 2])) break;
  }
  const size_t h = FindCaseless(text, u"href=\"", p + 3);
  if (h == npos) return false;
  const size_t q = text.find(u'"', h + 6);
  if (q == npos) return false;
  const size_t g = text.find(u'>', q + 1);
  if (g == npos) return false;
  const size_t c = FindCaseless(text, u"</a>", g + 1);
  if (c == npos) return false;
  link = {p, h + 6, q, g + 1, c, c + 4};
  return true;
}

}  // namespace

void RemoveComments(std::u16string& text) {
  const size_t open = text.find(u"<!--");
  if (open == npos) return;
  const size_t close = text.rfind(u"-->");
  if (close == npos || close < open + 4) return;
  text.erase(open, close + 3 - open);
}

void ReplaceLinks(std::u16string& text) {
  size_t rest = 0;
  if (text.find(u"<a") == npos) return;
  std::u16string out;
  bool pieces = false;
  // The loop runs while "<a" (exact case) stands in the rest; the link itself is
  // found without regard to case.
  while (text.find(u"<a", rest) != npos) {
    scLink link;
    if (!FindLink(text, rest, link)) {
      // The rest counts twice once a link was handled: it is a piece, and the tail.
      if (pieces) out.append(text, rest, npos);
      break;
    }
    pieces = true;
    out.append(text, rest, link.start - rest);
    const std::u16string_view all(text);
    const std::u16string_view url = all.substr(link.urlStart, link.urlEnd - link.urlStart);
    const std::u16string_view label = all.substr(link.textStart, link.textEnd - link.textStart);
    const String a(url), b(label);
    if (CompareText(a.wchar(), b.wchar(), -1, false, false) != 0) {
      out.append(label);
      out.append(u" [");
      out.append(url);
      out.append(u"]");
    } else {
      out.append(url);
    }
    rest = link.end;
    // "$" matches before a final line feed, and the lazy last group stops there:
    // that line feed is in no group and is lost with the match.
    if (text.size() > rest && text.back() == u'\n') text.pop_back();
  }
  if (!pieces) return;
  out.append(text, rest, npos);
  text.swap(out);
}

}  // namespace zx::html
