// Shortcuts: ".lnk" files of the published Shell Link format (made by
// make_lnk.py, committed in data/lnk) read by our parser on every system, and
// resolved by the list (the system's shell link object on Windows, the parser or a
// symbolic link elsewhere).
#include <gtest/gtest.h>

#include "docinfo/ShellLink.h"
#include "list_test_util.h"

using namespace zx;
using listtest::Result;
using listtest::Str;

namespace {

const std::filesystem::path kData = std::filesystem::path(ZXUT_SOURCE_DIR) / "tests" / "docinfo" / "data" / "lnk";

std::u16string Target(const std::string& file, const std::u16string& folder = u"C:\\links") {
  const std::string bytes = zxsupport::ReadBytes(kData / file);
  return std::u16string(ShellLinkTarget(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(),
                                        String(std::u16string_view(folder)))
                            .View());
}

TEST(ShellLink, TargetsOfTheLinkInfoAndTheRelativePath) {
  EXPECT_EQ(Target("local_ansi.lnk"), u"C:\\Docs\\report.pdf");   // the link info before the relative path
  EXPECT_EQ(Target("local_unicode.lnk"), u"C:\\D\u00f6kumente\\bericht \u65e5\u672c.pdf");
  EXPECT_EQ(Target("network.lnk"), u"\\\\srv\\docs\\q\\r.pdf");   // the network form first
  EXPECT_EQ(Target("relative.lnk"), u"C:\\links\\.\\target.txt");
  EXPECT_EQ(Target("relative.lnk", u"/data/links"), u"/data/links/./target.txt");
  EXPECT_EQ(Target("relative_ansi.lnk"), u"C:\\links\\.\\target.txt");
}

TEST(ShellLink, DamagedLinksGiveNothing) {
  for (const char* file : {"bad_truncated.lnk", "bad_header.lnk", "bad_idlist.lnk", "bad_info_size.lnk",
                           "bad_relative_count.lnk", "empty.lnk"})
    EXPECT_EQ(Target(file), u"") << file;
  // Wrong offsets inside the link info: whatever is read stays inside the data.
  (void)Target("bad_offsets.lnk");
  EXPECT_EQ(ShellLinkTarget(nullptr, 100, String()).Length(), 0);
  // Every cut of a good link: never more than the bytes given are read (ASan).
  const std::string whole = zxsupport::ReadBytes(kData / "network.lnk");
  for (size_t n = 0; n < whole.size(); ++n) {
    std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(n));
    (void)ShellLinkTarget(cut.data(), cut.size(), String(u"C:\\x"));
  }
}

TEST(ShellLink, TheCommittedSetIsWhatTheGeneratorWrites) {
  zxsupport::ScratchDir dir("doclist_lnkgen");
  std::string out;
  const std::string cmd = "python3 '" + std::string(ZXUT_SOURCE_DIR) + "/tests/docinfo/make_lnk.py' --all '" +
                          dir.path().string() + "'";
  if (!zxsupport::RunFilter(cmd, "", out)) GTEST_SKIP() << "no python3 here";
  for (const auto& entry : std::filesystem::directory_iterator(dir.path())) {
    const std::string name = entry.path().filename().string();
    EXPECT_EQ(zxsupport::ReadBytes(entry.path()), zxsupport::ReadBytes(kData / name)) << name;
  }
}

TEST(ShellLink, TheListReadsTheTargetOfARelativeLink) {
  clsDocuList list(0);
  Result r;
  ASSERT_EQ(list.Get(Str(kData / "relative.lnk"), &r.data, 5), 1);
  const std::u16string path = r.Text(listtest::kResolvedPath);
  EXPECT_NE(path.find(u"target.txt"), std::u16string::npos) << zxsupport::Ascii(path);
  // A link whose target isn't there, and a damaged link: 0.
  EXPECT_EQ(list.Get(Str(kData / "relative_missing.lnk"), nullptr, 5), 0);
  EXPECT_EQ(list.Get(Str(kData / "bad_header.lnk"), nullptr, 5), 0);
  EXPECT_EQ(list.Get(Str(kData / "not there.lnk"), nullptr, 5), 0);
}

}  // namespace
