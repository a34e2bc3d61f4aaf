// Linux: a ".lnk" that is a symbolic link is followed; a shell link made for a
// local path of this system resolves through its link info.
#include <gtest/gtest.h>

#include "list_test_util.h"

using namespace zx;
using listtest::Result;
using listtest::Str;

TEST(ShortcutPosix, SymbolicLinksAndLinksToLocalPaths) {
  zxsupport::ScratchDir dir("doclist_lnk");
  zxsupport::WriteBytes(dir / "target.pdf", "%PDF");
  std::filesystem::create_symlink(dir / "target.pdf", dir / "abs.lnk");
  std::filesystem::create_symlink("target.pdf", dir / "rel.LNK");
  std::filesystem::create_symlink("nowhere.pdf", dir / "dangling.lnk");
  clsDocuList list(0);
  for (const char* link : {"abs.lnk", "rel.LNK"}) {
    Result r;
    ASSERT_EQ(list.Get(Str(dir / link), &r.data, 5), 1) << link;
    EXPECT_EQ(r.Text(listtest::kResolvedPath), (dir / "target.pdf").u16string()) << link;
  }
  EXPECT_EQ(list.Get(Str(dir / "dangling.lnk"), nullptr, 5), 0);

  std::string out;
  const std::string cmd = "python3 '" + std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/make_lnk.py' --local '" +
                          (dir / "target.pdf").string() + "' '" + (dir / "made.lnk").string() + "'";
  ASSERT_TRUE(zxsupport::RunFilter(cmd, "", out));
  Result r;
  ASSERT_EQ(list.Get(Str(dir / "made.lnk"), &r.data, 5), 1);
  EXPECT_EQ(r.Text(listtest::kResolvedPath), (dir / "target.pdf").u16string());
}
