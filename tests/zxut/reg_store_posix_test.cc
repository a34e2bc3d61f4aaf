// zxut reg on the Linux store: the rest of a file stays byte for byte, the file is
// replaced by a new one, a file with a line the store does not understand is
// refused with its line number, and concurrent writers lose nothing.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/registry.h"
#include "support/support_test_util.h"
#include "zxut_test_util.h"

using zxuttest::Zxut;

namespace {

class ZxutRegStore : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("ZXUT_REGISTRY_DIR", scratch_.path().string().c_str(), 1);
    plat::RegistryReload();
  }
  void TearDown() override {
    unsetenv("ZXUT_REGISTRY_DIR");
    plat::RegistryReload();
  }
  std::string File() const { return (scratch_ / "HKLM.reg").string(); }
  zxsupport::ScratchDir scratch_{"zxut_store"};
};

ino_t Inode(const std::string& path) {
  struct stat st{};
  return stat(path.c_str(), &st) == 0 ? st.st_ino : 0;
}

}  // namespace

TEST_F(ZxutRegStore, EditsKeepTheRestOfTheFileByteForByte) {
  const std::string head =
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "; settings of the machine   \r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zarnik]\r\n"
      "\"Debug.LogFilename\" = \"old.log\"\r\n";
  const std::string tail =
      "\"GPFMiniDumpMode\"=dword:000A3AA7\r\n"
      "\"Blob\"=hex:01,02,\\\r\n"
      "   03\r\n"
      "\r\n"
      "; a key the library does not know\r\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Other Vendor\\Thing]\r\n"
      "@=\"caf\xC3\xA9\"\r\n";
  zxsupport::WriteBytes(File(), head + tail);
  const ino_t before = Inode(File());

  ASSERT_EQ(Zxut({"reg", "set", "HKLM\\software\\zarnik", "debug.logfilename", "new.log"}).status, 0);
  const std::string changed =
      "Windows Registry Editor Version 5.00\r\n\r\n"
      "; settings of the machine   \r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zarnik]\r\n"
      "\"Debug.LogFilename\"=\"new.log\"\r\n";
  EXPECT_EQ(zxsupport::ReadBytes(File()), changed + tail);
  EXPECT_NE(Inode(File()), before);   // a new file renamed over the old one

  ASSERT_EQ(Zxut({"reg", "set", "HKLM\\software\\zarnik", "Debug.LogFile.Flush", "TRUE"}).status, 0);
  const std::string added = "\"Blob\"=hex:01,02,\\\r\n   03\r\n\"Debug.LogFile.Flush\"=\"TRUE\"\r\n";
  std::string expected = changed + tail;
  expected.replace(expected.find("\"Blob\""), std::string("\"Blob\"=hex:01,02,\\\r\n   03\r\n").size(), added);
  EXPECT_EQ(zxsupport::ReadBytes(File()), expected);

  ASSERT_EQ(Zxut({"reg", "delete", "HKLM\\software\\zarnik", "GPFMiniDumpMode"}).status, 0);
  expected.erase(expected.find("\"GPFMiniDumpMode\""), std::string("\"GPFMiniDumpMode\"=dword:000A3AA7\r\n").size());
  EXPECT_EQ(zxsupport::ReadBytes(File()), expected);
  // Nothing but the file (and its lock file) is left in the folder.
  size_t entries = 0;
  for (const auto& e : std::filesystem::directory_iterator(scratch_.path())) {
    ++entries;
    EXPECT_TRUE(e.path().filename() == "HKLM.reg" || e.path().filename() == "HKLM.reg.lock") << e.path();
  }
  EXPECT_EQ(entries, 2u);
}

TEST_F(ZxutRegStore, AFileThatDoesNotReadIsRefusedWithItsLine) {
  const struct {
    const char* text;
    int line;
  } cases[] = {
      {"[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"A\"=\"1\"\n\"B\"=dword:12345678Z\n", 3},
      {"Windows Registry Editor Version 5.00\n\n\"A\"=\"before any key\"\n", 3},
      {"[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"A\"=\"1\"\n\n\nA = 1\n", 5},
      {"[HKEY_LOCAL_MACHINE\\software\\zarnik\n", 1},
      {"[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"A\"=\"no end\n", 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    zxsupport::WriteBytes(File(), c.text);
    const std::string where = File() + ":" + std::to_string(c.line) + ": ";
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"reg", "set", "HKLM\\software\\zarnik", "X", "1"},
          std::vector<std::string>{"reg", "delete", "HKLM\\software\\zarnik", "A"}}) {
      const zxuttest::Run run = Zxut(args);
      EXPECT_EQ(run.status, 1) << args[1];
      EXPECT_EQ(run.err.rfind("zxut reg: " + where, 0), 0u) << run.err;
      EXPECT_NE(run.err.find("left as it is: error 1009"), std::string::npos) << run.err;
      EXPECT_EQ(zxsupport::ReadBytes(File()), c.text);
    }
    // Listing goes on, with a warning.
    const zxuttest::Run list = Zxut({"reg", "list", "HKLM"});
    EXPECT_EQ(list.status, 0) << list.err;
    EXPECT_EQ(list.err.rfind("zxut reg: warning: " + where, 0), 0u) << list.err;
  }
}

// Two processes set 200 values each at the same time; every one of the 400 is there.
TEST_F(ZxutRegStore, ConcurrentSetsFromTwoProcessesLoseNothing) {
  constexpr int kEach = 200;
  pid_t writers[2];
  for (int w = 0; w < 2; ++w) {
    writers[w] = fork();
    ASSERT_GE(writers[w], 0);
    if (writers[w] == 0) {
      for (int i = 0; i < kEach; ++i) {
        const std::string name = "w" + std::to_string(w) + "_" + std::to_string(i);
        if (Zxut({"reg", "set", "HKLM\\software\\zarnik\\Load", name, "--dword", std::to_string(i)}).status != 0)
          _exit(1);
      }
      _exit(0);
    }
  }
  for (pid_t pid : writers) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::vector<std::u16string> subkeys;
  std::vector<plat::RegValue> values;
  ASSERT_EQ(plat::ListRegKey(plat::Hive::LocalMachine, u"software\\zarnik\\load", subkeys, values, nullptr), 0);
  EXPECT_EQ(values.size(), 2u * kEach);
  for (int w = 0; w < 2; ++w)
    for (int i = 0; i < kEach; ++i) {
      const std::u16string name = zxsupport::U16("w" + std::to_string(w) + "_" + std::to_string(i));
      uint32_t value = ~0u, size = 4, type = 0;
      EXPECT_EQ(plat::QueryRegValue(plat::Hive::LocalMachine, u"software\\zarnik\\load", name.c_str(), &type,
                                    &value, &size), 0);
      EXPECT_EQ(value, uint32_t(i));
    }
}
