// The path services: normalising, the network mapping where no network is
// involved, folder tokens of the environment, target kinds, volume facts and the
// find class.
#include <gtest/gtest.h>

#include <string>

#include "path/FileFind.h"
#include "path/PathServices.h"
#include "path_test_util.h"
#include "platform/path.h"

using namespace zx;
using pathtest::Ascii;
using pathtest::Rep;
using pathtest::U16;

namespace {

String S(std::u16string_view s) { return String(s); }
std::u16string Std(const String& s) { return std::u16string(s.View()); }
std::u16string Native(const zxsupport::fs::path& p) { return U16(p.string()); }

TEST(NormalizePath, DriveAndShareFormsAndTheRoomLimit) {
  EXPECT_EQ(Std(NormalizePath(S(u"C:\\a\\.\\b"))), u"C:\\a\\b");
  EXPECT_EQ(Std(NormalizePath(S(u"C:\\a\\..\\..\\b\\"))), u"C:\\b\\");
  EXPECT_EQ(Std(NormalizePath(S(u"\\\\srv\\share\\x\\..\\y"))), u"\\\\srv\\share\\y");
  // A full path of 260 characters or more isn't formed: the path comes back as given.
  const std::u16string longPath = u"C:\\" + Rep(u"abc\\", 65) + u".\\x";   // 264 when resolved
  EXPECT_EQ(Std(NormalizePath(S(longPath))), longPath);
  const std::u16string fits = u"C:\\" + Rep(u"abc\\", 63) + u"..\\x";   // 255 when resolved
  EXPECT_EQ(Std(NormalizePath(S(fits))), u"C:\\" + Rep(u"abc\\", 62) + u"x");
}

// The shell's canonicaliser is bound where the system has one (Windows), and
// missing (false, nothing written) where it hasn't.
TEST(NormalizePath, TheShellCanonicaliserWhereThereIsOne) {
  std::u16string out = u"untouched";
  const bool bound = plat::CanonicalizePath(u"C:\\a\\.\\b\\..\\c", out);
#ifdef _WIN32
  ASSERT_TRUE(bound);
  EXPECT_EQ(out, u"C:\\a\\c");
  EXPECT_FALSE(plat::CanonicalizePath(u"C:\\" + Rep(u"x", 300), out));   // beyond its room
#else
  EXPECT_FALSE(bound);
  EXPECT_EQ(out, u"untouched");
#endif
}

TEST(EnsureUNCPath, SharePathsComeBackNormalised) {
  String out;
  EXPECT_EQ(EnsureUNCPath(S(u"\\\\srv\\share\\a\\.\\b"), out), 0);
  EXPECT_EQ(Std(out), u"\\\\srv\\share\\a\\b");
}

TEST(EnsureLocalPath, PathsWithoutAShareComeBackNormalised) {
  String out;
  EXPECT_EQ(EnsureLocalPath(S(u"C:\\x\\.\\y"), out), 0);
  EXPECT_EQ(Std(out), u"C:\\x\\y");
}

TEST(ExpandTokens, EnvironmentAndUnknownNames) {
#ifdef _WIN32
  _putenv_s("ZXUT_TOKEN", "C:\\tok");
#else
  zxsupport::ScopedEnv env({{"ZXUT_TOKEN", "C:\\tok"}, {"ZXUT_NOSUCH", nullptr}});
#endif
  const struct {
    std::u16string in, out;
  } cases[] = {
      {u"%ZXUT_TOKEN%\\x", u"C:\\tok\\x"},
      {u"a%ZXUT_TOKEN%b%ZXUT_TOKEN%", u"aC:\\tokbC:\\tok"},
      {u"%ZXUT_NOSUCH%\\x", u"%ZXUT_NOSUCH%\\x"},
      {u"%ZXUT_NOSUCH%ZXUT_TOKEN%", u"%ZXUT_NOSUCH%ZXUT_TOKEN%"},
      {u"%ZXUT_NOSUCH%%ZXUT_TOKEN%", u"%ZXUT_NOSUCH%C:\\tok"},
      {u"no tokens", u"no tokens"},
      {u"100%", u"100%"},
      {u"%%", u"%%"},
      {u"%", u"%"},
  };
  for (const auto& c : cases) EXPECT_EQ(Std(ExpandDefaultTokensOfFolderPath(S(c.in))), c.out) << Ascii(c.in);
}

TEST(ClassifyPath, PortsFilesAndFolders) {
#ifdef _WIN32
  const int32_t kDevice = kPathKindFile;   // the system's attributes of a device name
#else
  const int32_t kDevice = kPathKindNone;
#endif
  zxsupport::ScratchDir dir("classify");
  zxsupport::WriteBytes(dir / "f.txt", "x");
  const std::u16string folder = Native(dir.path()), file = Native(dir / "f.txt");
  const struct {
    std::u16string in;
    int32_t kind;
  } cases[] = {
      {u"lpt1:", kPathKindPrinterPort}, {u"LPT12:", kPathKindPrinterPort}, {u"lpt1:x", kDevice},
      {u"lpt:", kPathKindNone},         {u"COM3:", kPathKindSerialPort},  {u"com3", kDevice},
      {u"usb:", kPathKindUsb},          {u"USB:printer 2", kPathKindUsb}, {folder, kPathKindFolder},
      {file, kPathKindFile},            {u"FILE:" + file, kPathKindFile}, {u"file:" + folder, kPathKindFolder},
      {u"FILE:" + file + u".no", kPathKindNone}, {file + u".no", kPathKindNone}, {u"", kPathKindNone},
  };
  for (const auto& c : cases) EXPECT_EQ(ClassifyPath(S(c.in)), c.kind) << Ascii(c.in);
}

TEST(GetFSInfo, WrongSizeLeavesTheBlockAndFactsAgree) {
  scFSInfo info{24, 7, 7, 7, 7};
  EXPECT_EQ(GetFSInfo(S(u""), &info), kFSInfoWrongSize);
  EXPECT_EQ(info.dwMaxPath, 7u);
  EXPECT_EQ(info.dwFlags, 7u);
  EXPECT_EQ(GetFSInfo(S(u""), nullptr), kFSInfoWrongSize);

  zxsupport::ScratchDir dir("fsinfo");
  info = {20, 0, 0, 0, 0};
  const uint32_t rc = GetFSInfo(S(Native(dir.path())), &info);
  EXPECT_EQ(info.dwMaxPath, 260u);
  if (zxsupport::UnderWine() && info.dwMaxComponent == 0) return;   // wine can't ask the build machine's volume
  EXPECT_EQ(info.dwMaxDrive, 3u);
  EXPECT_GE(info.dwMaxComponent, 255u);
  EXPECT_EQ(rc, info.dwFlags & kFSInfoCaseSensitive);
  EXPECT_TRUE(info.dwFlags & kFSInfoLongNames);
  EXPECT_TRUE(info.dwFlags & kFSInfoCasePreserved);
#ifndef _WIN32
  EXPECT_EQ(rc, 1u);   // the build machine's scratch folder is on a case-sensitive file system
#endif
  // A volume that can't be asked.
  info = {20, 0, 0, 9, 9};
  EXPECT_EQ(GetFSInfo(S(Native(dir / "missing" / "deeper")), &info), 0u);
  EXPECT_EQ(info.dwMaxComponent, 0u);
  EXPECT_EQ(info.dwFlags, 0u);
}

std::vector<std::u16string> FindAll(const std::u16string& pattern, bool dirsOnly, const char16_t* filter = nullptr) {
  clsFileFind find(S(pattern), dirsOnly);
  if (filter) {
    EXPECT_TRUE(find.SetFilter(S(filter), 1));
  }
  std::vector<std::u16string> names;
  while (find.Next()) names.push_back(Std(find.Name()));
  std::sort(names.begin(), names.end());
  return names;
}

TEST(FileFind, ExtensionsFoldersAndFilters) {
  zxsupport::ScratchDir dir("find");
  for (const char* name : {"a.htm", "b.html", "c.HTM", "_22_x.tmp", "_22_activity.signal"})
    zxsupport::WriteBytes(dir / name, "x");
  zxsupport::fs::create_directory(dir / "sub.htm");
  const std::u16string base = Native(dir.path()) + u"/";
  using V = std::vector<std::u16string>;
  EXPECT_EQ(FindAll(base + u"*.htm", false), (V{u"a.htm", u"c.HTM", u"sub.htm"}));
  EXPECT_EQ(FindAll(base + u"*", true), (V{u"sub.htm"}));
  EXPECT_EQ(FindAll(base + u"_22_*", false), (V{u"_22_activity.signal", u"_22_x.tmp"}));
  EXPECT_EQ(FindAll(base + u"*", false, u"^[ab]\\."), (V{u"a.htm", u"b.html"}));
  EXPECT_EQ(FindAll(base + u"nothing*", false), V{});
  EXPECT_EQ(FindAll(Native(dir / "missing") + u"/*", false), V{});
}

}  // namespace
