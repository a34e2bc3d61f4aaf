// Code-page conversion: our 1252 and UTF-8 against iconv and the system's rules,
// other pages through the OS converters.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/codepage.h"
#include "platform/errors.h"
#include "platform_test_util.h"

using namespace plat;

namespace {

std::u16string ToWide(uint32_t cp, const std::string& s, uint32_t flags = 0) {
  int n = MultiByteToWide(cp, flags, s.data(), static_cast<int>(s.size()), nullptr, 0);
  std::u16string out(static_cast<size_t>(n), u'\0');
  if (n) {
    EXPECT_EQ(n, MultiByteToWide(cp, flags, s.data(), static_cast<int>(s.size()), out.data(), n));
  }
  return out;
}

std::string ToNarrow(uint32_t cp, const std::u16string& s, uint32_t flags = 0,
                     const char* def = nullptr, bool* used = nullptr) {
  int n = WideToMultiByte(cp, flags, s.data(), static_cast<int>(s.size()), nullptr, 0, def, used);
  std::string out(static_cast<size_t>(n), '\0');
  if (n) {
    EXPECT_EQ(n, WideToMultiByte(cp, flags, s.data(), static_cast<int>(s.size()), out.data(), n,
                                 def, used));
  }
  return out;
}

// Every byte but 0 and those the page (or the reference) leaves undefined.
std::string AllBytesBut(const char* undefined) {
  std::string s;
  for (int b = 1; b < 256; ++b)
    if (!std::strchr(undefined, b)) s.push_back(char(b));
  return s;
}

}  // namespace

// Every byte against the reference, and back exactly.
TEST(Codepage, SingleBytePagesMatchTheReferenceOverAllBytes) {
  const struct {
    uint32_t cp;
    const char* undefined;
  } pages[] = {
#ifdef _WIN32
      {1252, ""},   // the system knows the five undefined bytes too
#else
      {1252, "\x81\x8D\x8F\x90\x9D"},   // iconv does not
#endif
      {1251, "\x98"},
  };
  for (const auto& page : pages) {
    SCOPED_TRACE(page.cp);
    const std::string bytes = AllBytesBut(page.undefined);
    std::u16string expected;
    ASSERT_TRUE(ptest::ReferenceToWide(page.cp, bytes, expected));
    EXPECT_EQ(ToWide(page.cp, bytes), expected);
    EXPECT_EQ(ToNarrow(page.cp, expected, kWcNoBestFitChars), bytes);
  }
}

TEST(Codepage, Cp1252UndefinedBytesMapToC1AndBack) {
  const std::u16string c1 = u"\u0081\u008D\u008F\u0090\u009D";
  EXPECT_EQ(ToWide(1252, "\x81\x8D\x8F\x90\x9D", kMbErrInvalidChars), c1);
  EXPECT_EQ(ToNarrow(1252, c1), "\x81\x8D\x8F\x90\x9D");
}

TEST(Codepage, AnsiCodePageIsTheDefault) {
  EXPECT_EQ(ToWide(kCpAcp, "\x80\xe4"), ToWide(AnsiCodePage(), "\x80\xe4"));
  EXPECT_EQ(ToWide(kCpThreadAcp, "\x80"), ToWide(AnsiCodePage(), "\x80"));
}

TEST(Codepage, Cp1252BestFitAndDefaultChar) {
  bool used = true;
  // Accented Latin letters outside 1252 fall back to their base letter, fullwidth
  // forms to ASCII; no default character was needed.
  EXPECT_EQ(ToNarrow(1252, u"\u0100\u0142\uFF21\u2212", 0, nullptr, &used), "AlA-");
  EXPECT_FALSE(used);
  // Without best fit they become the default character.
  EXPECT_EQ(ToNarrow(1252, u"\u0100x", kWcNoBestFitChars, nullptr, &used), "?x");
  EXPECT_TRUE(used);
  EXPECT_EQ(ToNarrow(1252, u"\u4E2D", 0, "#", &used), "#");
  EXPECT_TRUE(used);
  // Each half of a surrogate pair is one unmappable unit.
  EXPECT_EQ(ToNarrow(1252, u"\U0001F600"), "??");
  // The euro sign and typographic quotes are in the table proper.
  EXPECT_EQ(ToNarrow(1252, u"\u20AC\u201C\u201D"), "\x80\x93\x94");
}

#ifdef _WIN32
// Every BMP unit through our 1252 table and the system's, with best fit and the
// default-character report.
TEST(Codepage, Cp1252WideToNarrowMatchesTheSystemForEveryUnit) {
  int differences = 0;
  for (unsigned u = 1; u <= 0xFFFF; ++u) {
    wchar_t w = static_cast<wchar_t>(u);
    char16_t c = static_cast<char16_t>(u);
    char sys[4] = {}, ours[4] = {};
    BOOL sysUsed = FALSE;
    bool ourUsed = false;
    int a = ::WideCharToMultiByte(1252, 0, &w, 1, sys, 4, nullptr, &sysUsed);
    int b = WideToMultiByte(1252, 0, &c, 1, ours, 4, nullptr, &ourUsed);
    if (a != b || sys[0] != ours[0] || (sysUsed != FALSE) != ourUsed) {
      if (++differences < 10) ADD_FAILURE() << std::hex << "U+" << u;
    }
  }
  EXPECT_EQ(differences, 0);
}
#endif

TEST(Codepage, Utf8ValidRoundTripIncludingSurrogatePairs) {
  std::u16string text = u"a\u00e4\u20AC\U0001F600\uFFFF\U0010FFFF";
  std::string utf8 = ToNarrow(kCpUtf8, text);
  std::string expected;
  ASSERT_TRUE(ptest::ReferenceToUtf8(text, expected));
  EXPECT_EQ(utf8, expected);
  EXPECT_EQ(ToWide(kCpUtf8, utf8, kMbErrInvalidChars), text);
}

// Each maximal ill-formed subpart becomes one U+FFFD, as Windows 10 decodes
// ("E0 C0" gives two, a five-byte form one per byte). Wine merges some of these, so
// the Windows build does not compare with the system here.
TEST(Codepage, Utf8InvalidSequencesBecomeReplacementCharacters) {
  const struct {
    const char* name;
    std::string in;
    std::u16string out;
  } cases[] = {
      {"lone lead C0", "\xC0", u"\uFFFD"},
      {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
      {"overlong 3-byte", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
      {"overlong 4-byte", "\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"encoded surrogate", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
      {"lead then space", "\xE0\x20\xC0", u"\uFFFD \uFFFD"},
      {"E0 C0", "\xE0\xC0", u"\uFFFD\uFFFD"},
      {"truncated 3-byte at end", "a\xE6\x97", u"a\uFFFD"},
      {"truncated then ASCII", "\xE6\x97z", u"\uFFFDz"},
      {"stray continuations", "\x82\xA0", u"\uFFFD\uFFFD"},
      {"five-byte form", "\xF8\xA3\xA3\xA3\xA3", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"above U+10FFFF", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"FE FF", "\xFE\xFF", u"\uFFFD\uFFFD"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ToWide(kCpUtf8, c.in), c.out);
    EXPECT_FAILS_WITH(MultiByteToWide(kCpUtf8, kMbErrInvalidChars, c.in.data(), int(c.in.size()), nullptr, 0),
                      kErrNoUnicodeTranslation);
  }
}

TEST(Codepage, Utf8LoneSurrogatesOnOutput) {
  EXPECT_EQ(ToNarrow(kCpUtf8, std::u16string(u"a") + char16_t(0xD800) + u"b"), "a\xEF\xBF\xBD" "b");
  EXPECT_EQ(ToNarrow(kCpUtf8, std::u16string(1, char16_t(0xDC00))), "\xEF\xBF\xBD");
  std::u16string bad = std::u16string(u"x") + char16_t(0xDFFF);
  EXPECT_FAILS_WITH(WideToMultiByte(kCpUtf8, kWcErrInvalidChars, bad.data(), 2, nullptr, 0),
                    kErrNoUnicodeTranslation);
}

TEST(Codepage, TerminatorAndBufferRules) {
  char16_t buf[8];
  // -1 counts the terminator.
  EXPECT_EQ(MultiByteToWide(kCpUtf8, 0, "ab", -1, nullptr, 0), 3);
  EXPECT_EQ(MultiByteToWide(kCpUtf8, 0, "ab", -1, buf, 8), 3);
  EXPECT_EQ(buf[2], 0);
  // Too small: filled as far as it goes, then error 122.
  std::fill(buf, buf + 8, u'#');
  EXPECT_FAILS_WITH(MultiByteToWide(1252, 0, "abc", 3, buf, 2), kErrInsufficientBuffer);
  EXPECT_EQ(buf[0], u'a');
  EXPECT_EQ(buf[2], u'#');
  // A surrogate pair never gets split at the end of the buffer.
  std::fill(buf, buf + 8, u'#');
  EXPECT_FAILS_WITH(MultiByteToWide(kCpUtf8, 0, "a\xF0\x9F\x98\x80", 5, buf, 2), kErrInsufficientBuffer);
  EXPECT_EQ(buf[1], u'#');
  // Buffer overflow takes precedence over invalid input.
  EXPECT_FAILS_WITH(MultiByteToWide(kCpUtf8, kMbErrInvalidChars, "\xC0", 2, buf, 1), kErrInsufficientBuffer);
}

TEST(Codepage, BadArgumentsAndFlags) {
  char16_t w[4];
  char n[4];
  bool used;
  EXPECT_FAILS_WITH(MultiByteToWide(1252, 0, nullptr, 3, w, 4), kErrInvalidParameter);
  EXPECT_FAILS_WITH(MultiByteToWide(1252, 0, "a", 0, w, 4), kErrInvalidParameter);
  EXPECT_FAILS_WITH(MultiByteToWide(1252, 0, "a", 1, nullptr, 4), kErrInvalidParameter);
  EXPECT_FAILS_WITH(MultiByteToWide(1252, 0, "a", 1, w, -1), kErrInvalidParameter);
  EXPECT_FAILS_WITH(WideToMultiByte(1252, 0, nullptr, 1, n, 4), kErrInvalidParameter);
  // Flags that the page does not take.
  EXPECT_FAILS_WITH(MultiByteToWide(kCpUtf8, kMbPrecomposed, "a", 1, w, 4), kErrInvalidFlags);
  EXPECT_FAILS_WITH(MultiByteToWide(1252, kMbPrecomposed | kMbComposite, "a", 1, w, 4), kErrInvalidFlags);
  EXPECT_FAILS_WITH(WideToMultiByte(1252, kWcErrInvalidChars, u"a", 1, n, 4), kErrInvalidFlags);
  // UTF-8 takes no default character.
  EXPECT_FAILS_WITH(WideToMultiByte(kCpUtf8, 0, u"a", 1, n, 4, "?", nullptr), kErrInvalidParameter);
  EXPECT_FAILS_WITH(WideToMultiByte(kCpUtf8, 0, u"a", 1, n, 4, nullptr, &used), kErrInvalidParameter);
  // Unknown code pages.
  EXPECT_FALSE(plat::IsValidCodePage(12345));
  EXPECT_FAILS_WITH(MultiByteToWide(12345, 0, "a", 1, w, 4), kErrInvalidParameter);
  for (uint32_t cp : {1252u, 65001u, 1251u}) EXPECT_TRUE(plat::IsValidCodePage(cp)) << cp;
}

TEST(Codepage, SymbolPage) {
  EXPECT_EQ(ToWide(kCpSymbol, "\x01 A\xFF"), u"\u0001\uF020\uF041\uF0FF");
  EXPECT_EQ(ToNarrow(kCpSymbol, u"\u0001\uF020\uF041"), "\x01 A");
  EXPECT_FAILS_WITH(WideToMultiByte(kCpSymbol, 0, u"A", 1, nullptr, 0), kErrNoUnicodeTranslation);
}

TEST(Codepage, Cp932SamplesMatchTheReference) {
  // Hiragana, kanji, half-width katakana, the yen sign position and a two-byte
  // punctuation mark.
  const std::string sample = "\x82\xA0\x82\xA2 \x93\xFA\x96\x7B\x8C\xEA \xB1\xB2 \\ \x81\x40 \x81\x5C";
  std::u16string expected;
  ASSERT_TRUE(ptest::ReferenceToWide(932, sample, expected));
  std::u16string wide = ToWide(932, sample);
  EXPECT_EQ(wide, expected);
  EXPECT_EQ(ToNarrow(932, wide), sample);
  // A lead byte without its trail byte becomes the page's default character, or a
  // failure with MB_ERR_INVALID_CHARS.
  EXPECT_EQ(ToWide(932, "\x93"), u"\u30FB");
  EXPECT_FAILS_WITH(MultiByteToWide(932, kMbErrInvalidChars, "\x93", 1, nullptr, 0), kErrNoUnicodeTranslation);
  // Unmappable text gets the default character and reports it.
  bool used = false;
  EXPECT_EQ(ToNarrow(932, u"a\u0100", kWcNoBestFitChars, nullptr, &used), "a?");
  EXPECT_TRUE(used);
}

TEST(Codepage, Utf8HelpersAreLossyButSafe) {
  EXPECT_EQ(Utf8ToUtf16("gr\xC3\xBC\xC3\x9F"), u"gr\u00FC\u00DF");
  EXPECT_EQ(Utf8ToUtf16("\xFF"), u"\uFFFD");
  EXPECT_EQ(Utf16ToUtf8(u"\U0001F600"), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Utf16ToUtf8(std::u16string(1, char16_t(0xD800))), "\xEF\xBF\xBD");
  EXPECT_EQ(Utf16ToUtf8(u""), "");
}
