// HTML and plain text: the scan's rules in tables, the entity table both ways, the
// link and comment passes against the expression engine running the expressions
// they stand for, the BSTR result rules of the exports, and real pages judged by
// w3m and lynx.
#include <gtest/gtest.h>

#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "core/regex/RegEx.h"
#include "platform/bstr.h"
#include "platform/codepage.h"
#include "support/support_test_util.h"
#include "text/HtmlConvert.h"
#include "zxUT22.h"

using zx::String;

namespace {

std::u16string ToText(std::u16string_view html, bool brackets = false) {
  return std::u16string(zx::ConvertHtml2PlainText(html, brackets).View());
}
std::u16string ToHtml(std::u16string_view text, bool brackets = false) {
  return std::u16string(zx::ConvertText2Html(text, brackets).View());
}
std::u16string Mask(std::u16string_view text) { return std::u16string(zx::MaskAllHtmlCharacters(text).View()); }
std::u16string Demask(std::u16string_view text) { return std::u16string(zx::DemaskAllHtmlCharacters(text).View()); }

struct Case {
  const char16_t* in;
  const char16_t* out;
};

TEST(HtmlToText, RulesOfTheScan) {
  const Case cases[] = {
      {u"", u""},
      {u"a<br>b", u"a\rb"},
      {u"a<br/>b", u"ab"},                     // "br/" is no name of the table
      {u"a<br />b", u"a\rb"},                  // white space ends the name
      {u"a<BR>b", u"ab"},                      // names are compared as written
      {u"<SCRIPT>x=1</SCRIPT>y", u"x=1y"},
      {u"<script>x=1</script>y", u"y"},
      {u"<p>one</p><p>two</p>", u"one\rtwo\r"},
      {u"<td>a</td><td>b</td>", u"a b "},
      {u"<th>a</th><th>b</th>", u"a b "},
      {u"<li>a</li>", u"- a\r"},
      {u"<ul><li>a<ul><li>b</li></ul></li></ul>", u"- a- b\r\r\r"},   // nesting is not seen
      {u"<h1>T</h1><h6>U</h6><hr>V", u"T\rU\r\rV"},
      {u"<table><tr><td>1</td><td>2</td></tr><tr><td>3</td></tr></table>", u"1 2 \r3 \r"},
      {u"<div>a</div><blockquote>b</blockquote><address>c</address><pre>d</pre>", u"a\rb\rc\rd\r"},
      {u"<ol><li>x</li></ol><thead></thead><tbody></tbody>", u"- x\r\r\r"},   // four line ends: 2 + 1
      {u"a  \t\n b", u"a b"},                  // white space folds to one space
      {u"a\r\n\r\n\r\nb", u"a b"},             // line ends in the text are white space too
      {u"a\u00a0\u00a0b", u"a\u00a0b"},       // a non-breaking space is kept, once
      {u"a<br><br><br><br><br>b", u"a\r\rb"},  // five: 2 + 2, then four: 2
      {u"a<br><br><br><br><br><br><br>b", u"a\r\r\rb"},   // seven: 2 + 2 + 1, then 2 + 1
      {u"<head><title>t</title></head>body", u"body"},
      {u"<style>p{}</style><iframe>i</iframe><textarea>t</textarea><select>s</select>!", u"!"},
      {u"<head><head>x</head>y</head>z", u"z"},   // skip regions count
      {u"a</style>b<style>c", u"ac"},           // a stray end drops text until a start
      {u"a</style>b<style>c</style>d", u"ac"},  // ... and the next end does it again
      {u"<script><br>x</script>y", u"y"},      // no replacement inside a skip region
      {u"a<b c=\"x>y\">d", u"ay\">d"},           // no attribute parsing
      {u"a<b <br>c", u"ac"},                   // "<" after white space: the tag is dropped
      {u"a<x<br>c", u"a\rc"},                  // "<" inside a name starts it again
      {u"a<br", u"a"},                         // an unterminated tag swallows the rest
      {u"a<!-- 1 -->b<!-- 2 -->c", u"ac"},     // first opening to last closing
      {u"a<!-- open b", u"a"},                 // an unterminated comment is a tag without end
      {u"a<!---->b", u"ab"},
      {u"a<!-->b-->c", u"ac"},
      {u"x &amp;lt; y", u"x &lt; y"},          // entities are resolved once
      {u"&laquo;q&raquo;", u"q"},              // the outermost guillemets go
      {u"\u00ab\u00abq\u00bb\u00bb", u"\u00abq\u00bb"},
      {u"a &nbsp; b", u"a b"},                 // the entity's space folds with the others
      {u"<a href=\"x\">x</a>", u"x"},
      {u"<a href=\"u\">text</a>", u"text [u]"},
      {u"<A HREF=\"U\">u</A> <a  title=t href=\"v\" id=1>w</a>", u"U w [v]"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(zxsupport::Ascii(ToText(c.in)), zxsupport::Ascii(c.out)) << zxsupport::Ascii(c.in);
  }
}

TEST(HtmlToText, BracketNotation) {
  const Case cases[] = {
      {u"a[_[br]_]b", u"a\rb"},
      {u"[_[p]_]one[_[/p]_][_[p]_]two[_[/p]_]", u"one\rtwo\r"},
      {u"a[br]b", u"a\rb"},                    // a plain bracket is a tag as well
      {u"x[1] y", u"x y"},
      {u"a<br>b", u"a<br>b"},                  // angle brackets are text here
      {u"[_[li]_]a[_[/li]_]", u"- a\r"},
      {u"[_[script]_]s[_[/script]_]t", u"t"},
      {u"a[_br]b", u"ab"},                     // "_br" is a name like any other
  };
  for (const Case& c : cases) {
    EXPECT_EQ(zxsupport::Ascii(ToText(c.in, true)), zxsupport::Ascii(c.out)) << zxsupport::Ascii(c.in);
  }
}

TEST(HtmlEntities, TableShape) {
  for (int row = 0; row < 96; ++row) EXPECT_EQ(zx::kHtmlEntities[row].code, 160 + row) << row;
  const uint16_t tail[] = {38, 34, 60, 62, 128, 39};
  for (int k = 0; k < 6; ++k) EXPECT_EQ(zx::kHtmlEntities[96 + k].code, tail[k]);
  for (const zx::scHtmlEntity& e : zx::kHtmlEntities) {
    const std::u16string_view name(e.name);
    EXPECT_EQ(name.front(), u'&');
    EXPECT_EQ(name.back(), u';');
    // Every name comes back: the demasker sees names of up to 8 characters.
    if (name.size() <= 8) {
      EXPECT_EQ(Demask(name), std::u16string(1, static_cast<char16_t>(e.code))) << zxsupport::Ascii(name);
    }
  }
}

TEST(HtmlEntities, Mask) {
  const Case cases[] = {
      {u"", u""},
      {u"plain 123", u"plain 123"},
      {u"\t\"&'<>", u"&#09;&quot;&amp;&apos;&lt;&gt;"},
      {u"\u0080", u"&euro;"},
      {u"\u20ac", u"&#x04x;"},                 // the code is lost
      {u"\u0081\u009f\u0100\u4e2d", u"&#x04x;&#x04x;&#x04x;&#x04x;"},
      {u"\u00a0\u00e4\u00ff", u"&nbsp;&auml;&yuml;"},
      {u"\r\n\u007f", u"\r\n\u007f"},
  };
  for (const Case& c : cases) EXPECT_EQ(Mask(c.in), std::u16string(c.out)) << zxsupport::Ascii(c.in);
}

TEST(HtmlEntities, Demask) {
  const Case cases[] = {
      {u"&amp;lt;", u"&lt;"},
      {u"&thetasym;", u"&thetasym;"},          // longer than 8 characters
      {u"&foo;", u"&foo;"},
      {u"&AMP;", u"&AMP;"},                    // names are case-sensitive
      {u"&#65;&#x41;", u"AA"},
      {u"&#X41;", u"#X41;"},                   // only a lower-case x is hex
      {u"&#0;", u"#0;"},
      {u"&#65536;", u"#65536;"},               // cut to 16 bits: 0
      {u"&#65601;", u"A"},                     // 65601 & 0xFFFF = 65
      {u"&#6a;", u"#6a;"},                     // the digits must reach the ";"
      {u"&#;", u"#;"},
      {u"&#xfffe;", u"\ufffe"},
      {u"&euro;", u"\u0080"},
      {u"a & b; c", u"a & b; c"},              // "& b;" is no entity of the table
      {u"&&amp;", u"&&amp;"},                  // "&&amp;" is the entity, and unknown
      {u"&", u"&"},
      {u"&;", u"&;"},
      {u"&nbsp", u"&nbsp"},
      {u"&        ;", u"&        ;"},          // 10 characters: too long
  };
  for (const Case& c : cases) EXPECT_EQ(Demask(c.in), std::u16string(c.out)) << zxsupport::Ascii(c.in);
}

// What masking keeps: codes below 256 but 129..159 (everything else is lost on purpose).
TEST(HtmlEntities, MaskThenDemaskIsTheIdentity) {
  std::mt19937 rng(17);
  std::uniform_int_distribution<int> len(0, 200), code(1, 255);
  for (int round = 0; round < 2000; ++round) {
    std::u16string text;
    for (int n = len(rng); n > 0;) {
      const int c = code(rng);
      if (c >= 129 && c <= 159) continue;
      text.push_back(static_cast<char16_t>(c));
      --n;
    }
    ASSERT_EQ(Demask(Mask(text)), text) << zxsupport::Ascii(text);
  }
}

TEST(TextToHtml, Paragraphs) {
  const Case cases[] = {
      {u"", u"<p><br></p>"},
      {u"a", u"<p>a</p>"},
      {u"a\r\nb", u"<p>a</p><p>b</p>"},
      {u"a\rb", u"<p>a</p><p>b</p>"},
      {u"a\nb", u"<p>a\nb</p>"},               // a line feed alone is no line end
      {u"a\r\n\r\nb", u"<p>a</p><p><br></p><p>b</p>"},
      {u"x<y & \u00abq\u00bb", u"<p>x&lt;y &amp; &laquo;&laquo;q&raquo;&raquo;</p>"},
  };
  for (const Case& c : cases) EXPECT_EQ(ToHtml(c.in), std::u16string(c.out)) << zxsupport::Ascii(c.in);
  EXPECT_EQ(ToHtml(u"a\r\n\r\nb", true), u"[_[p]_]a[_[/p]_][_[p]_][_[/p]_][_[p]_]b[_[/p]_]");
}

TEST(TextToHtml, TheWayBackKeepsTheText) {
  const Case cases[] = {
      {u"He said \u00abquoted\u00bb.", u"He said \u00abquoted\u00bb.\r"},
      {u"one\r\ntwo", u"one\rtwo\r"},
      {u"a < b & c > d", u"a < b & c > d\r"},
      {u"first\r\n\r\nsecond", u"first\r\rsecond\r"},   // /p, br, /p: three line ends become two
  };
  for (const Case& c : cases) {
    for (bool brackets : {false, true}) {
      const std::u16string back = ToText(ToHtml(c.in, brackets), brackets);
      EXPECT_EQ(zxsupport::Ascii(back), zxsupport::Ascii(c.out)) << zxsupport::Ascii(c.in) << " brackets " << brackets;
    }
  }
}

// ---- the two passes against the expressions they stand for

std::u16string Group(const clsRegExMatchList& list, int n) { return std::u16string(list.find(n).text.View()); }

std::u16string LinksByExpression(std::u16string text) {
  clsRegEx re(String(u"^(.*)<a\\s+(.*)href=\"(.*)\"(.*)>(.*)</a>(.*)$"), 517);
  std::vector<std::u16string> pieces;
  while (text.find(u"<a") != std::u16string::npos) {
    clsRegExMatchList list;
    if (!re.Match(String(std::u16string_view(text)), &list)) {
      EXPECT_EQ(re.LastMatchError(), 0);
      if (!pieces.empty()) pieces.push_back(text);
      break;
    }
    pieces.push_back(Group(list, 1));
    const std::u16string url = Group(list, 3), label = Group(list, 5);
    if (zx::CompareText(url.c_str(), label.c_str(), -1, false, false) != 0) pieces.push_back(label + u" [" + url + u"]");
    else pieces.push_back(url);
    text = Group(list, 6);
  }
  pieces.push_back(text);
  std::u16string out;
  for (const std::u16string& p : pieces) out += p;
  return out;
}

std::u16string CommentsByExpression(const std::u16string& text) {
  clsRegEx re(String(u"<!--.*?-->"), 518);
  return std::u16string(re.Substitute(String(std::u16string_view(text)), String(u"")).View());
}

std::u16string Linked(std::u16string text) {
  zx::html::ReplaceLinks(text);
  return text;
}
std::u16string Uncommented(std::u16string text) {
  zx::html::RemoveComments(text);
  return text;
}

TEST(HtmlPasses, LinksAsTheExpressionFindsThem) {
  const char16_t* cases[] = {
      u"",
      u"no link",
      u"<a href=\"u\">text</a>",
      u"pre <a href=\"http://x\">HTTP://X</a> post",
      u"<a href=\"1\">one</a> and <a href=\"2\">two</a>!",
      u"<a href=\"1\">one</a> then <a name=x>no href</a> tail",   // the tail counts twice
      u"<a href=\"1\">one</a> <abbr>x</abbr>",
      u"<A HREF=\"u\">t</A> <a href=\"v\">w</a>",
      u"<a\thref=\"a\"b\">c>d</a>e</a>",
      u"<a href=\"u\">t</a>\n",                // the final line feed is lost with the match
      u"<a href=\"u\">t</a>x\n\n",
      u"<a href=\"u\"",
      u"<a\nhref=\"\"></a>",
      u"<ahref=\"u\">t</a>",
  };
  for (const char16_t* c : cases) {
    EXPECT_EQ(zxsupport::Ascii(Linked(c)), zxsupport::Ascii(LinksByExpression(c))) << zxsupport::Ascii(c);
  }
}

// Texts from the pieces the expression cares about, in random order.
TEST(HtmlPasses, RandomTextsAsTheExpressionsFindThem) {
  const char16_t* pieces[] = {u"<a", u"<A", u" ", u"\t", u"\n", u"href=\"", u"HREF=\"", u"\"", u">",
                              u"</a>", u"</A>", u"x", u"X", u"<!--", u"-->", u"-", u"<", u"a"};
  std::mt19937 rng(4711);
  std::uniform_int_distribution<int> count(0, 24), pick(0, std::size(pieces) - 1);
  for (int round = 0; round < 4000; ++round) {
    std::u16string text;
    for (int n = count(rng); n > 0; --n) text += pieces[pick(rng)];
    ASSERT_EQ(zxsupport::Ascii(Linked(text)), zxsupport::Ascii(LinksByExpression(text))) << zxsupport::Ascii(text);
    ASSERT_EQ(zxsupport::Ascii(Uncommented(text)), zxsupport::Ascii(CommentsByExpression(text))) << zxsupport::Ascii(text);
  }
}

// ---- the exports and their BSTR rules

TEST(HtmlExports, ResultRules) {
  const LPCWSTR html = reinterpret_cast<LPCWSTR>(u"a<br>b");
  UtilConvertHtml2PlainText(html, nullptr, 0);   // dropped, no fault

  BSTR fresh = nullptr;
  UtilConvertHtml2PlainText(html, &fresh, 0);
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(fresh)), u"a\rb");
  EXPECT_EQ(plat::SysLen(reinterpret_cast<plat::Bstr>(fresh)), 3u);

  // An existing string is replaced, longer or shorter.
  UtilConvertText2HTML(reinterpret_cast<LPCWSTR>(u"a long line of text"), &fresh, 0);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(fresh)), u"<p>a long line of text</p>");
  UtilMaskAllHTMLCharacters(reinterpret_cast<LPCWSTR>(u"<"), &fresh);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(fresh)), u"&lt;");
  EXPECT_EQ(plat::SysLen(reinterpret_cast<plat::Bstr>(fresh)), 4u);
  UtilDemaskAllHTMLCharacters(reinterpret_cast<LPCWSTR>(u"&gt;&#x41;"), &fresh);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(fresh)), u">A");
  UtilConvertHtml2PlainText(nullptr, &fresh, 1);  // a null text reads as empty
  EXPECT_EQ(plat::SysLen(reinterpret_cast<plat::Bstr>(fresh)), 0u);
  UtilConvertText2HTML(reinterpret_cast<LPCWSTR>(u"x\r\ny"), &fresh, 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(fresh)), u"[_[p]_]x[_[/p]_][_[p]_]y[_[/p]_]");
  plat::SysFree(reinterpret_cast<plat::Bstr>(fresh));
}

// Nested tags at any depth: one pass, no recursion; the CPU time of 16 MB stays
// within a generous factor of 8 times that of 2 MB.
TEST(HtmlToText, NestedTagsRunInLinearTime) {
  auto cpuSeconds = [](size_t mb) {
    std::u16string html;
    const std::u16string unit = u"<div><ul><li><table><tr><td>x &amp; y<br>";
    while (html.size() < mb * 1024 * 1024 / 2) html += unit;
    const std::clock_t start = std::clock();
    const String text = zx::ConvertHtml2PlainText(html, false);
    EXPECT_GT(text.Length(), 0);
    return double(std::clock() - start) / CLOCKS_PER_SEC;
  };
  const double small = cpuSeconds(2), large = cpuSeconds(16);
  EXPECT_LT(large, 8 * 3 * small + 0.05) << small << " s for 2 MB, " << large << " s for 16 MB";
}

// ---- real pages: the lines of the text, compared with w3m and lynx where the
// rules coincide

std::vector<std::string> Lines(const std::string& utf8) {
  std::vector<std::string> out;
  std::string line;
  auto flush = [&] {
    // Collapse white space (including UTF-8 no-break spaces) and trim.
    std::string folded;
    for (size_t i = 0; i < line.size(); ++i) {
      const bool nbsp = line.compare(i, 2, "\xC2\xA0") == 0;
      if (line[i] == ' ' || line[i] == '\t' || nbsp) {
        if (!folded.empty() && folded.back() != ' ') folded += ' ';
        if (nbsp) ++i;
      } else {
        folded += line[i];
      }
    }
    while (!folded.empty() && folded.back() == ' ') folded.pop_back();
    if (!folded.empty()) out.push_back(folded);
    line.clear();
  };
  for (char c : utf8) {
    if (c == '\n' || c == '\r') flush();
    else line += c;
  }
  flush();
  return out;
}

// The decorations of the browsers that the scan does not make: list bullets and
// numbers, rules drawn across the page.
std::string Undecorated(const std::string& line) {
  std::string s = line;
  for (const char* bullet : {"\xE2\x80\xA2 ", "* ", "- "})
    if (s.rfind(bullet, 0) == 0) s.erase(0, std::strlen(bullet));
  size_t digits = 0;
  while (digits < s.size() && isdigit(static_cast<unsigned char>(s[digits]))) ++digits;
  if (digits && s.compare(digits, 2, ". ") == 0) s.erase(0, digits + 2);
  return s;
}

bool IsRule(const std::string& line) {
  return line.find_first_not_of("_") == std::string::npos ||
         line.find("\xE2\x94\x81\xE2\x94\x81\xE2\x94\x81") == 0;
}

struct PageCase {
  const char* file;
  // Where the scan's rules differ from a browser's, as (ours, theirs) pieces.
  std::vector<std::pair<std::string, std::string>> explained;
  // After a link, a later "<a" that is no link (as in "<address>") makes the rest
  // behind the link count twice; it starts with this text.
  const char* tailTwice = nullptr;
};

std::string Utf8Of(const std::u16string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    uint32_t c = text[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size()) c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    if (c < 0x80) out += char(c);
    else if (c < 0x800) out += {char(0xC0 | c >> 6), char(0x80 | (c & 63))};
    else if (c < 0x10000) out += {char(0xE0 | c >> 12), char(0x80 | (c >> 6 & 63)), char(0x80 | (c & 63))};
    else out += {char(0xF0 | c >> 18), char(0x80 | (c >> 12 & 63)), char(0x80 | (c >> 6 & 63)), char(0x80 | (c & 63))};
  }
  return out;
}

std::u16string FromUtf8(const std::string& s) { return plat::Utf8ToUtf16(s); }

TEST(HtmlToText, RealPagesAgreeWithBrowsers) {
  std::string probe;
  if (!zxsupport::RunFilter("w3m -version && lynx -version", "", probe)) GTEST_SKIP() << "w3m or lynx missing";
  const std::vector<PageCase> pages = {
      // &euro; is code 128 by the table, not U+20AC; the rest of the mail agrees line by line.
      {"mail_reply.html", {{"\xC2\x80 from", "\xE2\x82\xAC from"}, {"Anna Schmidt [mailto:anna@example.com]", "Anna Schmidt"}}},
      // The link's address is written behind its text; the pre block folds its white
      // space like any other text; "<address>" holds "<a", so the rest behind the
      // link comes twice.
      {"newsletter.html", {{"our site [https://example.com/notes]", "our site"}}, "):"},
      // &ndash; is not in the table and stays as written; <hr> is a line end, not a rule.
      {"plain_page.html", {{"&ndash;", "\xE2\x80\x93"}}},
  };
  const std::string dir = std::string(ZXUT_SOURCE_DIR) + "/tests/text/pages/";
  for (const PageCase& page : pages) {
    const std::string html = zxsupport::ReadBytes(dir + page.file);
    ASSERT_FALSE(html.empty()) << page.file;
    std::string ours = Utf8Of(ToText(FromUtf8(html)));
    for (const auto& [mine, theirs] : page.explained) {
      const size_t at = ours.find(mine);
      ASSERT_NE(at, std::string::npos) << page.file << ": the difference '" << mine << "' is gone";
      ours.replace(at, mine.size(), theirs);
    }
    if (page.tailTwice) {
      const size_t first = ours.find(page.tailTwice), second = ours.rfind(page.tailTwice);
      ASSERT_LT(first, second) << page.file << ": the rest is there once";
      EXPECT_EQ(Lines(ours.substr(first, second - first)), Lines(ours.substr(second))) << page.file;
      ours.erase(second);
    }
    std::vector<std::string> expected;
    for (const std::string& l : Lines(ours)) expected.push_back(Undecorated(l));
    for (const char* browser : {"w3m -dump -cols 2000 -T text/html -O UTF-8 -I UTF-8",
                                "lynx -dump -nolist -width=2000 -assume_charset=utf-8 -display_charset=utf-8 -stdin"}) {
      std::string dump;
      ASSERT_TRUE(zxsupport::RunFilter(browser, html, dump)) << browser;
      std::vector<std::string> theirs;
      for (const std::string& l : Lines(dump))
        if (!IsRule(l)) theirs.push_back(Undecorated(l));
      EXPECT_EQ(expected, theirs) << page.file << " with " << browser;
    }
  }
}

}  // namespace
