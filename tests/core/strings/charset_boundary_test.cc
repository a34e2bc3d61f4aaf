// The ASCII shortcut of the converter ends at the first unit >= 0x80: each first
// non-ASCII character (and the last ASCII one) of 1252 and UTF-8 is converted
// after, before and between ASCII runs of many lengths, so that the shortcut, the
// converter and the inline/heap storage each meet it at every offset. The
// characters are judged by iconv.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/strings/CharsetConversion.h"
#include "core_test_util.h"

using zx::clsCharsetConversionStringCP;

namespace {

struct Boundary {
  uint32_t codePage;
  const char* iconvName;
  const char* bytes;
  const char16_t* text;
};

const Boundary kBoundaries[] = {
    {1252, "CP1252", "\x7F", u"\u007F"},
    {1252, "CP1252", "\x80", u"\u20AC"},
    {1252, "CP1252", "\x9F", u"\u0178"},
    {1252, "CP1252", "\xA0", u"\u00A0"},
    {1252, "CP1252", "\xFF", u"\u00FF"},
    {65001, "UTF-8", "\x7F", u"\u007F"},
    {65001, "UTF-8", "\xC2\x80", u"\u0080"},
    {65001, "UTF-8", "\xDF\xBF", u"\u07FF"},
    {65001, "UTF-8", "\xE0\xA0\x80", u"\u0800"},
    {65001, "UTF-8", "\xE2\x82\xAC", u"\u20AC"},
    {65001, "UTF-8", "\xEF\xBF\xBD", u"\uFFFD"},
    {65001, "UTF-8", "\xF0\x90\x80\x80", u"\U00010000"},
};

const int kRuns[] = {0, 1, 3, 7, 8, 9, 15, 16, 17, 31, 32, 33, 62, 63, 64, 65, 127, 128};

TEST(CharsetBoundary, IconvAgreesWithTheBoundaryCharacters) {
  for (const Boundary& b : kBoundaries) {
    SCOPED_TRACE(b.iconvName + std::string(" ") + b.bytes);
    auto wide = core_test::Iconv(b.iconvName, "UTF-16LE", b.bytes);
#if defined(_WIN32)
    (void)wide;
#else
    ASSERT_TRUE(wide.has_value()) << "iconv did not run";
    EXPECT_EQ(core_test::FromUtf16LeBytes(*wide), std::u16string(b.text));
#endif
  }
}

TEST(CharsetBoundary, FirstNonAsciiCharacterNextToAsciiRunsBothWays) {
  for (const Boundary& b : kBoundaries) {
    for (int before : kRuns) {
      for (int after : {0, 1, 8, 17, 64}) {
        const std::string bytes = std::string(before, 'a') + b.bytes + std::string(after, 'b');
        const std::u16string text = std::u16string(before, u'a') + b.text + std::u16string(after, u'b');
        SCOPED_TRACE(std::string(b.iconvName) + " " + std::to_string(before) + "+" + std::to_string(after) + " " +
                     std::to_string(static_cast<unsigned char>(b.bytes[0])));
        clsCharsetConversionStringCP toWide(b.codePage, bytes.c_str());
        EXPECT_EQ(std::u16string(toWide.wide()), text);
        clsCharsetConversionStringCP toNarrow(b.codePage, text.c_str());
        EXPECT_EQ(std::string(toNarrow.narrow()), bytes);
      }
    }
  }
}

// Two boundary characters with ASCII between them: the shortcut must not resume
// after the first one.
TEST(CharsetBoundary, AsciiBetweenTwoNonAsciiCharacters) {
  for (const Boundary& b : kBoundaries) {
    for (int between : kRuns) {
      const std::string bytes = std::string(b.bytes) + std::string(between, 'x') + b.bytes;
      const std::u16string text = std::u16string(b.text) + std::u16string(between, u'x') + b.text;
      SCOPED_TRACE(std::string(b.iconvName) + " " + std::to_string(between));
      clsCharsetConversionStringCP toWide(b.codePage, bytes.c_str());
      EXPECT_EQ(std::u16string(toWide.wide()), text);
      clsCharsetConversionStringCP toNarrow(b.codePage, text.c_str());
      EXPECT_EQ(std::string(toNarrow.narrow()), bytes);
    }
  }
}

}  // namespace
