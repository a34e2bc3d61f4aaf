#include <gtest/gtest.h>

#include "core_test_util.h"
#include "core/charset/CharsetGuess.h"
#include "core/strings/String.h"
#include "zxUT22.h"

using core_test::DefaultCodePageGuard;

namespace {

// Sets the default code page of the loaded library (a copy of its own, apart from
// the internals linked into this test) and restores it.
class LibraryCodePageGuard {
 public:
  explicit LibraryCodePageGuard(WORD cp) : saved_(static_cast<WORD>(ProfGetOption(PROF_OPTION_CODEPAGE))) {
    ProfSetOption(PROF_OPTION_CODEPAGE, cp);
  }
  ~LibraryCodePageGuard() { ProfSetOption(PROF_OPTION_CODEPAGE, saved_); }

 private:
  WORD saved_;
};

int Guess(const char16_t* text) {
  return UtilGetLikelyCharsetFromString(reinterpret_cast<LPCWSTR>(text));
}

}  // namespace

TEST(CharsetGuess, LatinAndEmptyTextGiveZero) {
  LibraryCodePageGuard cp(932);
  EXPECT_EQ(Guess(u"Plain Latin text, \u00E4\u00F6\u00FC \u20AC"), 0);
  EXPECT_EQ(Guess(u""), 0);
  EXPECT_EQ(Guess(nullptr), 0);
}

TEST(CharsetGuess, OneScriptNamesItsCharset) {
  LibraryCodePageGuard cp(1252);
  EXPECT_EQ(Guess(u"\u041F\u0440\u0438\u0432\u0435\u0442"), 204);     // Cyrillic
  EXPECT_EQ(Guess(u"Latin and \u0416"), 204);
  EXPECT_EQ(Guess(u"\u0391\u03B8\u03AE\u03BD\u03B1"), 161);           // Greek
  EXPECT_EQ(Guess(u"\u1F00"), 161);                                   // Greek extended
  EXPECT_EQ(Guess(u"\u05E9\u05DC\u05D5\u05DD"), 177);                 // Hebrew
  EXPECT_EQ(Guess(u"\u0645\u0631\u062D\u0628\u0627"), 178);           // Arabic
  EXPECT_EQ(Guess(u"\uFEFB"), 178);                                   // Arabic forms
  EXPECT_EQ(Guess(u"\u0E2A\u0E27\u0E31\u0E2A"), 222);                 // Thai
  EXPECT_EQ(Guess(u"\uD55C\uAD6D\uC5B4"), 129);                       // Hangul
  EXPECT_EQ(Guess(u"\u3131\u1100"), 129);                             // Jamo
  EXPECT_EQ(Guess(u"\u3072\u3089\u304C\u306A\u30AB\u30BF"), 128);     // kana
  EXPECT_EQ(Guess(u"\u3300"), 128);                                   // squared words
}

TEST(CharsetGuess, RangeEdges) {
  struct Edge { char16_t ch; uint32_t classes; };
  const Edge edges[] = {
      {0x036F, 0}, {0x0370, 0x20}, {0x03FF, 0x20}, {0x0400, 0x40}, {0x052F, 0x40}, {0x0530, 0},
      {0x058F, 0}, {0x0590, 0x100}, {0x05FF, 0x100}, {0x0600, 0x80}, {0x06FF, 0x80}, {0x0700, 0},
      {0x0DFF, 0}, {0x0E00, 0x10}, {0x0E7F, 0x10}, {0x0E80, 0}, {0x10FF, 0}, {0x1100, 0x08},
      {0x11FF, 0x08}, {0x1200, 0}, {0x1EFF, 0}, {0x1F00, 0x20}, {0x1FFF, 0x20}, {0x2000, 0},
      {0x303F, 0}, {0x3040, 0x01}, {0x30FF, 0x01}, {0x3100, 0}, {0x312F, 0}, {0x3130, 0x08},
      {0x318F, 0x08}, {0x3190, 0}, {0x32FF, 0}, {0x3300, 0x01}, {0x3357, 0x01}, {0x3358, 0},
      {0x33FF, 0}, {0x3400, 0x08}, {0x4DFF, 0x08}, {0x4E00, 0x07}, {0x9FAF, 0x07}, {0x9FB0, 0},
      {0xABFF, 0}, {0xAC00, 0x08}, {0xD7A3, 0x08}, {0xD7A4, 0}, {0xFE6F, 0}, {0xFE70, 0x80},
      {0xFEFF, 0x80}, {0xFF00, 0}, {0xFFFF, 0},
  };
  for (const Edge& e : edges) {
    EXPECT_EQ(zx::CharsetClassOf(e.ch), e.classes) << std::hex << static_cast<int>(e.ch);
  }
}

TEST(CharsetGuess, SeveralScriptsFollowTheDefaultCodePage) {
  const char16_t* greekAndCyrillic = u"\u0391\u03B8 \u041F\u0440";
  const char16_t* ideographs = u"\u65E5\u672C";   // always three classes
  const struct { uint16_t cp; int charset; } answers[] = {
      {932, 128}, {936, 134}, {949, 129}, {950, 136}, {1252, 0}, {65001, 0}, {1251, 0}, {0, 0},
  };
  for (const auto& a : answers) {
    SCOPED_TRACE(a.cp);
    {
      // The export reads the library's own default, set through its option export.
      LibraryCodePageGuard cp(a.cp);
      EXPECT_EQ(Guess(greekAndCyrillic), a.charset);
      EXPECT_EQ(Guess(ideographs), a.charset);
      EXPECT_EQ(Guess(u"\u0416"), 204);  // one class does not ask the default
    }
    DefaultCodePageGuard cp(a.cp);
    EXPECT_EQ(zx::GuessLikelyCharset(greekAndCyrillic), a.charset);
    EXPECT_EQ(zx::GuessLikelyCharset(zx::String(u"\uAC00\u3042")), a.charset);  // Hangul + kana
  }
}

TEST(CharsetGuess, FontCharsetFromClasses) {
  EXPECT_EQ(zx::FontCharsetFromClasses(0, 932), 0);
  EXPECT_EQ(zx::FontCharsetFromClasses(zx::kCharsetClassCyrillic, 932), 204);
  EXPECT_EQ(zx::FontCharsetFromClasses(zx::kCharsetClassHan, 936), 134);
  EXPECT_EQ(zx::FontCharsetFromClasses(zx::kCharsetClassHan, 1252), 0);
  // The one-class answers do not depend on the default code page.
  EXPECT_EQ(zx::FontCharsetFromClasses(zx::kCharsetClassJapanese, 949), 128);
}

TEST(CharsetGuess, StringFormCountsEveryCharacter) {
  DefaultCodePageGuard cp(1252);
  // A String may hold a zero character; the characters behind it still count.
  zx::String s(std::u16string_view(u"abc\0\u0416", 5));
  EXPECT_EQ(zx::GuessLikelyCharset(s), 204);
  EXPECT_EQ(zx::GuessLikelyCharset(zx::String()), 0);
}
