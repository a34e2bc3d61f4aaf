// clsRegEx::Substitute and Split: the template escapes, callbacks, empty matches
// (surrogate pairs and CRLF count as one character), long subjects, and the
// results of the engine's own global substitution and of python3 as oracles.
#include <pcre2.h>

#include <chrono>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "core/regex/RegEx.h"
#include "regex_test_util.h"
#include "support/support_test_util.h"

using regex_test::Pieces;
using regex_test::Texts;
using zxsupport::DiagCapture;
using V = std::vector<std::u16string>;

namespace {

std::u16string Sub(const char16_t* pattern, const char16_t* subject, const char16_t* tmpl, uint32_t options = 0) {
  clsRegEx re(pattern, options);
  return std::u16string(re.Substitute(String(subject), String(tmpl)).View());
}

V SplitOf(const char16_t* pattern, const char16_t* subject) {
  clsRegEx re(pattern);
  return Pieces(re.Split(String(subject)));
}

TEST(RegExTemplate, EveryEscapeOfTheTemplate) {
  DiagCapture diag;
  EXPECT_EQ(Sub(u"(\\w+)@(\\w+)", u"to ann@host.", u"<\\2 at \\1>"), u"to <host at ann>.");
  EXPECT_EQ(Sub(u"b+", u"abbc", u"[\\0]"), u"a[bb]c");                  // group 0: the whole match
  EXPECT_EQ(Sub(u"b", u"abc", u"\\\\"), u"a\\c");                        // "\\\\" is one backslash
  EXPECT_EQ(Sub(u"(b)", u"abc", u"\\\\1"), u"a\\1c");                    // ... and the digit stays text
  EXPECT_EQ(Sub(u"(b)", u"abc", u"\\\\\\1"), u"a\\bc");                  // backslash, then group 1
  EXPECT_EQ(Sub(u"b", u"abc", u"\\n\\t$1&"), u"a\\n\\t$1&c");            // other characters are copied
  EXPECT_EQ(Sub(u"b", u"abc", u"x\\"), u"ax\\c");                        // a trailing backslash too
  EXPECT_EQ(Sub(u"(b)", u"abc", u"\\11"), u"ab1c");                      // one digit only
  EXPECT_EQ(Sub(u"b", u"abc", u""), u"ac");
  EXPECT_TRUE(diag.Lines().empty());

  // A group number at or above the count writes the line and adds nothing.
  EXPECT_EQ(Sub(u"(b)", u"abcb", u"<\\2>"), u"a<>c<>");
  EXPECT_EQ(diag.CountEqual(u"ERR: clsRegEx: Match(2) not found (index too large, found only 2 entries)"), 2u);
  diag.Clear();
  // A trailing unset group is not counted by the engine.
  EXPECT_EQ(Sub(u"(a)|(b)", u"a", u"[\\2]"), u"[]");
  EXPECT_EQ(diag.CountEqual(u"ERR: clsRegEx: Match(2) not found (index too large, found only 2 entries)"), 1u);
  // An unset group in the middle adds nothing and no line.
  diag.Clear();
  EXPECT_EQ(Sub(u"(a)|(b)", u"b", u"[\\1\\2]"), u"[b]");
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(RegExSubstitute, NoMatchAndEmptySubject) {
  clsRegEx re(u"z");
  const String subject(u"abc");
  const String same = re.Substitute(subject, String(u"y"));
  EXPECT_EQ(same.View(), u"abc");
  EXPECT_EQ(same.wchar(), subject.wchar());  // shared, not copied
  EXPECT_TRUE(re.Substitute(String(), String(u"y")).IsEmpty());
  clsRegEx any(u"x*");
  EXPECT_TRUE(any.Substitute(String(), String(u"y")).IsEmpty());
}

TEST(RegExSubstitute, StartAnchorAndLookBehindSeeTheWholeSubject) {
  EXPECT_EQ(Sub(u"^a", u"aaa", u"-"), u"-aa");
  EXPECT_EQ(Sub(u"(?<=a)b", u"abbab", u"-"), u"a-ba-");
  EXPECT_EQ(Sub(u"\\bx", u"xx x", u"-"), u"-x -");
}

TEST(RegExSubstitute, EmptyMatchesAdvanceOneCharacter) {
  EXPECT_EQ(Sub(u"x*", u"abc", u"-"), u"-a-b-c-");
  EXPECT_EQ(Sub(u"a*", u"baa", u"-"), u"-b--");
  EXPECT_EQ(Sub(u"", u"ab", u"."), u".a.b.");
  EXPECT_EQ(Sub(u"\\b", u"hi you", u"|"), u"|hi| |you|");
  // A surrogate pair is never split, in either mode.
  EXPECT_EQ(Sub(u"x*", u"a\U0001F600b", u"-"), u"-a-\U0001F600-b-");
  EXPECT_EQ(Sub(u"x*", u"a\U0001F600b", u"-", zx::kRegExUtf), u"-a-\U0001F600-b-");
  // A lone surrogate is one character.
  EXPECT_EQ(Sub(u"x*", u"\xDC00\xD800", u"-"), u"-\xDC00-\xD800-");
  // With CRLF as the newline, CR LF is one step; otherwise two.
  EXPECT_EQ(Sub(u"(*CRLF)x*", u"a\r\nb", u"-"), u"-a-\r\n-b-");
  EXPECT_EQ(Sub(u"x*", u"a\r\nb", u"-"), u"-a-\r-\n-b-");
  EXPECT_EQ(Sub(u"(?m)$", u"a\r\nb", u"#"), u"a\r#\nb#");
  EXPECT_EQ(Sub(u"(*CRLF)(?m)$", u"a\r\nb", u"#"), u"a#\r\nb#");
}

class Upper : public IclsRegExGSubCB {
 public:
  bool Replace(const clsRegExMatchList& list, String& r) override {
    r = list.find(1).text;
    r.ToUpper();
    offsets.push_back(list.find(0).offset);
    return true;
  }
  std::vector<int> offsets;
};

TEST(RegExSubstitute, CallbackObjectAndFunction) {
  clsRegEx re(u"<(\\w+)>");
  Upper upper;
  EXPECT_EQ(re.Substitute(String(u"a<b>c<de>"), upper).View(), u"aBcDE");
  EXPECT_EQ(upper.offsets, (std::vector<int>{1, 5}));  // offsets in the whole subject

  int calls = 0;
  const String out = re.Substitute(String(u"<x><y><z>!"), [&calls](const clsRegExMatchList& list, String& r) {
    if (++calls == 3) return false;  // stop: this match and the rest stay
    r = String(u"[");
    r.Append(list.find(1).text);
    r.Append(u"]");
    return true;
  });
  EXPECT_EQ(out.View(), u"[x][y]<z>!");
  EXPECT_EQ(calls, 3);

  clsRegEx empty(u"x*");
  const String dashes = empty.Substitute(String(u"ab"), [](const clsRegExMatchList& list, String& r) {
    r = String(u"-");
    return list.entries() == 1;
  });
  EXPECT_EQ(dashes.View(), u"-a-b-");
}

TEST(RegExSplit, PiecesBetweenMatches) {
  EXPECT_EQ(SplitOf(u",", u"a,b,c"), (V{u"a", u"b", u"c"}));
  EXPECT_EQ(SplitOf(u",", u",a,,b,"), (V{u"", u"a", u"", u"b", u""}));  // empty fields stay
  EXPECT_EQ(SplitOf(u"\\s*(;)\\s*", u"a ; b;c"), (V{u"a", u"b", u"c"}));  // captures are dropped
  EXPECT_EQ(SplitOf(u",", u"abc"), (V{u"abc"}));
  EXPECT_EQ(SplitOf(u",", u""), V{});
  EXPECT_EQ(SplitOf(u"x*", u"abc"), (V{u"", u"a", u"b", u"c", u""}));
  EXPECT_EQ(SplitOf(u"x*", u"\U0001F600\U0001F600"), (V{u"", u"\U0001F600", u"\U0001F600", u""}));
  EXPECT_EQ(SplitOf(u"(?<=,)", u"a,b"), (V{u"a,", u"b"}));
}

TEST(RegExScale, LongSubjectsAreLinear) {
  // 2 MB with a match every other character: a per-match copy of the rest would
  // take minutes.
  std::u16string text;
  for (int i = 0; i < 1 << 20; ++i) text += u"a,";
  const String subject(text);
  clsRegEx comma(u",");
  const auto t0 = std::chrono::steady_clock::now();
  const String out = comma.Substitute(subject, String(u"\\\\"));
  const WCValSList<String> pieces = comma.Split(subject);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count(), 20.0);
  EXPECT_EQ(out.Length(), subject.Length());
  EXPECT_EQ(out.View().substr(0, 6), u"a\\a\\a\\");
  EXPECT_EQ(pieces.entries(), (1 << 20) + 1);
  EXPECT_TRUE(pieces.findLast().IsEmpty());
}

// Our template in the engine's substitution syntax: "\\d" -> "${d}", "$" -> "$$".
std::u16string EngineTemplate(std::u16string_view t) {
  std::u16string out;
  for (size_t i = 0; i < t.size(); ++i) {
    if (t[i] == u'\\' && i + 1 < t.size() && t[i + 1] == u'\\') {
      out += u'\\';
      ++i;
    } else if (t[i] == u'\\' && i + 1 < t.size() && t[i + 1] >= u'0' && t[i + 1] <= u'9') {
      out += u"${";
      out += t[i + 1];
      out += u'}';
      ++i;
    } else if (t[i] == u'$') {
      out += u"$$";
    } else {
      out += t[i];
    }
  }
  return out;
}

std::u16string EngineSubstitute(const std::u16string& pattern, const std::u16string& subject, const std::u16string& tmpl) {
  int err = 0;
  PCRE2_SIZE at = 0;
  pcre2_code* code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), PCRE2_UTF, &err, &at, nullptr);
  if (!code) return u"<bad>";
  const std::u16string rep = EngineTemplate(tmpl);
  std::u16string out(subject.size() * 4 + rep.size() * (subject.size() + 2) + 16, u'\0');
  PCRE2_SIZE outLen = out.size();
  const int rc = pcre2_substitute(code, reinterpret_cast<PCRE2_SPTR>(subject.data()), subject.size(), 0,
                                  PCRE2_SUBSTITUTE_GLOBAL | PCRE2_SUBSTITUTE_UNSET_EMPTY, nullptr, nullptr,
                                  reinterpret_cast<PCRE2_SPTR>(rep.data()), rep.size(),
                                  reinterpret_cast<PCRE2_UCHAR*>(out.data()), &outLen);
  pcre2_code_free(code);
  if (rc < 0) return u"<error>";
  out.resize(outLen);
  return out;
}

TEST(RegExOracle, SameResultAsTheEnginesGlobalSubstitution) {
  const std::u16string patterns[] = {u"x*", u"a*", u"(a)(b)?", u"\\b", u"(?m)^", u"(?m)$", u"[aeiou]+", u"(?<=a)",
                                     u"(\\w)(\\w)", u"\\s+|$", u"(*CRLF)(?m)$|x*", u"(?=b)", u"ab|a"};
  const std::u16string subjects[] = {u"abc", u"baab", u"a b\r\nab", u"\U0001F600a\U0001F600", u"aaa\n\nb", u"xyz"};
  const std::u16string templates[] = {u"-", u"[\\0]", u"<\\1|\\1>", u"\\\\$"};
  for (const auto& p : patterns)
    for (const auto& s : subjects)
      for (const auto& t : templates) {
        clsRegEx re(String(p.c_str()), zx::kRegExUtf);  // the engine splits pairs otherwise
        DiagCapture quiet;
        const String ours = re.Substitute(String(std::u16string_view(s)), String(t.c_str()));
        const std::u16string theirs = EngineSubstitute(p, s, t);
        // An out-of-range group is an error there and adds nothing here; skip those.
        if (theirs == u"<error>") continue;
        EXPECT_EQ(std::u16string(ours.View()), theirs) << "pattern #" << (&p - patterns) << " subject #"
                                                       << (&s - subjects) << " template #" << (&t - templates);
      }
}

// python3's re.split (patterns without capturing groups) as the oracle of Split.
TEST(RegExOracle, SplitAgreesWithPython) {
#ifdef _WIN32
  GTEST_SKIP() << "the python3 oracle runs on the Linux build";
#else
  if (std::system("python3 -c 'import re' >/dev/null 2>&1") != 0) GTEST_SKIP() << "no python3";
  const char* cases[][2] = {{",", "a,,b,"}, {"x*", "abc"}, {"\\s+", " lead and  trail "}, {"(?:ab)+", "xababyabz"},
                            {"(?<=-)", "a-b-c"}, {"\\b", "one two"}};
  for (const auto& c : cases) {
    const std::string cmd = std::string("python3 -c \"import re,sys; print('\\x1f'.join(re.split(sys.argv[1], sys.argv[2])))\" '") +
                            c[0] + "' '" + c[1] + "'";
    FILE* p = popen(cmd.c_str(), "r");
    ASSERT_NE(p, nullptr);
    std::string line;
    for (int ch; (ch = fgetc(p)) != EOF;) line += static_cast<char>(ch);
    pclose(p);
    if (!line.empty() && line.back() == '\n') line.pop_back();
    V expected;
    size_t from = 0;
    for (size_t at; (at = line.find('\x1f', from)) != std::string::npos; from = at + 1)
      expected.emplace_back(String(line.substr(from, at - from).c_str()).View());
    expected.emplace_back(String(line.substr(from).c_str()).View());
    clsRegEx re{String(c[0])};
    EXPECT_EQ(Pieces(re.Split(String(c[1]))), expected) << c[0] << " over " << c[1];
  }
#endif
}

}  // namespace
