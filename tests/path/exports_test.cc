// The path exports at the C boundary: rooms, BSTR results, the narrow forms.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "path_test_util.h"
#include "platform/bstr.h"
#include "zxUT22.h"

using pathtest::Rep;

namespace {

std::u16string U(const WCHAR* s) { return std::u16string(reinterpret_cast<const char16_t*>(s)); }
LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }

TEST(PathExports, SplitAndMergeWithTheirRooms) {
  WCHAR drive[ZXUT_MAX_DRIVE], dir[ZXUT_MAX_DIR], name[ZXUT_MAX_FNAME], ext[ZXUT_MAX_EXT], out[ZXUT_MAX_PATH];
  EXPECT_EQ(UtilSplitpath(W(u"D:\\x\\y.z"), drive, dir, name, ext), 0);
  EXPECT_EQ(U(drive), u"D:");
  EXPECT_EQ(U(dir), u"\\x\\");
  EXPECT_EQ(UtilSplitpath(W(u"D:\\x\\y.z"), nullptr, nullptr, name, nullptr), 0);
  EXPECT_EQ(U(name), u"y");
  EXPECT_EQ(UtilSplitpath(nullptr, drive, dir, name, ext), 22);
  const std::u16string longName = Rep(u"n", 256);
  EXPECT_EQ(UtilSplitpath(W(longName.c_str()), drive, dir, name, ext), 34);
  EXPECT_EQ(UtilMergepath(out, W(u"D"), W(u"\\x"), W(u"y"), W(u"z")), 0);
  EXPECT_EQ(U(out), u"D:\\x\\y.z");
  EXPECT_EQ(UtilMergepath(out, nullptr, nullptr, W(longName.c_str()), W(u"ext")), 34);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(UtilMergepath(nullptr, W(u"D"), nullptr, nullptr, nullptr), 22);
}

TEST(PathExports, FullpathFillsOrEmpties) {
  WCHAR out[32] = {'?'};
  UtilFullpath(out, W(u"C:\\a\\..\\b\\.\\c"), 32);
  EXPECT_EQ(U(out), u"C:\\b\\c");
  UtilFullpath(out, W(u"C:\\a\\..\\b\\.\\c"), 6);
  EXPECT_EQ(out[0], 0);
  UtilFullpath(nullptr, W(u"C:\\a"), 32);   // nothing to fill: no fault
}

TEST(PathExports, BstrResultsAllocateReplaceOrDrop) {
  BSTR result = nullptr;
  EXPECT_EQ(UtilEnsureUNCPath(W(u"\\\\srv\\share\\.\\a"), &result), 0);
  ASSERT_NE(result, nullptr);
  EXPECT_EQ(U(result), u"\\\\srv\\share\\a");
  EXPECT_EQ(plat::SysLen(reinterpret_cast<plat::Bstr>(result)), 13u);
  EXPECT_EQ(UtilEnsureLocalPath(W(u"C:\\q\\..\\r"), &result), 0);   // replaces
  EXPECT_EQ(U(result), u"C:\\r");
  EXPECT_EQ(UtilExpandDefaultTokensOfFolderPath(W(u"plain"), &result), 1);
  EXPECT_EQ(U(result), u"plain");
  plat::SysFree(reinterpret_cast<plat::Bstr>(result));
  EXPECT_EQ(UtilExpandDefaultTokensOfFolderPath(nullptr, &result), 0);
  EXPECT_EQ(UtilExpandDefaultTokensOfFolderPath(W(u"plain"), nullptr), 1);
  EXPECT_EQ(UtilEnsureUNCPath(W(u"\\\\srv\\share"), nullptr), 0);
}

TEST(PathExports, NarrowFormsCopyWhenTheTextFits) {
  char out[32];
  std::memset(out, '#', sizeof out);
  EXPECT_EQ(UtilEnsureUNCPathForWise("\\\\srv\\share\\.\\a", out, 32), 0u);
  EXPECT_STREQ(out, "\\\\srv\\share\\a");
  std::memset(out, '#', sizeof out);
  // 13 characters need a room of 14.
  EXPECT_EQ(UtilEnsureUNCPathForWise("\\\\srv\\share\\a", out, 13), 13u);
  EXPECT_EQ(out[0], '#');
  EXPECT_EQ(UtilEnsureUNCPathForWise("\\\\srv\\share\\a", out, 14), 0u);
  EXPECT_STREQ(out, "\\\\srv\\share\\a");
  EXPECT_EQ(UtilEnsureLocalPathForWise("C:\\x\\\xe4", out, 32), 0u);   // code page 1252 both ways
  EXPECT_STREQ(out, "C:\\x\\\xe4");
  // A share path asks the network, which a machine may not let us list (wine).
  const DWORD rc = UtilEnsureLocalPathForWise("\\\\srv\\share\\a", out, 14);
  EXPECT_TRUE(rc == 0 || rc == static_cast<DWORD>(-1)) << rc;
  if (rc == 0) {
    EXPECT_STREQ(out, "\\\\srv\\share\\a");
  }
}

TEST(PathExports, FSInfoAndClassify) {
  UTIL_FSINFO info = {24, 1, 1, 1, 1};
  EXPECT_EQ(UtilGetFSInfo(nullptr, &info), 64u);
  EXPECT_EQ(info.dwMaxPath, 1u);
  info.dwSize = sizeof info;
  const DWORD rc = UtilGetFSInfo(nullptr, &info);
  EXPECT_EQ(rc, info.dwFlags & ZXUT_FS_CASE_SENSITIVE);
  EXPECT_EQ(info.dwMaxPath, 260u);
  EXPECT_EQ(UtilClassifyPath(W(u"lpt1:")), 3);
  EXPECT_EQ(UtilClassifyPath(W(u"Com2:")), 4);
  EXPECT_EQ(UtilClassifyPath(W(u"USB:x")), 6);
  EXPECT_EQ(UtilClassifyPath(nullptr), 0);
}

}  // namespace
