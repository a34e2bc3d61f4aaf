// The runtime's path functions: split, make and full path against tables of the
// Windows runtime's answers (runtime_win32_test.cc holds them against the real
// functions as well).
#include <gtest/gtest.h>

#include <string>

// GCC 12 warns falsely on inlined copies of long strings (its bug 105329).
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Warray-bounds"
#pragma GCC diagnostic ignored "-Wstringop-overflow"
#endif

#include "path/PathRuntime.h"
#include "path_test_util.h"

using namespace zx;
using pathtest::Ascii;
using pathtest::Rep;

namespace {

struct SplitCase {
  std::u16string path, drive, dir, name, ext;
  int rc;
};

std::vector<SplitCase> SplitCases() {
  static const SplitCase kCases[] = {
      {u"C:\\a\\b.txt", u"C:", u"\\a\\", u"b", u".txt", 0},
      {u"", u"", u"", u"", u"", 0},
      {u"b", u"", u"", u"b", u"", 0},
      {u"a.b.c", u"", u"", u"a.b", u".c", 0},
      {u"\\\\srv\\share\\x.y", u"", u"\\\\srv\\share\\", u"x", u".y", 0},
      {u"C:", u"C:", u"", u"", u"", 0},
      {u"C:rel.x", u"C:", u"", u"rel", u".x", 0},
      {u"dir.x/name", u"", u"dir.x/", u"name", u"", 0},
      {u"/a/b/", u"", u"/a/b/", u"", u"", 0},
      {u".hidden", u"", u"", u"", u".hidden", 0},
      {u"a.", u"", u"", u"a", u".", 0},
      {u":", u"", u"", u":", u"", 0},
      {u"1:x", u"1:", u"", u"x", u"", 0},
      {u"C:\\..\\.", u"C:", u"\\..\\", u"", u".", 0},
  };
  std::vector<SplitCase> cases(std::begin(kCases), std::end(kCases));
  // Parts at their rooms' limits.
  const std::u16string n255 = Rep(u"n", 255), e254 = u"." + Rep(u"e", 254);
  const std::u16string d254 = Rep(u"d", 254) + u"\\";
  cases.push_back({n255, u"", u"", n255, u"", 0});
  cases.push_back({n255 + u"n", u"", u"", u"", u"", kPathERange});
  cases.push_back({u"x" + e254, u"", u"", u"x", e254, 0});
  cases.push_back({u"x" + e254 + u"e", u"", u"", u"", u"", kPathERange});
  cases.push_back({d254 + u"f", u"", d254, u"f", u"", 0});
  cases.push_back({Rep(u"d", 255) + u"\\f", u"", u"", u"", u"", kPathERange});
  return cases;
}

TEST(SplitPath, MatchesTheRuntimeTable) {
  for (const SplitCase& c : SplitCases()) {
    char16_t drive[3] = {u'?'}, dir[256] = {u'?'}, name[256] = {u'?'}, ext[256] = {u'?'};
    EXPECT_EQ(SplitPath(c.path.c_str(), drive, 3, dir, 256, name, 256, ext, 256), c.rc) << Ascii(c.path);
    EXPECT_EQ(std::u16string(drive), c.drive) << Ascii(c.path);
    EXPECT_EQ(std::u16string(dir), c.dir) << Ascii(c.path);
    EXPECT_EQ(std::u16string(name), c.name) << Ascii(c.path);
    EXPECT_EQ(std::u16string(ext), c.ext) << Ascii(c.path);
  }
}

TEST(SplitPath, PartsNotAskedForAndBadArguments) {
  char16_t name[256] = {u'?'}, dir[4] = {u'?'};
  EXPECT_EQ(SplitPath(u"C:\\a\\b.txt", nullptr, 0, nullptr, 0, name, 256, nullptr, 0), 0);
  EXPECT_EQ(std::u16string(name), u"b");
  EXPECT_EQ(SplitPath(nullptr, nullptr, 0, nullptr, 0, name, 256, nullptr, 0), kPathEInval);
  EXPECT_EQ(name[0], 0);
  // A buffer without room, or room without a buffer.
  EXPECT_EQ(SplitPath(u"a", nullptr, 3, nullptr, 0, nullptr, 0, nullptr, 0), kPathEInval);
  EXPECT_EQ(SplitPath(u"a", nullptr, 0, dir, 0, nullptr, 0, nullptr, 0), kPathEInval);
  // A part that is too long clears the parts already written.
  char16_t drive[3] = {u'?'};
  EXPECT_EQ(SplitPath(u"C:\\abcd\\x", drive, 3, dir, 4, nullptr, 0, nullptr, 0), kPathERange);
  EXPECT_EQ(drive[0], 0);
  EXPECT_EQ(dir[0], 0);
}

struct MergeCase {
  const char16_t *drive, *dir, *name, *ext;
  std::u16string out;
  int rc;
};

TEST(MakePath, MatchesTheRuntimeTable) {
  const std::u16string n258 = Rep(u"n", 258), n259 = Rep(u"n", 259), n257 = Rep(u"n", 257);
  const MergeCase cases[] = {
      {u"C", u"\\a", u"b", u"txt", u"C:\\a\\b.txt", 0},
      {u"C:", u"\\a\\", u"b", u".txt", u"C:\\a\\b.txt", 0},
      {u"", u"", u"", u"", u"", 0},
      {nullptr, nullptr, nullptr, nullptr, u"", 0},
      {u"", u"a/", u"b", u"", u"a/b", 0},
      {u"", u"", u"b", u".", u"b.", 0},
      {u"D", u"", u"", u"", u"D:", 0},
      {u"xyz", u"", u"n", u"", u"x:n", 0},
      {nullptr, u"\\\\srv\\share", u"f", nullptr, u"\\\\srv\\share\\f", 0},
      {nullptr, nullptr, n259.c_str(), nullptr, n259, 0},
      {nullptr, nullptr, n259.c_str(), u"e", u"", kPathERange},
      {u"C", nullptr, n257.c_str(), nullptr, u"C:" + n257, 0},
      {u"C", nullptr, n258.c_str(), nullptr, u"", kPathERange},
      {nullptr, n258.c_str(), u"", nullptr, n258 + u"\\", 0},
      {nullptr, n259.c_str(), u"", nullptr, u"", kPathERange},   // the added "\\" no longer fits
  };
  for (const MergeCase& c : cases) {
    char16_t out[260] = {u'?'};
    EXPECT_EQ(MakePath(out, 260, c.drive, c.dir, c.name, c.ext), c.rc) << Ascii(c.out);
    EXPECT_EQ(std::u16string(out), c.out);
  }
  EXPECT_EQ(MakePath(nullptr, 260, u"C", nullptr, nullptr, nullptr), kPathEInval);
}

TEST(MakePath, OfSplitGivesThePathBack) {
  for (const SplitCase& c : SplitCases()) {
    if (c.rc != 0 || c.path.size() >= 259) continue;
    char16_t drive[3], dir[256], name[256], ext[256], out[260];
    ASSERT_EQ(SplitPath(c.path.c_str(), drive, 3, dir, 256, name, 256, ext, 256), 0);
    ASSERT_EQ(MakePath(out, 260, drive, dir, name, ext), 0);
    // Only a folder without its final separator changes ("C:\..\." keeps it).
    EXPECT_EQ(std::u16string(out), c.path) << Ascii(c.path);
  }
}

PathContext WindowsContext() {
  PathContext c;
  c.currentDirectory = u"C:\\cur\\dir";
  c.driveDirectory = [](char16_t drive) -> std::u16string { return drive == u'D' || drive == u'd' ? u"D:\\dd" : u""; };
  return c;
}

TEST(FullPathName, WindowsRules) {
  const std::u16string deep = Rep(u"abc\\", 200);
  const struct {
    std::u16string in, out;
  } cases[] = {
      {u"C:\\a\\.\\b", u"C:\\a\\b"},
      {u"C:\\a\\..\\..\\..\\b", u"C:\\b"},
      {u"C:/a//b///c", u"C:\\a\\b\\c"},
      {u"C:\\a\\b\\", u"C:\\a\\b\\"},
      {u"C:\\a\\b.", u"C:\\a\\b"},
      {u"C:\\a\\b. . ", u"C:\\a\\b"},
      {u"C:\\a.\\b", u"C:\\a\\b"},
      {u"C:\\a..\\b", u"C:\\a.\\b"},
      {u"C:\\a\\.", u"C:\\a"},
      {u"C:\\a\\..", u"C:\\"},
      {u"C:\\..", u"C:\\"},
      {u"C:\\", u"C:\\"},
      {u"rel\\x", u"C:\\cur\\dir\\rel\\x"},
      {u"..\\x", u"C:\\cur\\x"},
      {u"..\\..\\..\\x", u"C:\\x"},
      {u".", u"C:\\cur\\dir"},
      {u"\\root", u"C:\\root"},
      {u"/root/./x/", u"C:\\root\\x\\"},
      {u"C:sub", u"C:\\cur\\dir\\sub"},
      {u"c:sub", u"C:\\cur\\dir\\sub"},
      {u"d:sub", u"D:\\dd\\sub"},
      {u"E:sub", u"E:\\sub"},
      {u"\\\\srv\\share\\a\\..\\..\\b", u"\\\\srv\\share\\b"},
      {u"\\\\srv\\share", u"\\\\srv\\share"},
      {u"\\\\srv\\share\\", u"\\\\srv\\share\\"},
      {u"//srv/share/x/../y", u"\\\\srv\\share\\y"},
      {u"\\\\?\\C:\\a\\..\\b", u"\\\\?\\C:\\b"},
      {u"\\\\.\\C:\\a\\..\\b", u"\\\\.\\C:\\b"},
      {u"C:\\" + deep + u"x", u"C:\\" + deep + u"x"},
      {u"", u""},
      // DOS devices: the last part before its first "." or ":", less trailing spaces.
      {u"CON", u"\\\\.\\CON"},
      {u"nul", u"\\\\.\\nul"},
      {u"C:\\a\\com1.txt", u"\\\\.\\com1"},
      {u"Lpt9  :x", u"\\\\.\\Lpt9"},
      {u"prn. ", u"\\\\.\\prn"},
      {u"COM0", u"C:\\cur\\dir\\COM0"},
      {u"CONx", u"C:\\cur\\dir\\CONx"},
      {u"aux\\x", u"C:\\cur\\dir\\aux\\x"},
      {u"\\\\srv\\share\\nul", u"\\\\srv\\share\\nul"},
  };
  for (const auto& c : cases) EXPECT_EQ(FullPathName(c.in, WindowsContext()), c.out) << Ascii(c.in);
}

TEST(FullPathName, PosixRootsKeepTheirForm) {
  PathContext c;
  c.currentDirectory = u"/home/u";
  c.posixRoot = true;
  const struct {
    std::u16string in, out;
  } cases[] = {
      {u"x", u"/home/u/x"},         {u"/a/../b", u"/b"},
      {u"\\a\\b", u"/a/b"},         {u"../../..", u"/"},
      {u"./x/./y/", u"/home/u/x/y/"}, {u"C:\\a\\..\\b", u"C:\\b"},
      {u"\\\\s\\sh\\x", u"\\\\s\\sh\\x"}, {u"con", u"/home/u/con"},
  };
  for (const auto& t : cases) EXPECT_EQ(FullPathName(t.in, c), t.out) << Ascii(t.in);
}

TEST(FullPath, RoomAndTheCurrentFolder) {
  const PathContext c = WindowsContext();
  char16_t out[16] = {u'?'};
  EXPECT_TRUE(FullPath(out, u"C:\\a\\..\\b", 16, c));
  EXPECT_EQ(std::u16string(out), u"C:\\b");
  EXPECT_TRUE(FullPath(out, nullptr, 16, c));
  EXPECT_EQ(std::u16string(out), u"C:\\cur\\dir");
  EXPECT_TRUE(FullPath(out, u"", 16, c));
  EXPECT_EQ(std::u16string(out), u"C:\\cur\\dir");
  // "C:\cur\dir\abcd" is 15 characters: with the terminator exactly 16.
  EXPECT_TRUE(FullPath(out, u"abcd", 16, c));
  EXPECT_FALSE(FullPath(out, u"abcde", 16, c));
  EXPECT_EQ(out[0], 0);
  EXPECT_FALSE(FullPath(nullptr, u"a", 16, c));
}

}  // namespace
