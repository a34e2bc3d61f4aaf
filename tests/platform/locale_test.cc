// Locale comparison, case mapping and data; the user's language.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>
#include <string>
#include <utility>

#include "platform/codepage.h"
#include "platform/errors.h"
#include "platform/locale.h"
#include "platform_test_util.h"

using namespace plat;
#ifndef _WIN32
using ptest::ScopedLocaleEnv;
#endif

namespace {

constexpr uint32_t kGermanLcid = 0x0407;
constexpr uint32_t kEnglishLcid = 0x0409;
constexpr uint32_t kTurkishLcid = 0x041F;

std::u16string Map(uint32_t lcid, uint32_t flags, const std::u16string& s) {
  std::u16string out(s.size(), u'#');
  int n = MapStringLocale(lcid, flags, s.data(), static_cast<int>(s.size()), out.data(),
                          static_cast<int>(out.size()));
  EXPECT_EQ(n, static_cast<int>(s.size()));
  return out;
}

std::u16string Info(uint32_t lcid, uint32_t type) {
  char16_t buf[128];
  int n = LocaleInfo(lcid, type, buf, 128);
  if (n <= 0) return u"<fail>";
  EXPECT_EQ(buf[n - 1], 0);
  EXPECT_EQ(n, LocaleInfo(lcid, type, nullptr, 0));   // the size query agrees
  return std::u16string(buf, static_cast<size_t>(n - 1));
}


}  // namespace

TEST(Locale, CompareWithAndWithoutCaseAndItsFailures) {
  const struct {
    uint32_t lcid, flags;
    const char16_t* a;
    int la;
    const char16_t* b;
    int lb, expected;
  } cases[] = {
      {kEnglishLcid, 0, u"apple", -1, u"Banana", -1, 1},
      {kEnglishLcid, 0, u"abc", -1, u"ABC", -1, 1},   // lower first
      {kEnglishLcid, kNormIgnoreCase, u"abc", -1, u"ABC", -1, 2},
      {kEnglishLcid, kNormIgnoreCase, u"abd", -1, u"ABC", -1, 3},
      {kEnglishLcid, 0, u"abcX", 3, u"abcY", 3, 2},   // counted lengths compare only that much
      // Accents count without NORM_IGNORENONSPACE.
      {kGermanLcid, kNormIgnoreCase | kNormIgnoreNonSpace, u"\u00E4", -1, u"A", -1, 2},
      // Sharp s equals "ss" when case is ignored, as the system compares it.
      {kGermanLcid, kNormIgnoreCase, u"Stra\u00DFe", -1, u"STRASSE", -1, 2},
      {kGermanLcid, 0, u"\u00C4pfel", -1, u"Birne", -1, 1},   // the umlaut sorts with its base letter
      {kLocaleUserDefault, kNormIgnoreCase, u"x", -1, u"X", -1, 2},
      {kLocaleInvariant, kNormIgnoreCase, u"x", -1, u"X", -1, 2},
  };
  for (const auto& c : cases)
    EXPECT_EQ(CompareStringLocale(c.lcid, c.flags, c.a, c.la, c.b, c.lb), c.expected) << plat::Utf16ToUtf8(c.a);
  EXPECT_NE(CompareStringLocale(kGermanLcid, kNormIgnoreCase, u"\u00E4", -1, u"a", -1), 2);
  EXPECT_FAILS_WITH(CompareStringLocale(kEnglishLcid, 0, nullptr, -1, u"a", -1), kErrInvalidParameter);
#ifndef _WIN32   // the system (and wine) may accept unknown bits
  EXPECT_FAILS_WITH(CompareStringLocale(kEnglishLcid, 0x40000000, u"a", -1, u"a", -1), kErrInvalidFlags);
#endif
}

TEST(Locale, CaseMappingOneForOne) {
  const uint32_t upper = kLcMapUppercase | kLcMapLinguisticCasing;
  const uint32_t lower = kLcMapLowercase | kLcMapLinguisticCasing;
  // The sharp s has no one-letter capital: it stays, and the length never changes.
  EXPECT_EQ(Map(kGermanLcid, upper, u"stra\u00DFe \u00E4\u00F6\u00FC"), u"STRA\u00DFE \u00C4\u00D6\u00DC");
  EXPECT_EQ(Map(kGermanLcid, lower, u"\u00C4RGER \u0141\u00D3D\u0179"), u"\u00E4rger \u0142\u00F3d\u017A");
  EXPECT_EQ(Map(kEnglishLcid, kLcMapUppercase, u"\U00010428x"), u"\U00010400X");   // a surrogate pair
  EXPECT_EQ(Map(kLocaleInvariant, kLcMapUppercase, u"i\u00E9"), u"I\u00C9");
}

TEST(Locale, TurkishDottedAndDotlessIWithLinguisticCasing) {
  EXPECT_EQ(Map(kTurkishLcid, kLcMapUppercase | kLcMapLinguisticCasing, u"i\u0131"), u"\u0130I");
  EXPECT_EQ(Map(kTurkishLcid, kLcMapLowercase | kLcMapLinguisticCasing, u"I\u0130"), u"\u0131i");
  EXPECT_EQ(MapStringLocaleEx(u"tr-TR", kLcMapUppercase | kLcMapLinguisticCasing, u"i", 1, nullptr, 0), 1);
  char16_t out[2] = {};
  EXPECT_EQ(MapStringLocaleEx(u"tr-TR", kLcMapUppercase | kLcMapLinguisticCasing, u"i", 1, out, 2), 1);
  EXPECT_EQ(out[0], 0x0130);
  EXPECT_EQ(MapStringLocaleEx(u"", kLcMapUppercase | kLcMapLinguisticCasing, u"i", 1, out, 2), 1);
  EXPECT_EQ(out[0], u'I');
}

TEST(Locale, MapStringSizesBuffersAndFlags) {
  // -1 counts the terminator; a size query answers that count.
  EXPECT_EQ(MapStringLocale(kEnglishLcid, kLcMapUppercase, u"abc", -1, nullptr, 0), 4);
  char16_t buf[8];
  EXPECT_EQ(MapStringLocale(kEnglishLcid, kLcMapUppercase, u"abc", -1, buf, 8), 4);
  EXPECT_EQ(std::u16string(buf), u"ABC");
  EXPECT_FAILS_WITH(MapStringLocale(kEnglishLcid, kLcMapUppercase, u"abc", -1, buf, 3), kErrInsufficientBuffer);
  EXPECT_FAILS_WITH(MapStringLocale(kEnglishLcid, kLcMapUppercase | kLcMapLowercase, u"abc", 3, buf, 8),
                    kErrInvalidFlags);
  EXPECT_FAILS_WITH(MapStringLocale(kEnglishLcid, kLcMapUppercase, nullptr, 3, buf, 8), kErrInvalidParameter);
  // In place.
  char16_t inPlace[] = u"mixed Case";
  EXPECT_EQ(MapStringLocale(kEnglishLcid, kLcMapLowercase, inPlace, -1, inPlace, 11), 11);
  EXPECT_EQ(std::u16string(inPlace), u"mixed case");
}

TEST(Locale, LocaleInfo) {
  const struct {
    uint32_t lcid, type;
    const char16_t* text;
  } cases[] = {
      {kGermanLcid, kLocaleSName, u"de-DE"},           {kGermanLcid, kLocaleSIso639LangName, u"de"},
      {kGermanLcid, kLocaleSIso3166CtryName, u"DE"},   {kGermanLcid, kLocaleSEngLanguage, u"German"},
      {kGermanLcid, kLocaleSEngCountry, u"Germany"},   {kGermanLcid, kLocaleSNativeLangName, u"Deutsch"},
      {kGermanLcid, kLocaleSNativeCtryName, u"Deutschland"}, {kGermanLcid, kLocaleILanguage, u"0407"},
      {kGermanLcid, kLocaleIDefaultAnsiCodePage, u"1252"},   {kGermanLcid, kLocaleIDefaultCodePage, u"850"},
      {kEnglishLcid, kLocaleIDefaultCodePage, u"437"},       {0x0419, kLocaleIDefaultAnsiCodePage, u"1251"},
      {0x0411, kLocaleIDefaultAnsiCodePage, u"932"},         {kGermanLcid, kLocaleSDecimal, u","},
      {kGermanLcid, kLocaleSThousand, u"."},                 {kEnglishLcid, kLocaleSDecimal, u"."},
      {kTurkishLcid, kLocaleSName, u"tr-TR"},
  };
  for (const auto& c : cases) EXPECT_EQ(Info(c.lcid, c.type), c.text) << std::hex << c.lcid << " " << c.type;
  char16_t buf[4];
  EXPECT_EQ(LocaleInfo(kGermanLcid, kLocaleIDefaultAnsiCodePage | kLocaleReturnNumber, buf, 4), 2);
  uint32_t n;
  std::memcpy(&n, buf, 4);
  EXPECT_EQ(n, 1252u);
  EXPECT_FAILS_WITH(LocaleInfo(kGermanLcid, kLocaleSEngLanguage, buf, 4), kErrInsufficientBuffer);
}

TEST(Locale, SystemVersionIsAtLeastSixOne) { EXPECT_GE(SystemVersion(), 0x0601u); }

#ifndef _WIN32
TEST(Locale, UserLanguageFromTheEnvironment) {
  {
    ScopedLocaleEnv env(nullptr, "de_DE.UTF-8");
    EXPECT_EQ(UserDefaultLangID(), 0x0407);
    EXPECT_EQ(UserDefaultUILanguage(), 0x0407);
    EXPECT_EQ(Info(kLocaleUserDefault, kLocaleSName), u"de-DE");
    // The user's locale drives comparison with the default LCID.
    EXPECT_EQ(CompareStringLocale(kLocaleUserDefault, 0, u"\u00E4", -1, u"b", -1), 1);
  }
  const struct {
    const char *lcAll, *lang;
    uint16_t expected;
  } cases[] = {
      {"fr_CH.UTF-8@euro", "de_DE.UTF-8", 0x100C},   // LC_ALL wins
      {nullptr, "de", 0x0407},                       // a bare language gets its usual country
      {nullptr, "xx_YY", 0x0409},                    // unknown to the system
      {nullptr, "C", 0x0409},
      {nullptr, nullptr, 0x0409},
  };
  for (const auto& c : cases) {
    ScopedLocaleEnv env(c.lcAll, c.lang);
    EXPECT_EQ(UserDefaultLangID(), c.expected) << (c.lang ? c.lang : "(none)");
    EXPECT_EQ(UserDefaultUILanguage(), c.expected) << (c.lang ? c.lang : "(none)");
  }
}
#endif
