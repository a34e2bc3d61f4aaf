// String::Format with its estimate pass (the conversions themselves are the
// formatter's tests), system messages, locale info and BSTR export.
#include <gtest/gtest.h>

#include <string>

#include "core/strings/String.h"
#include "platform/bstr.h"

using zx::String;

namespace {

constexpr char16_t kFormatError[] = u"<printf format error>";

std::u16string Repeat(char16_t c, size_t n) { return std::u16string(n, c); }

TEST(StringFormat, StackBelowAnEstimateOf100HeapFrom100) {
  String s;
  // Ordinary characters count 2 each: 49 of them estimate 98, 50 estimate 100.
  std::u16string f49 = Repeat(u'a', 49), f50 = Repeat(u'a', 50);
  EXPECT_EQ(s.Format(f49.c_str()), 0);
  EXPECT_EQ(s.View(), f49);
  EXPECT_EQ(s.Format(f50.c_str()), 50);   // heap: the printed length comes back
  EXPECT_EQ(s.View(), f50);
  // A wide string argument counts its length.
  std::u16string t99 = Repeat(u'x', 99), t100 = Repeat(u'x', 100);
  EXPECT_EQ(s.Format(u"%s", t99.c_str()), 0);
  EXPECT_EQ(s.View(), t99);
  EXPECT_EQ(s.Format(u"%s", t100.c_str()), 100);
  EXPECT_EQ(s.View(), t100);
  // "%%" counts 2 like an ordinary character, and "#" adds 2.
  std::u16string pct = Repeat(u'a', 48).append(u"%%");
  EXPECT_EQ(s.Format(pct.c_str()), 0);
  EXPECT_EQ(s.Length(), 49);
  std::u16string hash31 = Repeat(u'a', 31).append(u"%#x");   // 62 + 2 + 34
  std::u16string hash32 = Repeat(u'a', 32).append(u"%#x");   // 64 + 2 + 34
  EXPECT_EQ(s.Format(hash31.c_str(), 255), 0);
  EXPECT_EQ(s.View(), Repeat(u'a', 31).append(u"0xff"));
  EXPECT_EQ(s.Format(hash32.c_str(), 255), 36);
}

TEST(StringFormat, EstimatesOfConversions) {
  String s;
  EXPECT_EQ(s.Format(u"%d", 42), 0);               // 34
  EXPECT_EQ(s.View(), u"42");
  EXPECT_EQ(s.Format(u"%d%d%d", 1, 2, 3), 3);      // 102: heap
  EXPECT_EQ(s.View(), u"123");
  EXPECT_EQ(s.Format(u"%f", 1.5), 8);              // at least 138: heap
  EXPECT_EQ(s.View(), u"1.500000");
  EXPECT_EQ(s.Format(u"%p%p%p%p%p", nullptr, nullptr, nullptr, nullptr, nullptr), 0);   // 90
  EXPECT_EQ(s.Format(u"%p%p%p%p%p%p", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 96);
  EXPECT_EQ(s.Format(u"%p", nullptr), 0);
  EXPECT_EQ(s.View(), u"0000000000000000");
  EXPECT_EQ(s.Format(u"%120s", u"x"), 120);        // width beats the length
  EXPECT_EQ(s.View(), Repeat(u' ', 119).append(u"x"));
  std::u16string longText = Repeat(u'y', 300);
  EXPECT_EQ(s.Format(u"%.3s", longText.c_str()), 0);   // precision caps it
  EXPECT_EQ(s.View(), u"yyy");
  EXPECT_EQ(s.Format(u"%*d", 200, 7), 200);        // width from the arguments
  EXPECT_EQ(s.Length(), 200);
  EXPECT_EQ(s.Format(u"%-*d|", -5, 7), 0);
  EXPECT_EQ(s.View(), u"7    |");
}

TEST(StringFormat, ShortEstimatesStillPrintEverything) {
  String s;
  // "%c" estimates 2, but a width makes it long: nothing may be cut.
  EXPECT_EQ(s.Format(u"%150c", u'q'), 150);
  EXPECT_EQ(s.View(), Repeat(u' ', 149).append(u"q"));
  EXPECT_EQ(s.Format(u"%f", 1e300), 308);
  EXPECT_EQ(s.Length(), 308);
  EXPECT_EQ(s.Format(u"%.60d", 5), 0);     // estimated 34, fits the stack buffer
  EXPECT_EQ(s.View(), Repeat(u'0', 59).append(u"5"));
  EXPECT_EQ(s.Format(u"%.160d", 5), 160);  // estimated 34, printed on the heap
  EXPECT_EQ(s.View(), Repeat(u'0', 159).append(u"5"));
}

TEST(StringFormat, FailedChecksGiveTheErrorText) {
  String s(u"before");
  EXPECT_EQ(s.Format(u"%s", static_cast<const char16_t*>(nullptr)), 0);
  EXPECT_EQ(s.View(), kFormatError);
  // The formatter's own refusals end the same way.
  s.Assign(u"x");
  EXPECT_EQ(s.Format(u"%hld", 1), 0);
  EXPECT_EQ(s.View(), kFormatError);
  const auto formatted = [](const char16_t* format, auto... args) {
    String t(u"x");
    t.Format(format, args...);
    return std::u16string(t.View());
  };
  EXPECT_EQ(formatted(u"%hs", static_cast<const char*>(nullptr)), kFormatError);
  EXPECT_EQ(formatted(u"%d %S", 1, static_cast<const char*>(nullptr)), kFormatError);
  EXPECT_EQ(formatted(u"%n", static_cast<int*>(nullptr)), kFormatError);
  EXPECT_EQ(formatted(nullptr), kFormatError);
}

TEST(StringFormat, ConstructorAndOwnTextAsArgument) {
  String made(zx::kFormat, u"%d-%s", 5, u"five");
  EXPECT_EQ(made.View(), u"5-five");
  String s(u"inner");
  s.Format(u"<%s>", s.wchar());
  EXPECT_EQ(s.View(), u"<inner>");
  String shared(s);
  s.Format(u"%s%s", s.wchar(), shared.wchar());
  EXPECT_EQ(s.View(), u"<inner><inner>");
  EXPECT_EQ(shared.View(), u"<inner>");
}

TEST(StringSystemMessage, TextCodeAndFailure) {
  String m = String::SystemMessage(2);
  EXPECT_GT(m.Length(), 11);
  EXPECT_EQ(m.Right(11).View(), u" (00000002)");
  const char16_t beforeCode = m.GetAt(m.Length() - 12);   // CR and LF were stripped
  EXPECT_NE(beforeCode, u'\n');
  EXPECT_NE(beforeCode, u'\r');
  EXPECT_EQ(String::SystemMessage(0x5).Length() > 0, true);
  String unknown = String::SystemMessage(0x2345678);
  EXPECT_EQ(unknown.View(), u"(error code 0x2345678)");
  EXPECT_EQ(String::SystemMessage(0x7FFF0005).View(), u"(error code 0x7fff0005)");
}

TEST(StringBSTR, NewAndExisting) {
  plat::Bstr b = nullptr;
  EXPECT_TRUE(String(u"first").CopyToBSTR(&b));
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(plat::SysLen(b), 5u);
  EXPECT_EQ(std::u16string_view(b, 5), u"first");
  EXPECT_TRUE(String(u"a longer second text").CopyToBSTR(&b));
  EXPECT_EQ(plat::SysLen(b), 20u);
  EXPECT_EQ(std::u16string_view(b), u"a longer second text");
  EXPECT_TRUE(String().CopyToBSTR(&b));
  EXPECT_EQ(plat::SysLen(b), 0u);
  plat::SysFree(b);
  EXPECT_FALSE(String(u"x").CopyToBSTR(nullptr));
}

TEST(StringLocaleInfo, UserLocaleAnswers) {
  // LOCALE_SENGLISHLANGUAGENAME
  String name = String::LocaleInfo(0x1001);
  EXPECT_GT(name.Length(), 0);
  EXPECT_EQ(name.wchar()[name.Length()], 0);
  EXPECT_EQ(String::LocaleInfo(0xFFFFFF).Length(), 0);
}

}  // namespace
