// Linux: network mounts as shares, and the XDG folders behind the folder tokens,
// through the mount-table seam and the environment.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "path/PathServices.h"
#include "path_test_util.h"
#include "platform/internal/mount_table.h"

using namespace zx;
using pathtest::Ascii;

namespace {

std::u16string Std(const String& s) { return std::u16string(s.View()); }

// A mount table for the length of a test.
class FakeMounts {
 public:
  explicit FakeMounts(const std::string& text) { plat::internal::SetMountInfoForTests(&text); }
  ~FakeMounts() { plat::internal::SetMountInfoForTests(nullptr); }
};

const char kTable[] =
    "36 25 0:50 / /mnt/docs rw,relatime shared:1 - cifs //srv/docs rw,vers=3.0\n"
    "37 25 0:51 /sub /mnt/sub\\040dir rw - nfs host:/export rw\n"
    "38 25 0:52 / /mnt/docs/inner rw - smb3 //other/in rw\n"
    "39 1 8:1 / / rw - ext4 /dev/sda1 rw\n"
    "a line that isn't one\n"
    "40 25 0:53 / /mnt/bad rw - cifs //nosharename rw\n";

TEST(MountTable, NetworkNames) {
  using plat::internal::Mount;
  const struct {
    Mount mount;
    std::u16string name;
  } cases[] = {
      {{"/", "/m", "cifs", "//srv/share"}, u"\\\\srv\\share"},
      {{"/", "/m", "smb3", "//srv/share/sub/"}, u"\\\\srv\\share\\sub"},
      {{"/deep/er", "/m", "cifs", "//srv/share"}, u"\\\\srv\\share\\deep\\er"},
      {{"/", "/m", "nfs4", "host:/export/x"}, u"\\\\host\\export\\x"},
      {{"/", "/m", "nfs", "host:/"}, u""},
      {{"/", "/m", "nfs", ":/x"}, u""},
      {{"/", "/m", "cifs", "//srv"}, u""},
      {{"/", "/m", "cifs", "srv/share"}, u""},
      {{"/", "/m", "ext4", "/dev/sda1"}, u""},
  };
  for (const auto& c : cases) EXPECT_EQ(plat::internal::NetworkNameOfMount(c.mount), c.name) << c.mount.source;
  const auto mounts = plat::internal::ParseMountInfo(kTable);
  ASSERT_EQ(mounts.size(), 5u);
  EXPECT_EQ(mounts[1].mountPoint, "/mnt/sub dir");
  EXPECT_EQ(mounts[1].root, "/sub");
  EXPECT_EQ(mounts[0].fsType, "cifs");
}

TEST(EnsureUNCPath, PathsBelowNetworkMounts) {
  FakeMounts mounts(kTable);
  const struct {
    std::u16string in, out;
  } cases[] = {
      {u"/mnt/docs/a/b.txt", u"\\\\srv\\docs\\a\\b.txt"},
      {u"/mnt/docs", u"\\\\srv\\docs"},
      {u"/mnt/docs/", u"\\\\srv\\docs"},
      {u"/mnt/docs/x/../inner/f", u"\\\\other\\in\\f"},   // the deepest mount wins
      {u"/mnt/docsx/a", u"/mnt/docsx/a"},
      {u"/mnt/sub dir/f", u"\\\\host\\export\\sub\\f"},
      {u"/mnt/bad/f", u"/mnt/bad/f"},
      {u"/home/x/./y", u"/home/x/y"},
      {u"C:\\x", u"C:\\x"},
  };
  for (const auto& c : cases) {
    String out;
    EXPECT_EQ(EnsureUNCPath(String(c.in), out), 0) << Ascii(c.in);
    EXPECT_EQ(Std(out), c.out) << Ascii(c.in);
  }
}

TEST(EnsureLocalPath, SharesBackToTheirMounts) {
  FakeMounts mounts(kTable);
  const struct {
    std::u16string in, out;
  } cases[] = {
      {u"\\\\srv\\docs", u"/mnt/docs"},
      {u"\\\\SRV\\Docs\\a\\b", u"/mnt/docs/a/b"},
      {u"\\\\srv\\docs\\a\\..\\c\\", u"/mnt/docs/c/"},
      {u"\\\\host\\export\\sub\\f", u"/mnt/sub dir/f"},
      {u"\\\\other\\x", u"\\\\other\\x"},
      {u"\\\\srv\\docsx", u"\\\\srv\\docsx"},
      {u"/mnt/docs/a", u"/mnt/docs/a"},
  };
  for (const auto& c : cases) {
    String out;
    EXPECT_EQ(EnsureLocalPath(String(c.in), out), 0) << Ascii(c.in);
    EXPECT_EQ(Std(out), c.out) << Ascii(c.in);
  }
  // And there again.
  String local, unc;
  ASSERT_EQ(EnsureLocalPath(String(u"\\\\srv\\docs\\r\\s.txt"), local), 0);
  ASSERT_EQ(EnsureUNCPath(local, unc), 0);
  EXPECT_EQ(Std(unc), u"\\\\srv\\docs\\r\\s.txt");
}

TEST(ExpandTokens, XdgFoldersStandForTheKnownFolders) {
  zxsupport::ScratchDir dir("xdg");
  zxsupport::WriteBytes(dir / "user-dirs.dirs",
                        "# written by xdg-user-dirs-update\n"
                        "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\n"
                        "XDG_DOCUMENTS_DIR=\"/data/docs\"\n");
  const std::string config = dir.path().string();
  zxsupport::ScopedEnv env({{"HOME", "/home/t"}, {"XDG_CONFIG_HOME", config.c_str()}, {"XDG_DATA_HOME", nullptr},
                           {"XDG_CACHE_HOME", "/var/cache/t"}, {"XDG_DESKTOP_DIR", nullptr},
                           {"XDG_DOCUMENTS_DIR", nullptr}, {"XDG_MUSIC_DIR", nullptr}, {"TEMP", nullptr},
                           {"TMP", nullptr}, {"TMPDIR", "/scratch/tmp"}, {"APPDATA", nullptr},
                           {"LOCALAPPDATA", nullptr}});
  const std::u16string cfg = pathtest::U16(config);
  const struct {
    std::u16string in, out;
  } cases[] = {
      {u"%Desktop%\\a", u"/home/t/Schreibtisch\\a"},
      {u"%desktop%", u"/home/t/Schreibtisch"},
      {u"%Personal%/x", u"/data/docs/x"},
      {u"%My Music%", u"/home/t/Music"},
      {u"%AppData%", cfg},
      {u"%Local AppData%", u"/home/t/.local/share"},
      {u"%Cache%", u"/var/cache/t"},
      {u"%Fonts%", u"/home/t/.local/share/fonts"},
      {u"%TEMP%\\x", u"/scratch/tmp\\x"},
      {u"%tmp%", u"/scratch/tmp"},
      {u"%APPDATA%\\zarnik", cfg + u"\\zarnik"},
      {u"%LOCALAPPDATA%", u"/home/t/.local/share"},
      {u"%USERPROFILE%", u"/home/t"},
      {u"%NoSuchFolder%", u"%NoSuchFolder%"},
      {u"%Desk-top%", u"%Desk-top%"},
  };
  for (const auto& c : cases) EXPECT_EQ(Std(ExpandDefaultTokensOfFolderPath(String(c.in))), c.out) << Ascii(c.in);
}

}  // namespace

namespace {

std::u16string Unc(const char16_t* path) {
  String out;
  EXPECT_EQ(EnsureUNCPath(String(path), out), 0);
  return Std(out);
}

TEST(MountTableCache, ANewTableThroughTheSeamIsSeen) {
  const std::string first = "36 25 0:50 / /mnt/docs rw - cifs //srv/docs rw\n";
  const std::string second = "36 25 0:50 / /mnt/docs rw - cifs //moved/docs rw\n";
  {
    FakeMounts mounts(first);
    EXPECT_EQ(Unc(u"/mnt/docs/a"), u"\\\\srv\\docs\\a");
    EXPECT_EQ(Unc(u"/mnt/docs/a"), u"\\\\srv\\docs\\a");   // from the parsed table
    plat::internal::SetMountInfoForTests(&second);
    EXPECT_EQ(Unc(u"/mnt/docs/a"), u"\\\\moved\\docs\\a");
  }
  // The real table again: no such mount here.
  EXPECT_EQ(Unc(u"/mnt/docs/a"), u"/mnt/docs/a");
}

// In a child of its own, in a user and mount namespace of its own: the real table
// is read once, then again only after a mount or an unmount. Exit codes: 0 passed,
// 77 no namespaces here, others the step that failed.
int MountTableReadsInAChild() {
  if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return 77;
  if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return 77;
  plat::internal::SetMountInfoForTests(nullptr);
  char dir[] = "/tmp/zxut_mountinfo_XXXXXX";
  if (!::mkdtemp(dir)) return 77;
  String out;
  EnsureUNCPath(String(u"/tmp"), out);
  const uint64_t first = plat::internal::MountInfoReadsForTests();
  EnsureUNCPath(String(u"/tmp"), out);
  EnsureUNCPath(String(u"/tmp"), out);
  if (plat::internal::MountInfoReadsForTests() != first) return 1;
  if (::mount("none", dir, "tmpfs", 0, nullptr) != 0) {
    ::rmdir(dir);
    return 77;
  }
  EnsureUNCPath(String(u"/tmp"), out);
  const bool readAfterMount = plat::internal::MountInfoReadsForTests() == first + 1;
  EnsureUNCPath(String(u"/tmp"), out);
  const bool keptAfterMount = plat::internal::MountInfoReadsForTests() == first + 1;
  ::umount(dir);
  ::rmdir(dir);
  EnsureUNCPath(String(u"/tmp"), out);
  const bool readAfterUnmount = plat::internal::MountInfoReadsForTests() == first + 2;
  if (!readAfterMount) return 2;
  if (!keptAfterMount) return 3;
  if (!readAfterUnmount) return 4;
  return 0;
}

TEST(MountTableCache, TheRealTableIsReadAgainOnlyAfterItChanged) {
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) ::_exit(MountTableReadsInAChild());
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == 77) GTEST_SKIP() << "no user and mount namespaces here";
  EXPECT_EQ(WEXITSTATUS(status), 0) << "1: read again without a change; 2: a mount not seen; "
                                       "3: read twice after one mount; 4: an unmount not seen";
}

}  // namespace
