// In developer mode ("user" is "zrk") a failed open writes its line. The
// variable is set before any test runs, since the mode is read once.
#include <gtest/gtest.h>

#include <cstdlib>

#include "debug/DebugChannel.h"
#include "file/File.h"
#include "file_test_util.h"

using namespace zx;
using ftest::Str;

namespace {

const bool kDeveloperModeSet = [] {
#ifdef _WIN32
  SetEnvironmentVariableW(L"user", L"zrk");
#else
  setenv("user", "zrk", 1);
#endif
  return true;
}();

}  // namespace

TEST(FileDeveloperMode, AFailedOpenWritesItsLine) {
  ASSERT_TRUE(kDeveloperModeSet);
  ASSERT_TRUE(DeveloperMode());
  ftest::ScratchDir dir;
  ftest::DiagCapture diag;
  const String missing = Str(dir / "absent.txt");
  clsFile f(missing, 0, 0, 2, 0x100);
  EXPECT_FALSE(f.IsOpen());
  String expected(kFormat, u"clsFile::Open('%s') failed: '%s'", missing.wchar(), ftest::ErrorText(2).c_str());
  EXPECT_TRUE(diag.Contains(std::u16string(expected.View()))) << expected.narrow();

  clsFile reserved(String(u"NUL"), 0, 0, 2, 0x100);
  EXPECT_TRUE(diag.Contains(u"clsFile::Open('NUL') failed: 'file name is reserved by Windows'"));
  const size_t before = diag.lines().size();
  clsFile good(Str(dir / "made.txt"), 2, 2, 0, 0x100);
  EXPECT_TRUE(good.IsOpen());
  EXPECT_EQ(before, diag.lines().size());   // a good open is silent
}
