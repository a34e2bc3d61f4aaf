#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "core_test_util.h"
#include "core/strings/CharsetConversion.h"
#include "core/strings/String.h"
#include "platform/codepage.h"

using zx::clsCharsetConversionString;
using zx::clsCharsetConversionStringCP;
using core_test::DefaultCodePageGuard;

namespace {

bool InsideObject(const void* p, const clsCharsetConversionString& obj) {
  auto* b = reinterpret_cast<const char*>(&obj);
  auto* q = static_cast<const char*>(p);
  return q >= b && q < b + sizeof(obj);
}

std::u16string W(const char16_t* s) { return s ? std::u16string(s) : std::u16string(u"<null>"); }

}  // namespace

// ---- inline storage: fewer than 64 units stay in the object, 64 take the heap

TEST(CharsetConversion, InputOf63StaysInlineAnd64GoesToTheHeap) {
  DefaultCodePageGuard cp(1252);
  for (size_t len : {63u, 64u}) {
    SCOPED_TRACE(len);
    const bool inside = len == 63;
    clsCharsetConversionString n(std::string(len, 'n').c_str());
    EXPECT_EQ(InsideObject(n.narrow(), n), inside);
    EXPECT_EQ(InsideObject(n.wide(), n), inside);
    EXPECT_EQ(std::u16string(n.wide()), std::u16string(len, u'n'));
    clsCharsetConversionString w(std::u16string(len, u'w').c_str());
    EXPECT_EQ(InsideObject(w.wide(), w), inside);
    EXPECT_EQ(InsideObject(w.narrow(), w), inside);
    EXPECT_EQ(std::string(w.narrow()), std::string(len, 'w'));
  }
}

TEST(CharsetConversion, EachWidthChoosesItsStorageByItsOwnLength) {
  // 63 umlauts are 126 UTF-8 bytes: the narrow copy needs the heap, the wide text not.
  std::string utf8;
  for (int i = 0; i < 63; ++i) utf8 += "\xC3\xA4";
  clsCharsetConversionStringCP c(65001, utf8.c_str());
  EXPECT_FALSE(InsideObject(c.narrow(), c));
  EXPECT_TRUE(InsideObject(c.wide(), c));
  EXPECT_EQ(std::u16string(c.wide()), std::u16string(63, u'\u00E4'));
  // 40 characters that need 120 bytes in UTF-8: the conversion into the inline
  // storage does not fit, so the result is measured and put on the heap.
  clsCharsetConversionStringCP euros(65001, std::u16string(40, u'\u20AC').c_str());
  std::string expected;
  for (int i = 0; i < 40; ++i) expected += "\xE2\x82\xAC";
  EXPECT_EQ(std::string(euros.narrow()), expected);
  EXPECT_FALSE(InsideObject(euros.narrow(), euros));
  EXPECT_TRUE(InsideObject(euros.wide(), euros));
}

TEST(CharsetConversion, HeapAllocationsAtThe63And64Boundary) {
  DefaultCodePageGuard cp(1252);
  auto allocationsOf = [](const std::string& text, uint32_t codePage) {
    core_test::AllocationProbe probe;
    clsCharsetConversionStringCP c(codePage, text.c_str());
    c.wide();
    return probe.Count();
  };
  for (uint32_t codePage : {0u, 1252u, 65001u, clsCharsetConversionString::kByteForByte}) {
    SCOPED_TRACE(codePage);
    EXPECT_EQ(allocationsOf(std::string(63, 'a'), codePage), 0);
    // The narrow copy and the wide text take one block each.
    EXPECT_EQ(allocationsOf(std::string(64, 'a'), codePage), 2);
  }
  auto allocationsOfWide = [](const std::u16string& text) {
    core_test::AllocationProbe probe;
    clsCharsetConversionStringCP c(65001, text.c_str());
    c.narrow();
    return probe.Count();
  };
  EXPECT_EQ(allocationsOfWide(std::u16string(63, u'a')), 0);
  EXPECT_EQ(allocationsOfWide(std::u16string(63, u'\u00E4')), 1);  // 126 UTF-8 bytes
  EXPECT_EQ(allocationsOfWide(std::u16string(64, u'a')), 2);
  // An output buffer of 64 units needs no heap, one of 65 does.
  auto allocationsOfOutput = [](int size) {
    std::string buf(static_cast<size_t>(size), 'x');
    core_test::AllocationProbe probe;
    {
      clsCharsetConversionString c(buf.data(), size);
      std::memcpy(c.wideBuffer(), u"out", 4 * sizeof(char16_t));
    }
    return probe.Count();
  };
  EXPECT_EQ(allocationsOfOutput(64), 0);
  EXPECT_EQ(allocationsOfOutput(65), 1);
}

// ---- output buffers and the write-back

TEST(CharsetConversion, NarrowOutputBufferOfSizeFourGetsThreeCharactersAndATerminator) {
  DefaultCodePageGuard cp(1252);
  char out[6];
  std::memset(out, 'X', sizeof out);
  {
    clsCharsetConversionString c(out, 4);
    ASSERT_NE(c.wideBuffer(), nullptr);
    EXPECT_TRUE(InsideObject(c.wideBuffer(), c));
    EXPECT_EQ(c.size(), 4);
    // A callee that fills every unit it was given, without a terminator.
    std::memcpy(c.wideBuffer(), u"Hell", 4 * sizeof(char16_t));
  }
  EXPECT_EQ(std::string(out, 4), std::string("Hel\0", 4));
  EXPECT_EQ(out[4], 'X');  // nothing behind the size
  EXPECT_EQ(out[5], 'X');
}

// The callee's wide text goes back in the object's code page, cut to the buffer's
// size in bytes (a UTF-8 sequence too) and padded with zeros like strncpy.
TEST(CharsetConversion, WriteBackConvertsCutsAndPads) {
  const struct {
    uint32_t codePage;
    int size;
    const char16_t* written;
    std::string expected;
  } cases[] = {
      {1252, 8, u"ab", std::string("ab\0\0\0\0\0\0", 8)},
      {65001, 8, u"\u00E4\u20AC", std::string("\xC3\xA4\xE2\x82\xAC\0\0\0", 8)},
      {1252, 8, u"\u00E4\u20AC", std::string("\xE4\x80\0\0\0\0\0\0", 8)},
      {65001, 3, u"\u00E4b", std::string("\xC3\xA4\0", 3)},  // the terminator replaces "b"
      {65001, 2, u"\u00E4", std::string("\xC3\0", 2)},       // and cuts the sequence of "ä"
  };
  for (const auto& c : cases) {
    char out[10];
    std::memset(out, 'X', sizeof out);
    {
      clsCharsetConversionStringCP conv(c.codePage, out, c.size);
      std::u16string w(c.written);
      std::memcpy(conv.wideBuffer(), w.c_str(), std::min<size_t>(w.size() + 1, c.size) * sizeof(char16_t));
    }
    EXPECT_EQ(std::string(out, c.size), c.expected) << c.codePage << " " << c.size;
    EXPECT_EQ(std::string(out + c.size, sizeof out - c.size), std::string(sizeof out - c.size, 'X'));
  }
}

TEST(CharsetConversion, WideOutputBufferReceivesTheNarrowWorkBuffer) {
  char16_t out[10];
  std::fill(std::begin(out), std::end(out), u'X');
  {
    clsCharsetConversionStringCP c(1251, out, 5);
    ASSERT_NE(c.narrowBuffer(), nullptr);
    EXPECT_EQ(c.wideBuffer(), nullptr);
    std::memcpy(c.narrowBuffer(), "\xCF\xF0\xE8\xE2\xE5", 5);  // "Приве", no terminator
  }
  EXPECT_EQ(std::u16string(out, 5), std::u16string(u"\u041F\u0440\u0438\u0432\0", 5));
  EXPECT_EQ(out[5], u'X');
}

TEST(CharsetConversion, OutputBufferStartsWithItsPresentContent) {
  DefaultCodePageGuard cp(1252);
  char narrowBuf[8] = "\xE4x";
  clsCharsetConversionString n(narrowBuf, 8);
  EXPECT_EQ(W(n.wideBuffer()), u"\u00E4x");

  char16_t wideBuf[8] = u"\u00E4\u20AC";
  clsCharsetConversionString w(wideBuf, 8);
  EXPECT_STREQ(w.narrowBuffer(), "\xE4\x80");

  // The code-page form reads the present content in its own code page.
  char utf8Buf[8] = "\xC3\xA4";
  clsCharsetConversionStringCP u(65001, utf8Buf, 8);
  EXPECT_EQ(W(u.wideBuffer()), u"\u00E4");
}

TEST(CharsetConversion, UnterminatedOutputBufferIsReadOnlyWithinItsSize) {
  DefaultCodePageGuard cp(1252);
  // Exactly four bytes on the heap, no terminator: a read behind them is caught
  // by the address sanitizer.
  std::unique_ptr<char[]> narrowBuf(new char[4]{'a', 'b', 'c', 'd'});
  {
    clsCharsetConversionString c(narrowBuf.get(), 4);
    EXPECT_EQ(W(c.wideBuffer()), u"abc");
  }
  EXPECT_EQ(std::string(narrowBuf.get(), 4), std::string("abc\0", 4));

  std::unique_ptr<char16_t[]> wideBuf(new char16_t[3]{u'x', u'y', u'z'});
  {
    clsCharsetConversionStringCP c(65001, wideBuf.get(), 3);
    EXPECT_STREQ(c.narrowBuffer(), "xy");
  }
  EXPECT_EQ(std::u16string(wideBuf.get(), 3), std::u16string(u"xy\0", 3));
}

TEST(CharsetConversion, ExistingContentLongerThanTheBufferIsCut) {
  // Wide content that becomes longer in UTF-8 than the narrow work buffer holds.
  char16_t wideBuf[4] = u"\u00E4\u00F6\u00FC";
  {
    clsCharsetConversionStringCP c(65001, wideBuf, 4);
    EXPECT_EQ(std::string(c.narrowBuffer()), "\xC3\xA4\xC3");
  }
}

TEST(CharsetConversion, SizeZeroWritesNothingAndReadsNothing) {
  DefaultCodePageGuard cp(1252);
  // The buffer handed over starts at out + 1: a write before or into it shows.
  char out[6] = {'X', 'X', 'X', 'X', 'X', 'X'};
  {
    clsCharsetConversionString c(out + 1, 0);
    EXPECT_EQ(c.size(), 0);
    ASSERT_NE(c.wideBuffer(), nullptr);
    EXPECT_EQ(c.wideBuffer()[0], 0);
  }
  EXPECT_EQ(std::string(out, 6), "XXXXXX");
  {
    clsCharsetConversionString c(out + 1, -5);  // a negative size counts as 0
    EXPECT_EQ(c.size(), 0);
  }
  EXPECT_EQ(std::string(out, 6), "XXXXXX");
  char16_t wout[4] = {u'Y', u'Y', u'Y', u'Y'};
  { clsCharsetConversionString c(wout + 1, 0); }
  EXPECT_EQ(std::u16string(wout, 4), u"YYYY");
}

TEST(CharsetConversion, NullOutputBufferOffersNoWorkBuffer) {
  clsCharsetConversionString n(static_cast<char*>(nullptr), 10);
  EXPECT_EQ(n.wideBuffer(), nullptr);
  EXPECT_EQ(n.wideOrNull(), nullptr);
  EXPECT_STREQ(n.narrow(), "");
  clsCharsetConversionString w(static_cast<char16_t*>(nullptr), 10);
  EXPECT_EQ(w.narrowBuffer(), nullptr);
  EXPECT_EQ(w.narrowOrNull(), nullptr);
}

TEST(CharsetConversion, WriteBackUsesWhatTheCalleeWroteAfterAnEarlierRead) {
  DefaultCodePageGuard cp(1252);
  char out[8] = "old";
  {
    clsCharsetConversionString c(out, 8);
    EXPECT_STREQ(c.narrow(), "old");  // caches a narrow form of the present content
    std::memcpy(c.wideBuffer(), u"new", 4 * sizeof(char16_t));
  }
  EXPECT_STREQ(out, "new");
}

TEST(CharsetConversion, AssignmentWritesBackThenHoldsTheNewText) {
  DefaultCodePageGuard cp(1252);
  char out[8] = {};
  {
    clsCharsetConversionString c(out, 8);
    std::memcpy(c.wideBuffer(), u"first", 6 * sizeof(char16_t));
    c = "\xE4second";
    EXPECT_STREQ(out, "first");
    EXPECT_EQ(c.size(), 0);
    EXPECT_EQ(c.wideBuffer(), nullptr);
    EXPECT_EQ(W(c.wide()), u"\u00E4second");
    std::strcpy(out, "mine");
  }
  EXPECT_STREQ(out, "mine");  // the target was released with the assignment

  clsCharsetConversionString c(u"wide");
  c.Assign("abcdef", 3);
  EXPECT_STREQ(c.narrow(), "abc");
  EXPECT_EQ(W(c.wide()), u"abc");
  c.Assign(nullptr);
  EXPECT_EQ(c.narrowOrNull(), nullptr);
}

// ---- input texts

TEST(CharsetConversion, NullAndEmptyInputs) {
  clsCharsetConversionString none(static_cast<const char*>(nullptr));
  EXPECT_STREQ(none.narrow(), "");
  EXPECT_EQ(W(none.wide()), u"");
  EXPECT_EQ(none.wideOrNull(), nullptr);
  EXPECT_EQ(none.narrowOrNull(), nullptr);

  clsCharsetConversionString wnone(static_cast<const char16_t*>(nullptr));
  EXPECT_EQ(wnone.wideOrNull(), nullptr);

  // An empty narrow text answers with the static empty wide text and stores nothing.
  clsCharsetConversionString empty("");
  EXPECT_EQ(empty.wide(), zx::kEmptyWide);
  ASSERT_NE(empty.wideOrNull(), nullptr);
  EXPECT_EQ(empty.wideOrNull()[0], 0);

  clsCharsetConversionString defaulted;
  EXPECT_EQ(defaulted.wideOrNull(), nullptr);
  EXPECT_EQ(defaulted.codePage(), 0u);
}

TEST(CharsetConversion, InputIsCopied) {
  char text[] = "copy";
  clsCharsetConversionString c(text);
  std::strcpy(text, "gone");
  EXPECT_STREQ(c.narrow(), "copy");
  EXPECT_EQ(W(c.wide()), u"copy");
}

TEST(CharsetConversion, CodePageZeroFollowsStringsDefaultAtConversionTime) {
  {
    DefaultCodePageGuard cp(65001);
    clsCharsetConversionString c("\xC3\xA4");
    EXPECT_EQ(c.EffectiveCodePage(), 65001u);
    EXPECT_EQ(W(c.wide()), u"\u00E4");
  }
  {
    DefaultCodePageGuard cp(1252);
    clsCharsetConversionString c("\xC3\xA4");
    EXPECT_EQ(W(c.wide()), u"\u00C3\u00A4");
  }
  {
    // String's "no conversion" 0 reaches the converter as 0: the ANSI code page.
    DefaultCodePageGuard cp(0);
    clsCharsetConversionString c("\x80\xE4");
    clsCharsetConversionStringCP ansi(plat::AnsiCodePage(), "\x80\xE4");
    EXPECT_EQ(W(c.wide()), W(ansi.wide()));
  }
}

TEST(CharsetConversion, ByteForByteWidensAndNarrowsEachUnit) {
  const uint32_t bytes = clsCharsetConversionString::kByteForByte;
  clsCharsetConversionStringCP n(bytes, "\xE4\x80\xFF" "a");
  EXPECT_EQ(W(n.wide()), u"\u00E4\u0080\u00FFa");
  clsCharsetConversionStringCP w(bytes, u"\u20AC\u00E4b");
  EXPECT_EQ(std::string(w.narrow()), "\xAC\xE4" "b");
}

TEST(CharsetConversion, StringFromNarrowForNarrowCompanions) {
  zx::String s = zx::StringFromNarrow("\xC3\xA4x", zx::kWholeString, 65001);
  EXPECT_EQ(s.View(), u"\u00E4x");
  EXPECT_EQ(zx::StringFromNarrow("\xC3\xA4x", 2, 65001).View(), u"\u00E4");
  EXPECT_EQ(zx::StringFromNarrow("\xE4", -1, clsCharsetConversionString::kByteForByte).View(),
            u"\u00E4");
  zx::String none = zx::StringFromNarrow(nullptr, 5, 1252);
  EXPECT_TRUE(none.IsEmpty());
  EXPECT_TRUE(zx::StringFromNarrow("", 5, 1252).IsEmpty());
  EXPECT_TRUE(zx::StringFromNarrow("abc", 0, 1252).IsEmpty());
}

TEST(CharsetConversion, MultiByteFlags) {
  EXPECT_EQ(zx::MultiByteFlagsFor(65001), 0u);
  EXPECT_EQ(zx::MultiByteFlagsFor(1252), 1u);
  EXPECT_EQ(zx::MultiByteFlagsFor(932), 1u);
  EXPECT_EQ(zx::MultiByteFlagsFor(0), 1u);
}

// The class hands every byte to the platform converter (which the platform tests
// judge against iconv byte by byte) and back: ASCII in UTF-8, and every defined
// byte of 1252 and 1251, up to 63 bytes (straight into the inline storage) and all.
TEST(CharsetConversion, TextAgreesWithTheConverterOverAllBytes) {
  const struct {
    uint32_t codePage;
    int last;
    std::string holes;  // bytes without a character in the code page
  } pages[] = {{65001, 0x7F, ""}, {1252, 0xFF, "\x81\x8D\x8F\x90\x9D"}, {1251, 0xFF, "\x98"}};
  for (const auto& page : pages) {
    std::string bytes;
    for (int b = 0x01; b <= page.last; ++b)
      if (page.holes.find(static_cast<char>(b)) == std::string::npos) bytes += static_cast<char>(b);
    for (size_t len : {size_t{63}, bytes.size()}) {
      SCOPED_TRACE(testing::Message() << page.codePage << ", " << len << " bytes");
      const std::string text = bytes.substr(bytes.size() - len);
      char16_t expected[256] = {};
      const int n = plat::MultiByteToWide(page.codePage, page.codePage == 65001 ? 0 : plat::kMbPrecomposed,
                                          text.data(), static_cast<int>(text.size()), expected, 256);
      ASSERT_EQ(n, static_cast<int>(text.size()));   // one character a byte
      clsCharsetConversionStringCP c(page.codePage, text.c_str());
      EXPECT_EQ(W(c.wide()), std::u16string(expected, static_cast<size_t>(n)));
      clsCharsetConversionStringCP back(page.codePage, c.wide());
      EXPECT_EQ(std::string(back.narrow()), text);
    }
  }
}

// ---- code pages, judged by iconv

TEST(CharsetConversion, CodePageBytesAgreeWithIconv) {
  bool judged = false;
  for (const core_test::CodePageSample& s : core_test::kSamples) {
    SCOPED_TRACE(s.iconvName);
    clsCharsetConversionStringCP toNarrow(s.codePage, s.text);
    std::string ours = toNarrow.narrow();
    EXPECT_EQ(ours, std::string(s.knownBytes));
    clsCharsetConversionStringCP toWide(s.codePage, s.knownBytes);
    EXPECT_EQ(W(toWide.wide()), std::u16string(s.text));

    auto theirs = core_test::Iconv("UTF-16LE", s.iconvName, core_test::Utf16LeBytes(s.text));
    if (!theirs) continue;
    judged = true;
    EXPECT_EQ(ours, *theirs);
    auto back = core_test::Iconv(s.iconvName, "UTF-16LE", ours);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(W(toWide.wide()), core_test::FromUtf16LeBytes(*back));
  }
#if !defined(_WIN32)
  EXPECT_TRUE(judged) << "iconv did not run";
#endif
}
