// Message inserts (the system message formatter's rules), VMessage and string
// resources.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/format/MessageInserts.h"
#include "core/strings/String.h"
#include "platform/errors.h"
#include "platform/resources.h"
#include "support/support_test_util.h"

using zx::String;

namespace {

// Expands with the variadic arguments; "<failed>" when the expansion fails.
std::u16string Expand(const char16_t* text, ...) {
  va_list ap;
  va_start(ap, text);
  std::u16string out;
  bool ok = zx::ExpandMessageInserts(text, &ap, out);
  va_end(ap);
  return ok ? out : u"<failed>";
}

TEST(MessageInserts, NumberedInsertsInAnyOrder) {
  EXPECT_EQ(Expand(u"Hello %1.", u"World"), u"Hello World.");
  EXPECT_EQ(Expand(u"%2 before %1", u"A", u"B"), u"B before A");
  EXPECT_EQ(Expand(u"%1%1%1", u"ab"), u"ababab");
  EXPECT_EQ(Expand(u"no inserts"), u"no inserts");
  EXPECT_EQ(Expand(u""), u"");
}

TEST(MessageInserts, PrintfFormatsBetweenExclamationMarks) {
  EXPECT_EQ(Expand(u"%1!d! items", 42), u"42 items");
  EXPECT_EQ(Expand(u"%1!08X!", 0xBEEFu), u"0000BEEF");
  EXPECT_EQ(Expand(u"%1!-6s!|", u"ab"), u"ab    |");
  EXPECT_EQ(Expand(u"%1!hs! and %2!s!", "narrow", u"wide"), u"narrow and wide");
  EXPECT_EQ(Expand(u"%1!I64u!", 12345678901234ull), u"12345678901234");
  EXPECT_EQ(Expand(u"%2!d! of %1!s!", u"ten", 3), u"3 of ten");
  EXPECT_EQ(Expand(u"%1!c!%2!c!", u'o', u'k'), u"ok");
  EXPECT_EQ(Expand(u"%1!d! / %1!x!", 255), u"255 / ff");
}

TEST(MessageInserts, StarsTakeFollowingInserts) {
  // The system's own example: %1!*.*s! reads width 4 and precision 2 from inserts
  // 1 and 2 and the text from 3; %4 is the next text; %5!*s! reads width 6, text 6.
  EXPECT_EQ(Expand(u"%1!*.*s! %4 %5!*s!", 4, 2, u"Bill", u"Bob", 6, u"Bill"), u"  Bi Bob   Bill");
}

TEST(MessageInserts, EscapeSequences) {
  EXPECT_EQ(Expand(u"100%% sure"), u"100% sure");
  EXPECT_EQ(Expand(u"line%nnext"), u"line\r\nnext");
  EXPECT_EQ(Expand(u"a%rb%tc"), u"a\rb\tc");
  EXPECT_EQ(Expand(u"end%0 ignored %1"), u"end");
  EXPECT_EQ(Expand(u"dot%. bang%! space% x"), u"dot. bang! space x");
  EXPECT_EQ(Expand(u"trailing%"), u"trailing");
  EXPECT_EQ(Expand(u"keeps\r\nbreaks"), u"keeps\r\nbreaks");
  // Two digits at most: the third is text.
  std::u16string tenth = Expand(u"%100", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9", u"ten");
  EXPECT_EQ(tenth, u"ten0");
}

TEST(MessageInserts, BadInsertsFail) {
  std::u16string out;
  plat::SetLastError(0);
  EXPECT_FALSE(zx::ExpandMessageInserts(u"needs %1", nullptr, out));
  EXPECT_EQ(plat::LastError(), 87u);
  EXPECT_TRUE(zx::ExpandMessageInserts(u"needs nothing %%", nullptr, out));
  EXPECT_EQ(out, u"needs nothing %");
  EXPECT_EQ(Expand(u"open %1!d", 5), u"<failed>");
  EXPECT_EQ(Expand(u"empty %1!!", 5), u"<failed>");
  EXPECT_EQ(Expand(u"%1!n!", nullptr), u"<failed>");
  EXPECT_EQ(Expand(u"%1!s! %1!d!", u"x"), u"<failed>");   // text and number at once
  // The format between the marks is one printf conversion and nothing else: it
  // cannot take more arguments than the insert has.
  EXPECT_EQ(Expand(u"%1!d%s!", 1), u"<failed>");
  EXPECT_EQ(Expand(u"%1!5!", 1), u"<failed>");
  EXPECT_EQ(Expand(u"%1!*.*.*d!", 1, 2, 3), u"<failed>");
  EXPECT_EQ(Expand(u"%1!Zs!", u"x"), u"<failed>");
  EXPECT_EQ(Expand(u"%1!-08.3I64x!", 0x123456789ull), u"123456789");
  EXPECT_FALSE(zx::ExpandMessageInserts(nullptr, nullptr, out));
  // A width from the arguments that would make an insert longer than the system's
  // 64 KB fails the message instead of allocating it.
  EXPECT_EQ(Expand(u"%1!*d!", 0x7FFFFFF0, 7), u"<failed>");
  EXPECT_EQ(Expand(u"%1!*d!", 32767, 7).size(), 32767u);
}

bool VMessageOf(String& s, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  bool ok = s.VMessage(format, &ap);
  va_end(ap);
  return ok;
}

TEST(StringVMessage, ExpandsOrReports) {
  zxsupport::DiagCapture diag;
  String s;
  EXPECT_TRUE(VMessageOf(s, u"%1 has %2!d! entries%n", u"list", 3));
  EXPECT_EQ(s.View(), u"list has 3 entries\r\n");
  EXPECT_TRUE(diag.Lines().empty());
  EXPECT_FALSE(VMessageOf(s, u"broken %1!d", 1));
  EXPECT_EQ(s.View(), u"broken %1!d");   // stays unexpanded
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_TRUE(diag.AnyStartsWith(u"String::VMessage(): FormatMessage() failed: "));
  EXPECT_NE(diag.Lines()[0].find(u"(00000057)"), std::u16string::npos);
}

#ifndef _WIN32
// Sets the UI language through the environment for one test and forgets String's
// cached answer before and after.
class ScopedUILanguage {
 public:
  explicit ScopedUILanguage(const char* locale) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
      const char* v = std::getenv(name);
      saved_.emplace_back(name, v ? std::optional<std::string>(v) : std::nullopt);
      unsetenv(name);
    }
    setenv("LC_MESSAGES", locale, 1);
    setenv("LANG", "en_US.UTF-8", 1);
    zx::ResetUILanguageForTests();
  }
  ~ScopedUILanguage() {
    for (const auto& [name, value] : saved_) {
      if (value) setenv(name, value->c_str(), 1);
      else unsetenv(name);
    }
    zx::ResetUILanguageForTests();
  }

 private:
  std::vector<std::pair<const char*, std::optional<std::string>>> saved_;
};

TEST(StringMessage, ResourceInTheUILanguageWithInserts) {
  zxsupport::DiagCapture diag;
  {
    ScopedUILanguage english("en_US.UTF-8");
    String s;
    EXPECT_TRUE(s.Message(nullptr, 3, 5, u"file.txt"));
    EXPECT_EQ(s.View(), u"Error 5 in file.txt");
    EXPECT_TRUE(s.Message(plat::LibraryModule(), 2, u"1", u"3"));
    EXPECT_EQ(s.View(), u"1 of 3");
  }
  {
    ScopedUILanguage german("de_DE.UTF-8");
    EXPECT_EQ(zx::CachedUILanguage(), 0x0407);
    String s;
    EXPECT_TRUE(s.Message(nullptr, 3, 7, u"a"));
    EXPECT_EQ(s.View(), u"Fehler 7 in a");
    // Block 2 has no German version: the loader's fallback finds the English one.
    EXPECT_TRUE(s.Message(nullptr, 17));
    EXPECT_EQ(s.View(), u"The operation is not available in this language.");
  }
  EXPECT_TRUE(diag.Lines().empty());
}

TEST(StringMessage, ExistingBlockWithoutTheEntryGivesEmpty) {
  ScopedUILanguage english("en_US.UTF-8");
  zxsupport::DiagCapture diag;
  String s(u"old");
  EXPECT_FALSE(s.Message(nullptr, 4));   // block 1 exists in English, id 4 is empty
  EXPECT_EQ(s.Length(), 0);
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_TRUE(diag.AnyStartsWith(u"String::Message(): String ressource 4 not found in "));
}
#endif

TEST(StringMessage, MissingResourceIsReported) {
  zxsupport::DiagCapture diag;
  String s(u"old");
  EXPECT_FALSE(s.Message(nullptr, 65519, u"x"));
  EXPECT_EQ(s.Length(), 0);
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_TRUE(diag.AnyStartsWith(u"String::Message(): String ressource 65519 not found in "));
  EXPECT_EQ(diag.Lines()[0].back(), u'\'');
#ifndef _WIN32   // (on Windows a made-up module handle is not a thing to pass)
  // A module that is not this library is named by its handle.
  diag.Clear();
  static const int otherModule = 0;
  EXPECT_FALSE(s.Message(&otherModule, 1));
  ASSERT_EQ(diag.Lines().size(), 1u);
  EXPECT_TRUE(diag.AnyStartsWith(u"String::Message(): String ressource 1 not found in 0"));
#endif
}

}  // namespace
