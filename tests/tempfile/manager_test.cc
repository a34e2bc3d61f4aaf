// The manager: one remover a process with a reference count, immediate deletion
// without one, what is left deleted at the last close, and the creation of
// temporary files. The shared library has its own manager: the exports are used
// where files alone tell what happened.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/bstr.h"
#include "tempfile_test_util.h"
#include "tempfile/TempFileMgr.h"
#include "zxUT22.h"

using namespace zx;
namespace fs = std::filesystem;

namespace {

LPCWSTR W(const std::u16string& s) { return reinterpret_cast<LPCWSTR>(s.c_str()); }
std::u16string N(const fs::path& p) { return zxsupport::U16(p.string()); }

class ManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directory(dir_.path() / "zarnik");
    scTempFileRemoverSeams seams;
    seams.firstWaitMs = 0;
    seams.passWaitUnitMs = 1;
    SetTempFileMgrSeamsForTests(&seams);
  }
  void TearDown() override {
    while (TempFileMgrInstanceForTests()) TempFileMgrClose();
    SetTempFileMgrSeamsForTests(nullptr);
  }
  zxsupport::ScratchDir dir_{"manager"};
  zxsupport::ScopedTempFolder temp_{dir_.path()};
};

TEST_F(ManagerTest, OneInstanceCountedByItsClients) {
  EXPECT_EQ(TempFileMgrInstanceForTests(), nullptr);
  TempFileMgrOpen();
  clsTempFileRemover* first = TempFileMgrInstanceForTests();
  ASSERT_NE(first, nullptr);
  TempFileMgrOpen();
  EXPECT_EQ(TempFileMgrInstanceForTests(), first);
  TempFileMgrClose();
  EXPECT_EQ(TempFileMgrInstanceForTests(), first);
  TempFileMgrClose();
  EXPECT_EQ(TempFileMgrInstanceForTests(), nullptr);
}

TEST_F(ManagerTest, WithoutAnInstanceAFileIsDeletedAtOnce) {
  const fs::path f = dir_ / "young.tmp";
  zxsupport::WriteBytes(f, "x");
  TempFileMgrAdd(String(std::u16string_view(N(f))));
  EXPECT_FALSE(fs::exists(f));
  zxsupport::WriteBytes(f, "x");
  UtilTempFileMgrAdd(W(N(f)));   // the library's manager isn't open either
  EXPECT_FALSE(fs::exists(f));
  UtilTempFileMgrAdd(W(N(dir_ / "absent.tmp")));   // nothing to do, nothing kept
  UtilTempFileMgrAdd(nullptr);
}

TEST_F(ManagerTest, TheLastCloseDeletesWhatIsLeft) {
  const fs::path f = dir_ / "zarnik" / "_22_young.tmp";
  zxsupport::WriteBytes(f, "x");   // within its grace period: the thread leaves it
  TempFileMgrOpen();
  TempFileMgrAdd(String(std::u16string_view(N(f))));
  ASSERT_EQ(TempFileMgrInstanceForTests()->PendingNames().size(), 1u);
  EXPECT_TRUE(fs::exists(f));
  TempFileMgrClose();
  EXPECT_FALSE(fs::exists(f));
  // The same through the exports.
  zxsupport::WriteBytes(f, "x");
  UtilTempFileMgrOpen();
  UtilTempFileMgrOpen();
  UtilTempFileMgrAdd(W(N(f)));
  UtilTempFileMgrClose();
  EXPECT_TRUE(fs::exists(f));
  UtilTempFileMgrClose();
  EXPECT_FALSE(fs::exists(f));
}

TEST_F(ManagerTest, CreateFileMakesAnEmptyFileOfTheProduct) {
  BSTR name = nullptr;
  EXPECT_EQ(UtilTempFileMgrCreateFile(nullptr, W(u".txt"), 0, &name), 0);
  EXPECT_EQ(UtilTempFileMgrCreateFile(W(u"rep"), nullptr, 0, &name), 0);
  EXPECT_EQ(UtilTempFileMgrCreateFile(W(u"rep"), W(u".txt"), 0, nullptr), 0);
  EXPECT_EQ(name, nullptr);

  // The library's copy may have cached another temporary folder: only the rule of
  // the BSTR result is looked at there.
  ASSERT_EQ(UtilTempFileMgrCreateFile(W(u"rep"), W(u".txt"), 0xFE, &name), 1);
  ASSERT_NE(name, nullptr);
  ASSERT_EQ(UtilTempFileMgrCreateFile(W(u"rep"), W(u".txt"), 1, &name), 1);
  plat::SysFree(reinterpret_cast<plat::Bstr>(name));

  const std::u16string first(TempFileMgrCreateFile(String(u"rep"), String(u".txt"), false).View());
  const std::u16string second(TempFileMgrCreateFile(String(u"rep"), String(u".txt"), true).View());
  EXPECT_NE(first, second);
  for (const std::u16string& n : {first, second}) {
    const std::string path = zxsupport::Ascii(n);
    const std::string leaf = path.substr(path.find_last_of("\\/") + 1);
    EXPECT_EQ(leaf.rfind("_22_rep", 0), 0u) << leaf;
    EXPECT_EQ(leaf.substr(leaf.size() - 4), ".txt");
    std::string native = path;
    for (char& c : native)
      if (c == '\\') c = '/';
    EXPECT_TRUE(fs::exists(native)) << native;
    EXPECT_EQ(fs::file_size(native), 0u);
  }
}

}  // namespace
