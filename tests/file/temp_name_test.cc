// Temporary file names: the naming rule, stale files, deletion at close.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "file/File.h"
#include "file/TempName.h"
#include "file_test_util.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

using TempFolder = zxsupport::ScopedTempFolder;

std::string Leaf(const String& name) {
  std::string s = name.narrow();
  const size_t cut = s.find_last_of("\\/");
  return cut == std::string::npos ? s : s.substr(cut + 1);
}

}  // namespace

TEST(FileTemp, ATemporaryFileUnderZarnikGoesAwayWhenClosed) {
  zxsupport::ScratchDir dir;
  TempFolder temp(dir.path());
  String name;
  {
    clsFileRWTemp t;
    ASSERT_TRUE(t.IsOpen());
    name = t.Name();
    const std::string leaf = Leaf(name);
    EXPECT_EQ(0u, leaf.rfind("_22_zrk", 0)) << leaf;
    EXPECT_EQ(".tmp", leaf.substr(leaf.size() - 4));
    EXPECT_TRUE(ftest::fs::exists(dir / "zarnik" / leaf));
    EXPECT_EQ(5u, t.WriteString("hello"));
    EXPECT_EQ(plat::kS_OK, static_cast<IStream&>(t).Write("!", 1, nullptr));   // a clsFileRW writes
    t.SetDeleteOnRelease(false);
  }
  EXPECT_FALSE(ftest::fs::exists(dir / "zarnik" / Leaf(name)));
  clsFileRWTemp custom(String(u"DL"), String(u".dat"));
  const std::string leaf = Leaf(custom.Name());
  EXPECT_EQ(0u, leaf.rfind("_22_DL", 0)) << leaf;
  EXPECT_EQ(".dat", leaf.substr(leaf.size() - 4));
  EXPECT_EQ(std::string::npos, leaf.find(".."));
}

TEST(FileTemp, TheNamingRule) {
  zxsupport::ScratchDir dir;
  TempFolder temp(dir.path());
  const String base = Str(dir / "base");
  // Bit 0x2: the plain name first, then numbered ones.
  const String first = UtilMakeTempName(base, String(u".txt"), kTempPlainFirst, nullptr);
  EXPECT_EQ("_22_base.txt", Leaf(first));
  EXPECT_TRUE(ftest::fs::exists(dir / "_22_base.txt"));   // left behind, empty
  EXPECT_EQ(0u, ftest::fs::file_size(dir / "_22_base.txt"));
  const String second = UtilMakeTempName(base, String(u"txt"), kTempPlainFirst, nullptr);
  const std::string leaf = Leaf(second);
  ASSERT_GT(leaf.size(), std::string("_22_base.txt").size());
  EXPECT_EQ(0u, leaf.rfind("_22_base", 0));
  EXPECT_NE(std::string::npos, leaf.find_first_of("0123456789abcdef", 8));
  // Bit 0x10: no prefix. No path: "zrk" in the temporary folder.
  EXPECT_EQ("plain.txt", Leaf(UtilMakeTempName(Str(dir / "plain"), String(u"txt"), kTempPlainFirst | kTempNoPrefix, nullptr)));
  const String bare = UtilMakeTempName(String(), String(u"tmp"), 0, nullptr);
  EXPECT_EQ(0u, Leaf(bare).rfind("_22_zrk", 0));
  EXPECT_TRUE(ftest::fs::exists(ftest::fs::path(bare.narrow())) ||
              ftest::fs::exists(dir / Leaf(bare)));
  // A missing folder ends the attempts at once.
  EXPECT_TRUE(UtilMakeTempName(Str(dir / "missing" / "x"), String(u"tmp"), 0, nullptr).IsEmpty());

  // A folder that cannot be made ("blocker" is a file) falls back to the temporary folder.
  zxsupport::WriteBytes(dir / "blocker", "a file in the way");
  const String name = UtilCreateTempName(String(u"blocker\\zarnik"), String(u"zrk"), String(u"tmp"), 1, nullptr);
  ASSERT_FALSE(name.IsEmpty());
  EXPECT_TRUE(ftest::fs::exists(dir / Leaf(name)));
  // Nested folders are made one by one.
  const String nested = UtilCreateTempName(String(u"zarnik\\sub"), String(u"x"), String(u"tmp"), 1, nullptr);
  EXPECT_TRUE(ftest::fs::exists(dir / "zarnik" / "sub" / Leaf(nested)));
}

TEST(FileTemp, AStaleFileIsTakenOverOnlyWithAHolder) {
  zxsupport::ScratchDir dir;
  TempFolder temp(dir.path());
  const auto stale = dir / "_22_old.tmp";
  zxsupport::WriteBytes(stale, "old content");
  ftest::fs::last_write_time(stale, ftest::fs::file_time_type::clock::now() - std::chrono::hours(24 * 8));
  {
    clsFileHandleHolder holder;
    const String name = UtilMakeTempName(Str(dir / "old"), String(u"tmp"), kTempPlainFirst, &holder);
    EXPECT_EQ("_22_old.tmp", Leaf(name));
    EXPECT_TRUE(holder.Valid());
    EXPECT_EQ(0u, ftest::fs::file_size(stale));   // emptied
  }
  EXPECT_FALSE(ftest::fs::exists(stale));   // the holder's file is deleted when closed
  // A recent file is not taken.
  zxsupport::WriteBytes(stale, "recent");
  clsFileHandleHolder holder;
  const String name = UtilMakeTempName(Str(dir / "old"), String(u"tmp"), kTempPlainFirst, &holder);
  EXPECT_NE("_22_old.tmp", Leaf(name));
  EXPECT_EQ("recent", zxsupport::ReadBytes(stale));
}
