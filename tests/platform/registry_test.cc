// The registry store of Linux (export-format files), its parser, and the reader
// rules above it (buffer retry, "T" booleans, the hive rule).
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "core/registry/Registry.h"
#include "platform/internal/regfile.h"
#include "platform/registry.h"
#include "platform_test_util.h"

using namespace plat;

namespace {

std::vector<uint8_t> Utf16Bytes(std::u16string_view s, bool terminator = true) {
  std::vector<uint8_t> out;
  for (char16_t c : s) {
    out.push_back(uint8_t(c & 0xFF));
    out.push_back(uint8_t(c >> 8));
  }
  if (terminator) out.insert(out.end(), {0, 0});
  return out;
}

}  // namespace

// ---- the file format, independent of any OS

TEST(RegFile, ParsesAHandWrittenFileWithOddCaseAndEscapes) {
  const std::string text =
      "Windows Registry Editor Version 5.00\r\n"
      "\r\n"
      "; written by hand\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zarnik]\r\n"
      "\"Debug.LogFilename\"=\"C:\\\\logs\\\\a \\\"quoted\\\" name.log\"\r\n"
      "\"GPFMiniDumpMode\" = dword:000A3AA7\r\n"
      "@=\"the default\"\r\n"
      "\"Back\\\\slash \\\"name\\\"\"=\"x\"\r\n"
      "\r\n"
      "[hkey_local_machine\\software\\zarnik\\Sub\\]\r\n"
      "\"Bin\"=hex:01,02,\\\r\n"
      "  03,ff\r\n"
      "\"Multi\"=hex(7):61,00,00,00,00,00\r\n"
      "\"Broken=\"no closing quote\r\n"
      "\"Gone\"=-\r\n";
  regfile::Document doc = regfile::Parse(text);
  ASSERT_EQ(doc.leading.size(), 1u);
  EXPECT_TRUE(doc.leading[0].raw);
  EXPECT_EQ(doc.leading[0].text, u"; written by hand");
  ASSERT_EQ(doc.keys.size(), 2u);
  EXPECT_EQ(doc.keys[1].path, u"software\\zarnik\\Sub");   // trailing backslash trimmed

  // Roots, keys and names match whatever their case and spelling.
  const struct {
    const char16_t *root, *key, *name;
    uint32_t type;
    std::vector<uint8_t> data;
  } found[] = {
      {u"HKLM", u"software\\ZARNIK", u"debug.logfilename", 1, Utf16Bytes(u"C:\\logs\\a \"quoted\" name.log")},
      {u"HKEY_LOCAL_MACHINE", u"Software\\Zarnik", u"gpfminidumpmode", 4, {0xA7, 0x3A, 0x0A, 0x00}},
      {u"HKEY_LOCAL_MACHINE", u"software\\zarnik", u"", 1, Utf16Bytes(u"the default")},
      {u"HKEY_LOCAL_MACHINE", u"software\\zarnik", u"back\\slash \"NAME\"", 1, Utf16Bytes(u"x")},
      {u"HKEY_LOCAL_MACHINE", u"\\SOFTWARE\\ZARNIK\\SUB", u"bin", 3, {1, 2, 3, 0xFF}},
      {u"HKEY_LOCAL_MACHINE", u"software\\zarnik\\sub", u"Multi", 7, {0x61, 0, 0, 0, 0, 0}},
  };
  for (const auto& f : found) {
    regfile::Entry* e = regfile::FindValue(doc, f.root, f.key, f.name, nullptr);
    ASSERT_NE(e, nullptr) << f.type;
    EXPECT_EQ(e->type, f.type);
    EXPECT_EQ(e->data, f.data);
  }
  // Unparseable lines survive as they were.
  EXPECT_TRUE(doc.keys[1].entries[2].raw);
  EXPECT_EQ(doc.keys[1].entries[2].text, u"\"Broken=\"no closing quote");
  EXPECT_TRUE(doc.keys[1].entries[3].raw);
  // Another root never matches.
  EXPECT_EQ(regfile::FindValue(doc, u"HKEY_CURRENT_USER", u"software\\zarnik", u"", nullptr), nullptr);
}

TEST(RegFile, SerializeRoundTripsEveryType) {
  regfile::Document doc;
  const std::vector<uint8_t> text = Utf16Bytes(u"a\\b \"c\" \u00E4\u20AC");
  const std::vector<uint8_t> lines = Utf16Bytes(u"line1\r\nline2");
  const std::vector<uint8_t> dword = {0x0A, 0, 0, 0};
  std::vector<uint8_t> blob;
  for (int i = 0; i < 100; ++i) blob.push_back(uint8_t(i * 7));
  const struct {
    const char16_t* name;
    uint32_t type;
    const uint8_t* data;
    size_t size;
  } values[] = {{u"Text", 1, text.data(), text.size()}, {u"Lines", 1, lines.data(), lines.size()},
                {u"N", 4, dword.data(), dword.size()},   {u"Blob", 3, blob.data(), blob.size()},
                {u"", 0x0b, dword.data(), 2},            {u"Unterminated", 1, text.data(), 4}};
  for (const auto& v : values)
    regfile::SetValue(doc, u"HKEY_CURRENT_USER", u"Software\\zarnik", v.name, v.type, v.data, v.size);
  const std::string out = regfile::Serialize(doc);
  EXPECT_EQ(out.rfind("Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\zarnik]\n", 0), 0u);
  EXPECT_NE(out.find("\"Text\"=\"a\\\\b \\\"c\\\" \xC3\xA4\xE2\x82\xAC\"\n"), std::string::npos);
  EXPECT_NE(out.find("\"N\"=dword:0000000a\n"), std::string::npos);
  EXPECT_NE(out.find("\"Lines\"=hex(1):6c,00,"), std::string::npos);   // line breaks need the hex form
  EXPECT_NE(out.find("@=hex(b):0a,00\n"), std::string::npos);
  EXPECT_NE(out.find("\"Unterminated\"=hex(1):61,00,5c,00\n"), std::string::npos);
  std::istringstream lines_in(out);
  for (std::string l; std::getline(lines_in, l);) EXPECT_LE(l.size(), 80u) << l;

  regfile::Document back = regfile::Parse(out);
  for (const auto& v : values) {
    regfile::Entry* a = regfile::FindValue(doc, u"HKCU", u"software\\zarnik", v.name, nullptr);
    regfile::Entry* b = regfile::FindValue(back, u"HKCU", u"software\\zarnik", v.name, nullptr);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(a->type, b->type);
    EXPECT_EQ(a->data, b->data);
  }
  EXPECT_EQ(regfile::Serialize(back), out);
}

TEST(RegFile, Utf16FileWithBomAsTheEditorWritesIt) {
  std::u16string text = u"\uFEFFWindows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\Software\\zarnik]\r\n"
                        u"\"UseGPFHandler\"=\"F\u00FCr\"\r\n";
  regfile::Document doc = regfile::Parse(zxsupport::Utf16LeBytes(text));
  regfile::Entry* e = regfile::FindValue(doc, u"HKEY_CURRENT_USER", u"software\\zarnik", u"usegpfhandler", nullptr);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->data, Utf16Bytes(u"F\u00FCr"));
}

TEST(RegFile, DuplicateSectionsLastDefinitionWins) {
  regfile::Document doc = regfile::Parse(
      "[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"A\"=\"1\"\n"
      "[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"a\"=\"2\"\n");
  regfile::Entry* e = regfile::FindValue(doc, u"HKLM", u"software\\zarnik", u"A", nullptr);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->data, Utf16Bytes(u"2"));
  EXPECT_TRUE(regfile::DeleteValue(doc, u"HKLM", u"software\\zarnik", u"A"));
  EXPECT_EQ(regfile::FindValue(doc, u"HKLM", u"software\\zarnik", u"a", nullptr), nullptr);
  EXPECT_FALSE(regfile::DeleteValue(doc, u"HKLM", u"software\\zarnik", u"A"));
}

TEST(RegFile, CaseFoldingBeyondAscii) {
  EXPECT_TRUE(regfile::EqualNoCase(u"\u00C4rger\u0141", u"\u00E4RGER\u0142"));
  EXPECT_FALSE(regfile::EqualNoCase(u"a", u"b"));
  EXPECT_FALSE(regfile::EqualNoCase(u"\u00D7", u"\u00F7"));   // the signs are not a pair
}

#ifndef _WIN32
// ---- the store on disk

std::u16string QueryString(Hive hive, const char16_t* key, const char16_t* name) {
  char16_t buf[1024];
  uint32_t type = 0, size = sizeof buf;
  long r = QueryRegValue(hive, key, name, &type, buf, &size);
  if (r != 0 || type != kRegSz || size < 2) return u"<none>";
  return std::u16string(buf, size / 2 - 1);
}

class RegistryStore : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/zxut_reg_XXXXXX";
    ASSERT_TRUE(mkdtemp(dir));
    dir_ = dir;
    const char* old = std::getenv("ZXUT_REGISTRY_DIR");
    hadOld_ = old != nullptr;
    if (old) old_ = old;
    setenv("ZXUT_REGISTRY_DIR", dir_.c_str(), 1);
    RegistryReload();
    zx::ResetHiveRuleForTests();
  }
  void TearDown() override {
    if (hadOld_)
      setenv("ZXUT_REGISTRY_DIR", old_.c_str(), 1);
    else
      unsetenv("ZXUT_REGISTRY_DIR");
    RegistryReload();
    zx::ResetHiveRuleForTests();
    std::system(("rm -rf " + dir_).c_str());
  }
  void Write(const char* file, const std::string& text) {
    std::ofstream out(dir_ + "/" + file, std::ios::binary);
    out << text;
  }
  std::string Read(const char* file) { return zxsupport::ReadBytes(dir_ + "/" + file); }
  std::string dir_, old_;
  bool hadOld_ = false;
};

TEST_F(RegistryStore, PathsFollowTheEnvironment) {
  EXPECT_EQ(RegistryFilePath(Hive::LocalMachine), dir_ + "/HKLM.reg");
  EXPECT_EQ(RegistryFilePath(Hive::CurrentUser), dir_ + "/HKCU.reg");
  EXPECT_EQ(RegistryFilePath(Hive::ThreadUser), dir_ + "/HKCU.reg");
  unsetenv("ZXUT_REGISTRY_DIR");
  EXPECT_EQ(RegistryFilePath(Hive::LocalMachine), "/etc/zarnik/HKLM.reg");
  setenv("XDG_CONFIG_HOME", "/x/cfg", 1);
  EXPECT_EQ(RegistryFilePath(Hive::CurrentUser), "/x/cfg/zarnik/HKCU.reg");
  unsetenv("XDG_CONFIG_HOME");
  setenv("ZXUT_REGISTRY_DIR", dir_.c_str(), 1);
}

TEST_F(RegistryStore, MissingValuesSizeQueryAndMoreData) {
  uint32_t size = 0;
  EXPECT_EQ(QueryRegValue(Hive::LocalMachine, u"software\\zarnik", u"X", nullptr, nullptr, &size), 2);
  Write("HKLM.reg", "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"A\"=\"1\"\n");
  EXPECT_EQ(QueryRegValue(Hive::LocalMachine, u"software\\other", u"A", nullptr, nullptr, &size), 2);
  EXPECT_EQ(QueryRegValue(Hive::LocalMachine, u"software\\zarnik", u"B", nullptr, nullptr, &size), 2);
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, u"software\\zarnik", u"A", nullptr, nullptr, &size), 2);
  EXPECT_EQ(QueryRegValue(Hive::LocalMachine, u"SOFTWARE\\ZARNIK", u"a", nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 4u);

  ASSERT_EQ(SetRegValue(Hive::CurrentUser, u"Software\\zarnik", u"Name", kRegSz,
                        Utf16Bytes(u"hello").data(), 12), 0);
  uint32_t type = 0;
  size = 0;
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, u"software\\zarnik", u"name", &type, nullptr, &size), 0);
  EXPECT_EQ(type, kRegSz);
  EXPECT_EQ(size, 12u);
  char16_t small[3];
  size = sizeof small;
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, u"software\\zarnik", u"name", &type, small, &size), 234);
  EXPECT_EQ(size, 12u);
  char16_t any[1];
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, u"software\\zarnik", u"name", &type, any, nullptr), 87);
}

TEST_F(RegistryStore, WritesKeepEverythingElseAndReadBack) {
  Write("HKLM.reg",
        "Windows Registry Editor Version 5.00\n\n"
        "; keep this comment\n"
        "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zarnik]\n"
        "\"Debug.LogFilename\"=\"C:\\\\x.log\"\n"
        "some line we do not understand\n\n"
        "[HKEY_LOCAL_MACHINE\\Software\\Other]\n"
        "\"Keep\"=dword:00000001\n");
  EXPECT_EQ(QueryString(Hive::LocalMachine, u"software\\zarnik", u"debug.logfilename"), u"C:\\x.log");
  ASSERT_EQ(SetRegValue(Hive::LocalMachine, u"software\\zarnik", u"DEBUG.LOGFILENAME", kRegSz,
                        Utf16Bytes(u"D:\\y.log").data(), 18), 0);
  uint32_t v = 670375;
  ASSERT_EQ(SetRegValue(Hive::LocalMachine, u"software\\zarnik\\New", u"GPFMiniDumpMode", kRegDword, &v, 4), 0);
  EXPECT_EQ(QueryString(Hive::LocalMachine, u"Software\\Zarnik", u"Debug.LogFilename"), u"D:\\y.log");
  const std::string file = Read("HKLM.reg");
  EXPECT_EQ(file,
            "Windows Registry Editor Version 5.00\n\n"
            "; keep this comment\n\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zarnik]\n"
            "\"Debug.LogFilename\"=\"D:\\\\y.log\"\n"
            "some line we do not understand\n\n"
            "[HKEY_LOCAL_MACHINE\\Software\\Other]\n"
            "\"Keep\"=dword:00000001\n\n"
            "[HKEY_LOCAL_MACHINE\\software\\zarnik\\New]\n"
            "\"GPFMiniDumpMode\"=dword:000a3aa7\n\n");
  // No temporary file is left behind.
  EXPECT_NE(std::system(("ls " + dir_ + " | grep -q tmp").c_str()), 0);
  // Delete.
  EXPECT_EQ(DeleteRegValue(Hive::LocalMachine, u"software\\other", u"keep"), 0);
  EXPECT_EQ(DeleteRegValue(Hive::LocalMachine, u"software\\other", u"keep"), 2);
  uint32_t size = 0;
  EXPECT_EQ(QueryRegValue(Hive::LocalMachine, u"software\\other", u"Keep", nullptr, nullptr, &size), 2);
}

TEST_F(RegistryStore, ChangedFilesAreNoticed) {
  Write("HKCU.reg", "[HKEY_CURRENT_USER\\Software\\zarnik]\n\"V\"=\"one\"\n");
  EXPECT_EQ(QueryString(Hive::CurrentUser, u"Software\\zarnik", u"V"), u"one");
  // A new file of the same size written in place: the inode/mtime check sees it.
  usleep(10000);
  Write("HKCU.reg", "[HKEY_CURRENT_USER\\Software\\zarnik]\n\"V\"=\"two\"\n");
  EXPECT_EQ(QueryString(Hive::CurrentUser, u"Software\\zarnik", u"V"), u"two");
}

TEST_F(RegistryStore, ConcurrentWritersFromProcessesAndThreadsLoseNothing) {
  constexpr int kProcesses = 4, kThreads = 2, kWrites = 15;
  auto name = [](int p, int t, int i) {
    return std::u16string{u'v', char16_t(u'a' + p), char16_t(u'a' + t), char16_t(u'A' + i)};
  };
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      std::vector<std::thread> threads;
      for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([p, t, name] {
          for (int i = 0; i < kWrites; ++i) {
            uint32_t value = uint32_t(p * 1000 + t * 100 + i);
            if (SetRegValue(Hive::CurrentUser, u"Software\\zarnik\\Load", name(p, t, i).c_str(), kRegDword, &value, 4))
              _exit(1);
          }
        });
      for (auto& th : threads) th.join();
      _exit(0);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  for (int p = 0; p < kProcesses; ++p)
    for (int t = 0; t < kThreads; ++t)
      for (int i = 0; i < kWrites; ++i) {
        uint32_t value = 0, size = 4, type = 0;
        ASSERT_EQ(QueryRegValue(Hive::CurrentUser, u"software\\zarnik\\load", name(p, t, i).c_str(), &type, &value, &size), 0);
        EXPECT_EQ(value, uint32_t(p * 1000 + t * 100 + i));
      }
}

TEST_F(RegistryStore, UnwritableFolderReportsAccessDenied) {
  if (geteuid() == 0) GTEST_SKIP() << "root may write anywhere";
  std::string ro = dir_ + "/ro";
  mkdir(ro.c_str(), 0555);
  setenv("ZXUT_REGISTRY_DIR", (ro + "/sub").c_str(), 1);
  uint32_t v = 1;
  EXPECT_EQ(SetRegValue(Hive::CurrentUser, u"Software\\zarnik", u"X", kRegDword, &v, 4), 5);
  setenv("ZXUT_REGISTRY_DIR", dir_.c_str(), 1);
}

// ---- the reader rules

TEST_F(RegistryStore, ReaderRetriesOnTheHeapBeyond512Bytes) {
  const std::u16string fits(255, u'a');     // 255 + terminator = 512 bytes
  const std::u16string longer(700, u'b');
  ASSERT_EQ(zx::RegWriteString(Hive::LocalMachine, u"software\\zarnik", u"Fits", fits.c_str()), 0);
  ASSERT_EQ(zx::RegWriteString(Hive::LocalMachine, u"software\\zarnik", u"Long", longer.c_str()), 0);
  std::u16string out;
  ASSERT_TRUE(zx::RegReadString(Hive::LocalMachine, u"software\\zarnik", u"Fits", out));
  EXPECT_EQ(out, fits);
  ASSERT_TRUE(zx::RegReadString(Hive::LocalMachine, u"software\\zarnik", u"Long", out));
  EXPECT_EQ(out, longer);
  EXPECT_FALSE(zx::RegReadString(Hive::LocalMachine, u"software\\zarnik", u"Missing", out));
  EXPECT_EQ(out, longer);   // untouched
  uint32_t v = 7;
  ASSERT_EQ(SetRegValue(Hive::LocalMachine, u"software\\zarnik", u"Num", kRegDword, &v, 4), 0);
  EXPECT_FALSE(zx::RegReadString(Hive::LocalMachine, u"software\\zarnik", u"Num", out));   // wrong type
  uint32_t d = 0;
  EXPECT_TRUE(zx::RegReadDword(Hive::LocalMachine, u"software\\zarnik", u"Num", d));
  EXPECT_EQ(d, 7u);
  EXPECT_FALSE(zx::RegReadDword(Hive::LocalMachine, u"software\\zarnik", u"Fits", d));
}

TEST_F(RegistryStore, BooleansAreTrueOnALeadingCapitalT) {
  Write("HKLM.reg",
        "[HKEY_LOCAL_MACHINE\\software\\zarnik]\n"
        "\"A\"=\"TRUE\"\n\"B\"=\"T\"\n\"C\"=\"true\"\n\"D\"=\"False\"\n\"E\"=\"\"\n\"F\"=dword:00000001\n");
  // A string starting with "T" is true, any other string false; no string: the default.
  const struct {
    const char16_t* name;
    bool def, expected;
  } cases[] = {{u"A", false, true}, {u"B", false, true}, {u"C", true, false}, {u"D", true, false},
               {u"E", true, false}, {u"F", true, true},  {u"Nope", true, true}, {u"Nope", false, false}};
  for (const auto& c : cases)
    EXPECT_EQ(zx::RegReadBool(Hive::LocalMachine, u"software\\zarnik", c.name, c.def), c.expected)
        << char(c.name[0]) << c.def;
}

namespace {
int g_probeCalls = 0;
bool g_probeResult = true;
bool Probe() {
  ++g_probeCalls;
  return g_probeResult;
}
}  // namespace

// Without the setting, or with it not starting with a capital T, the probe is never asked.
TEST_F(RegistryStore, HiveRuleWithoutACapitalTUsesCurrentUser) {
  for (const char* setting : {"", "\"Registry.ImpersonationAware\"=\"true\"\n"}) {
    if (*setting) Write("HKLM.reg", std::string("[HKEY_LOCAL_MACHINE\\software\\zarnik]\n") + setting);
    RegistryReload();
    g_probeCalls = 0;
    zx::ResetHiveRuleForTests(&Probe);
    EXPECT_EQ(zx::UserHive(), Hive::CurrentUser);
    EXPECT_EQ(zx::UserHive(), Hive::CurrentUser);
    EXPECT_EQ(g_probeCalls, 0);
  }
}

TEST_F(RegistryStore, HiveRuleImpersonationAwareAndItsFallback) {
  Write("HKLM.reg", "[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"Registry.ImpersonationAware\"=\"True\"\n");
  Write("HKCU.reg", "[HKEY_CURRENT_USER\\software\\zarnik]\n\"UseGPFHandler\"=\"F\"\n");
  g_probeCalls = 0;
  g_probeResult = true;
  zx::ResetHiveRuleForTests(&Probe);
  EXPECT_EQ(zx::UserHive(), Hive::ThreadUser);
  std::u16string v;
  EXPECT_TRUE(zx::RegReadString(Hive::CurrentUser, u"software\\zarnik", u"UseGPFHandler", v));
  EXPECT_EQ(v, u"F");
  EXPECT_EQ(g_probeCalls, 2);
  // The first failure falls back to HKCU for the rest of the process.
  g_probeResult = false;
  EXPECT_EQ(zx::UserHive(), Hive::CurrentUser);
  g_probeResult = true;
  EXPECT_EQ(zx::UserHive(), Hive::CurrentUser);
  EXPECT_EQ(g_probeCalls, 3);
  EXPECT_TRUE(zx::RegReadString(Hive::CurrentUser, u"software\\zarnik", u"UseGPFHandler", v));
  g_probeResult = true;
}

#endif  // !_WIN32

#ifdef _WIN32
// The same calls against the real registry, in a key of this test's own.
TEST(RegistryWindows, RoundTripAndReaderRulesInTheRealRegistry) {
  const std::u16string key = u"Software\\zarnik-platform-test-" +
                             std::u16string(1, char16_t(u'A' + ::GetCurrentProcessId() % 26));
  const std::vector<uint8_t> hello = Utf16Bytes(u"hello");
  ASSERT_EQ(SetRegValue(Hive::CurrentUser, key.c_str(), u"Text", kRegSz, hello.data(), 12), 0);
  uint32_t type = 0, size = 0;
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, key.c_str(), u"TEXT", &type, nullptr, &size), 0);
  EXPECT_EQ(type, kRegSz);
  EXPECT_EQ(size, 12u);
  char16_t small[2];
  size = sizeof small;
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, key.c_str(), u"Text", &type, small, &size), 234);
  EXPECT_EQ(size, 12u);

  const std::u16string longer(700, u'b');
  ASSERT_EQ(zx::RegWriteString(Hive::CurrentUser, key.c_str(), u"Long", longer.c_str()), 0);
  std::u16string out;
  ASSERT_TRUE(zx::RegReadString(Hive::CurrentUser, key.c_str(), u"Long", out));
  EXPECT_EQ(out, longer);
  ASSERT_EQ(zx::RegWriteString(Hive::CurrentUser, key.c_str(), u"Flag", u"Tja"), 0);
  EXPECT_TRUE(zx::RegReadBool(Hive::CurrentUser, key.c_str(), u"Flag", false));
  ASSERT_EQ(zx::RegWriteDword(Hive::CurrentUser, key.c_str(), u"N", 670375), 0);
  uint32_t n = 0;
  EXPECT_TRUE(zx::RegReadDword(Hive::CurrentUser, key.c_str(), u"N", n));
  EXPECT_EQ(n, 670375u);
  EXPECT_TRUE(OpenCurrentUserHive());
  EXPECT_EQ(QueryRegValue(Hive::ThreadUser, key.c_str(), u"N", &type, &n, &size), 0);

  for (const char16_t* name : {u"Text", u"Long", u"Flag", u"N"})
    EXPECT_EQ(DeleteRegValue(Hive::CurrentUser, key.c_str(), name), 0);
  EXPECT_EQ(DeleteRegValue(Hive::CurrentUser, key.c_str(), u"N"), 2);
  ::RegDeleteKeyW(HKEY_CURRENT_USER, reinterpret_cast<const wchar_t*>(key.c_str()));
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, key.c_str(), u"Text", &type, nullptr, &size), 2);
}
#endif
