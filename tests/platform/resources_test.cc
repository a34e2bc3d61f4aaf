// String resources per language and their fallback by language.
#include <gtest/gtest.h>

#include <string>

#include "platform/errors.h"
#include "platform/resources.h"
#include "platform_test_util.h"

using namespace plat;
#ifndef _WIN32
using ptest::ScopedLocaleEnv;
#endif

TEST(Resources, BlocksPerLanguageWithEmptyEntries) {
  std::u16string text;
  ASSERT_TRUE(FindStringResource(LibraryModule(), 1, 0x0409, text));
  EXPECT_EQ(text, u"zxUT22 Utility Library");
  ASSERT_TRUE(FindStringResource(nullptr, 1, 0x0407, text));
  EXPECT_EQ(text, u"zxUT22 Hilfsbibliothek");
  ASSERT_TRUE(FindStringResource(nullptr, 3, 0x0407, text));
  EXPECT_EQ(text, u"Fehler %1!d! in %2");
  // The block exists, the entry does not: found, and empty.
  ASSERT_TRUE(FindStringResource(nullptr, 9, 0x0407, text));
  EXPECT_EQ(text, u"");
  // Block 2 (ids 16..31) exists only in English.
  plat::SetLastError(0);
  EXPECT_FALSE(FindStringResource(nullptr, 17, 0x0407, text));
  EXPECT_EQ(plat::LastError(), kErrResourceLangNotFound);
  EXPECT_TRUE(FindStringResource(nullptr, 17, 0x0409, text));
  // No language has block 3.
  EXPECT_FALSE(FindStringResource(nullptr, 40, 0x0409, text));
  EXPECT_EQ(plat::LastError(), kErrResourceNameNotFound);
  // A language the table lacks altogether.
  EXPECT_FALSE(FindStringResource(nullptr, 1, 0x040C, text));
}

#ifndef _WIN32
TEST(Resources, LoadStringFallsBackByLanguage) {
  std::u16string text;
  {
    ScopedLocaleEnv env(nullptr, "de_AT.UTF-8");   // same primary language
    ASSERT_TRUE(LoadStringResource(nullptr, 2, text));
    EXPECT_EQ(text, u"%1 von %2");
    ASSERT_TRUE(LoadStringResource(nullptr, 17, text));   // English only
    EXPECT_EQ(text, u"The operation is not available in this language.");
  }
  {
    ScopedLocaleEnv env(nullptr, "fr_FR.UTF-8");
    ASSERT_TRUE(LoadStringResource(nullptr, 2, text));
    EXPECT_EQ(text, u"%1 of %2");
  }
  EXPECT_FALSE(LoadStringResource(nullptr, 9, text));    // empty entry
  EXPECT_FALSE(LoadStringResource(nullptr, 400, text));  // no block
  EXPECT_EQ(plat::LastError(), kErrResourceNameNotFound);
}
#endif
