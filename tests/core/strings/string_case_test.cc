// String's locale case mapping.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "core/registry/Registry.h"
#include "core/strings/String.h"
#include "platform/locale.h"
#include "platform/registry.h"
#include "support/support_test_util.h"

using zx::String;

namespace {

// Points the registry at a folder of its own for one test (Linux; Windows tests
// use the real registry of their prefix).
class ScopedRegistryFolder {
 public:
  ScopedRegistryFolder() {
#ifndef _WIN32
    char dir[] = "/tmp/zxut_strreg_XXXXXX";
    if (!mkdtemp(dir)) return;
    dir_ = dir;
    const char* old = std::getenv("ZXUT_REGISTRY_DIR");
    if (old) old_ = old;
    hadOld_ = old != nullptr;
    setenv("ZXUT_REGISTRY_DIR", dir, 1);
    plat::RegistryReload();
#endif
  }
  ~ScopedRegistryFolder() {
#ifndef _WIN32
    if (dir_.empty()) return;
    std::system(("rm -rf " + dir_).c_str());
    if (hadOld_) setenv("ZXUT_REGISTRY_DIR", old_.c_str(), 1);
    else unsetenv("ZXUT_REGISTRY_DIR");
    plat::RegistryReload();
#endif
  }

 private:
  std::string dir_, old_;
  bool hadOld_ = false;
};

TEST(StringCase, UpperAndLower) {
  String s(u"Stra\u00DFe \u00E4\u00F6\u00FC abc");
  s.ToUpper();
  // Sharp s has no single upper-case letter; the mapping keeps the length.
  EXPECT_EQ(s.View(), u"STRA\u00DFE \u00C4\u00D6\u00DC ABC");
  s.ToLower();
  EXPECT_EQ(s.View(), u"stra\u00DFe \u00E4\u00F6\u00FC abc");
  String greek(u"\u03A3\u0399\u03A3");
  greek.ToLower();
  EXPECT_EQ(greek.Length(), 3);
  EXPECT_EQ(greek.GetAt(1), u'\u03B9');
}

TEST(StringCase, EmptyDoesNothingAndCopiesStay) {
  String e;
  EXPECT_EQ(e.MapString(0x1000200, plat::kLocaleUserDefault), 0);
  EXPECT_EQ(e.Capacity(), 0);
  String a(u"keep");
  String b(a);
  b.ToUpper();
  EXPECT_EQ(a.View(), u"keep");
  EXPECT_EQ(b.View(), u"KEEP");
}

TEST(StringCase, LongTextsGoThroughTheHeap) {
  std::u16string text(500, u'a');
  text += u"\u00E9";
  String s(text.c_str());
  EXPECT_EQ(s.MapString(0x1000200, plat::kLocaleUserDefault), 502);   // with terminator
  EXPECT_EQ(s.Length(), 501);
  EXPECT_EQ(s.GetAt(0), u'A');
  EXPECT_EQ(s.GetAt(500), u'\u00C9');
}

TEST(StringCase, FailureKeepsTheTextAndReports) {
  zxsupport::DiagCapture diag;
  String s(u"text");
  // Upper and lower at once is not a valid request.
  EXPECT_EQ(s.MapString(plat::kLcMapUppercase | plat::kLcMapLowercase, plat::kLocaleUserDefault), 0);
  EXPECT_EQ(s.View(), u"text");
  ASSERT_EQ(diag.Lines().size(), 1u);
  const std::u16string line = diag.Lines()[0];
  EXPECT_EQ(line.rfind(u"ERR: String::LCMapString[Ex](0x300) failed: 5/0/0 : ", 0), 0u) << std::string(line.begin(), line.end());
  const std::u16string tail = u"! (Even if SUCCEEDED is returned, the result is garbage)";
  ASSERT_GE(line.size(), tail.size());
  EXPECT_EQ(line.substr(line.size() - tail.size()), tail);
}

TEST(StringCase, InvariantLocaleFlavour) {
  zx::ResetMapStringFlavourForTests();
  EXPECT_EQ(zx::MapStringFlavour(plat::kLocaleUserDefault), 1);
  const int f = zx::MapStringFlavour(plat::kLocaleInvariant);
  EXPECT_EQ(f, plat::SystemVersion() >= 0x0601 ? 2 : 1);
  String s(u"invariant i");
  s.MapString(plat::kLcMapUppercase, plat::kLocaleInvariant);
  EXPECT_EQ(s.View(), u"INVARIANT I");
}

TEST(StringCase, ExtendedMapperOnVistaOnlyWhenEnabled) {
  EXPECT_EQ(zx::DecideMapStringFlavour(0x0502), 1);
  EXPECT_EQ(zx::DecideMapStringFlavour(0x0601), 2);
  EXPECT_EQ(zx::DecideMapStringFlavour(0x0A00), 2);
  ScopedRegistryFolder folder;
  const char16_t* key = u"software\\zarnik";
  // Only the local machine's value counts, and only when it begins with "T".
  if (zx::RegWriteString(plat::Hive::LocalMachine, key, u"EnableMapStringEx", u"False") != 0)
    GTEST_SKIP() << "the local machine's registry is not writable here";
  EXPECT_EQ(zx::DecideMapStringFlavour(0x0600), 1);
  zx::RegWriteString(plat::Hive::LocalMachine, key, u"EnableMapStringEx", u"True");
  EXPECT_EQ(zx::DecideMapStringFlavour(0x0600), 2);
  plat::DeleteRegValue(plat::Hive::LocalMachine, key, u"EnableMapStringEx");
  EXPECT_EQ(zx::DecideMapStringFlavour(0x0600), 1);
}

}  // namespace
