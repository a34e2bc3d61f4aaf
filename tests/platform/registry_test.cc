// The registry store of Linux (export-format files), its parser, and the reader
// rules above it (buffer retry, "T" booleans, the hive rule).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
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
  ASSERT_EQ(doc.leading.size(), 3u);   // the header, a blank line, the comment
  EXPECT_TRUE(doc.leading[2].raw);
  EXPECT_EQ(doc.leading[2].text, u"; written by hand\r");
  EXPECT_TRUE(doc.crlf);
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
  EXPECT_EQ(doc.keys[1].entries[2].text, u"\"Broken=\"no closing quote\r");
  EXPECT_TRUE(doc.keys[1].entries[3].raw);
  // ... and are listed with their line numbers.
  ASSERT_EQ(doc.problems.size(), 2u);
  EXPECT_EQ(doc.problems[0].line, 14u);
  EXPECT_EQ(doc.problems[1].line, 15u);
  EXPECT_EQ(regfile::Serialize(doc), text);
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

// Written back unchanged, a file gives its own bytes; a value set in place changes
// its line alone; a new value goes after the key's last line, a new key at the end.
TEST(RegFile, RewritesKeepEveryOtherByte) {
  const std::string lf =
      "Windows Registry Editor Version 5.00\n\n"
      ";  a comment   \n"
      "[HKEY_CURRENT_USER\\Software\\zarnik]\n"
      "\"GPFMiniDumpMode\" = dword:000A3AA7\n"
      "\"Blob\"=hex:01,02,\\\n"
      "    03\n"
      "# another comment\n\n\n"
      "[HKEY_CURRENT_USER\\Software\\Unknown\\Key]\n"
      "\"Other\"=\"kept\"\n";
  auto crlf = [](std::string t) {
    std::string out;
    for (char c : t) (c == '\n' ? out += "\r\n" : out += c);
    return out;
  };
  std::u16string wide;
  for (char c : crlf(lf)) wide.push_back(char16_t(static_cast<unsigned char>(c)));
  const struct {
    const char* what;
    std::string bytes;
    std::string before, after;   // the edited line as it was and as it becomes
  } files[] = {
      {"LF", lf, "\"GPFMiniDumpMode\" = dword:000A3AA7\n", "\"GPFMiniDumpMode\"=dword:00000007\n"},
      {"CR LF", crlf(lf), "\"GPFMiniDumpMode\" = dword:000A3AA7\r\n", "\"GPFMiniDumpMode\"=dword:00000007\r\n"},
      {"UTF-8 BOM", "\xEF\xBB\xBF" + lf, "\"GPFMiniDumpMode\" = dword:000A3AA7\n",
       "\"GPFMiniDumpMode\"=dword:00000007\n"},
      {"UTF-16", "\xFF\xFE" + zxsupport::Utf16LeBytes(wide),
       zxsupport::Utf16LeBytes(u"\"GPFMiniDumpMode\" = dword:000A3AA7\r\n"),
       zxsupport::Utf16LeBytes(u"\"GPFMiniDumpMode\"=dword:00000007\r\n")},
      {"no final line end", lf.substr(0, lf.size() - 1), "\"GPFMiniDumpMode\" = dword:000A3AA7\n",
       "\"GPFMiniDumpMode\"=dword:00000007\n"},
  };
  const uint8_t seven[] = {7, 0, 0, 0};
  for (const auto& f : files) {
    SCOPED_TRACE(f.what);
    regfile::Document doc = regfile::Parse(f.bytes);
    EXPECT_TRUE(doc.problems.empty());
    EXPECT_EQ(regfile::Serialize(doc), f.bytes);
    regfile::SetValue(doc, u"HKCU", u"software\\zarnik", u"gpfminidumpmode", 4, seven, 4);
    std::string expected = f.bytes;
    const size_t at = expected.find(f.before);
    ASSERT_NE(at, std::string::npos);
    expected.replace(at, f.before.size(), f.after);
    EXPECT_EQ(regfile::Serialize(doc), expected);
  }
  // New values and keys in an LF file.
  regfile::Document doc = regfile::Parse(lf);
  regfile::SetValue(doc, u"HKCU", u"software\\zarnik", u"New", 4, seven, 4);
  regfile::SetValue(doc, u"HKCU", u"software\\zarnik\\Sub", u"X", 4, seven, 4);
  std::string expected = lf;
  expected.insert(expected.find("# another"), "\"New\"=dword:00000007\n");   // before the comment
  expected += "\n[HKCU\\software\\zarnik\\Sub]\n\"X\"=dword:00000007\n";
  EXPECT_EQ(regfile::Serialize(doc), expected);
}

// What the parser keeps without understanding it, with the line it stands on.
TEST(RegFile, ProblemsNameTheirLines) {
  const struct {
    const char* text;
    size_t line;
    const char* what;
  } cases[] = {
      {"[HKEY_CURRENT_USER\\Software\\zarnik]\n\"A\"=dword:1234567890\n", 2, "data does not read"},
      {"; fine\n\"A\"=\"1\"\n", 2, "before the first key"},
      {"[HKEY_CURRENT_USER\\Software\\zarnik\n", 1, "closing ']'"},
      {"[HKCU\\x]\r\n\r\nsome words\r\n", 3, "neither a value"},
      {"[HKCU\\x]\n\"Bin\"=hex:01,\\\n  zz\n\"C\"=-\n", 2, "data does not read"},
      {"[HKCU\\x]\n\"A\"=\"1\"\n\"C\"=-\n", 3, "value deletion"},
      {"[-HKCU\\x]\n", 1, "key deletion"},
      {"[HKCU\\x]\n\"A\"=\"caf\xE9\"\n", 2, "not UTF-8"},
      {"\xFF\xFE[\0H\0K\0C\0U\0]\0\n\0!", 2, "odd number"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string bytes(c.text, c.text + (c.text[0] == '\xFF' ? 17 : std::strlen(c.text)));
    regfile::Document doc = regfile::Parse(bytes);
    ASSERT_FALSE(doc.problems.empty());
    EXPECT_EQ(doc.problems[0].line, c.line);
    EXPECT_NE(doc.problems[0].what.find(c.what), std::string::npos) << doc.problems[0].what;
  }
  // Comments, blank lines, the header and every kind of value are no problem.
  EXPECT_TRUE(regfile::Parse("REGEDIT4\n\n# c\n; c\n[HKCU\\x]\n@=\"d\"\n\"B\"=hex(2):41,00,00,00\n").problems.empty());
}

TEST(RegFile, ValuesAndSubkeysOfAKey) {
  regfile::Document doc = regfile::Parse(
      "[HKCU\\Software\\zarnik]\n\"A\"=\"1\"\n\"B\"=\"2\"\n"
      "[HKCU\\Software\\zarnik\\One\\Deep]\n"
      "[HKEY_CURRENT_USER\\software\\ZARNIK]\n\"a\"=\"3\"\n"
      "[HKCU\\Software\\zarnik\\two]\n[HKCU\\Software\\zarnik\\ONE]\n[HKCU\\Software\\zarnikX]\n"
      "[HKLM\\Software\\zarnik\\Three]\n");
  bool exists = false;
  std::vector<const regfile::Entry*> values = regfile::KeyValues(doc, u"HKCU", u"software\\zarnik", &exists);
  EXPECT_TRUE(exists);
  ASSERT_EQ(values.size(), 2u);
  EXPECT_EQ(values[0]->data, Utf16Bytes(u"3"));   // the last definition, in the first one's place
  EXPECT_EQ(values[1]->name, u"B");
  EXPECT_EQ(regfile::SubkeyNames(doc, u"HKCU", u"Software\\zarnik"), (std::vector<std::u16string>{u"One", u"two"}));
  EXPECT_EQ(regfile::SubkeyNames(doc, u"HKCU", u""), (std::vector<std::u16string>{u"Software"}));
  EXPECT_TRUE(regfile::KeyValues(doc, u"HKCU", u"Software", &exists).empty());
  EXPECT_FALSE(exists);   // only implied by its subkeys
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

// A registry folder of the test's own (every test reloads the store); the hive
// rule starts afresh.
class RegistryStore : public ::testing::Test {
 protected:
  void SetUp() override {
    RegistryReload();
    zx::ResetHiveRuleForTests();
  }
  void TearDown() override { zx::ResetHiveRuleForTests(); }
  void Write(const char* file, const std::string& text) { zxsupport::WriteBytes(scratch_ / file, text); }
  std::string Read(const char* file) { return zxsupport::ReadBytes(scratch_ / file); }
  zxsupport::ScratchDir scratch_{"reg"};
  const std::string dir_ = scratch_.path().string();
  zxsupport::ScopedEnv env_{{"ZXUT_REGISTRY_DIR", dir_.c_str()}};
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
            "; keep this comment\n"
            "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Zarnik]\n"
            "\"Debug.LogFilename\"=\"D:\\\\y.log\"\n"
            "some line we do not understand\n\n"
            "[HKEY_LOCAL_MACHINE\\Software\\Other]\n"
            "\"Keep\"=dword:00000001\n\n"
            "[HKEY_LOCAL_MACHINE\\software\\zarnik\\New]\n"
            "\"GPFMiniDumpMode\"=dword:000a3aa7\n");
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

// The checked calls refuse a file with a problem and leave it as it was; the plain
// ones (the library's own writes) keep the line and write.
TEST_F(RegistryStore, CheckedCallsRefuseAFileWithAProblem) {
  const std::string text = "[HKEY_LOCAL_MACHINE\\software\\zarnik]\n\"A\"=\"1\"\n\"B\"=dword:xyz\n";
  Write("HKLM.reg", text);
  uint32_t v = 1;
  RegFileProblem problem;
  EXPECT_EQ(SetRegValueChecked(Hive::LocalMachine, u"software\\zarnik", u"C", kRegDword, &v, 4, &problem),
            long(kErrBadDb));
  EXPECT_EQ(problem.file, dir_ + "/HKLM.reg");
  EXPECT_EQ(problem.line, 3u);
  EXPECT_EQ(DeleteRegValueChecked(Hive::LocalMachine, u"software\\zarnik", u"A", &problem), long(kErrBadDb));
  EXPECT_EQ(Read("HKLM.reg"), text);
  // Listing works, and tells the problem.
  std::vector<std::u16string> subkeys;
  std::vector<RegValue> values;
  problem = {};
  EXPECT_EQ(ListRegKey(Hive::LocalMachine, u"software\\zarnik", subkeys, values, &problem), 0);
  ASSERT_EQ(values.size(), 1u);
  EXPECT_EQ(values[0].name, u"A");
  EXPECT_EQ(problem.line, 3u);
  EXPECT_EQ(ListRegKey(Hive::LocalMachine, u"software\\none", subkeys, values, nullptr), 2);
  // The library's own write goes through and keeps the line.
  EXPECT_EQ(SetRegValue(Hive::LocalMachine, u"software\\zarnik", u"C", kRegDword, &v, 4), 0);
  EXPECT_EQ(Read("HKLM.reg"), text + "\"C\"=dword:00000001\n");
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

  // Listing: the values with their types and data, the key among its parent's subkeys.
  ASSERT_EQ(SetRegValue(Hive::CurrentUser, (key + u"\\Sub").c_str(), u"X", kRegSz, hello.data(), 12), 0);
  std::vector<std::u16string> subkeys;
  std::vector<RegValue> values;
  ASSERT_EQ(ListRegKey(Hive::CurrentUser, key.c_str(), subkeys, values, nullptr), 0);
  EXPECT_EQ(subkeys, std::vector<std::u16string>{u"Sub"});
  ASSERT_EQ(values.size(), 4u);
  for (const RegValue& v : values) {
    if (v.name != u"N") continue;
    EXPECT_EQ(v.type, kRegDword);
    EXPECT_EQ(v.data, (std::vector<uint8_t>{0xA7, 0x3A, 0x0A, 0}));
  }
  ASSERT_EQ(ListRegKey(Hive::CurrentUser, u"Software", subkeys, values, nullptr), 0);
  EXPECT_NE(std::find(subkeys.begin(), subkeys.end(), key.substr(9)), subkeys.end());
  EXPECT_EQ(ListRegKey(Hive::CurrentUser, (key + u"\\None").c_str(), subkeys, values, nullptr), 2);
  EXPECT_EQ(DeleteRegValue(Hive::CurrentUser, (key + u"\\Sub").c_str(), u"X"), 0);
  ::RegDeleteKeyW(HKEY_CURRENT_USER, reinterpret_cast<const wchar_t*>((key + u"\\Sub").c_str()));

  for (const char16_t* name : {u"Text", u"Long", u"Flag", u"N"})
    EXPECT_EQ(DeleteRegValue(Hive::CurrentUser, key.c_str(), name), 0);
  EXPECT_EQ(DeleteRegValue(Hive::CurrentUser, key.c_str(), u"N"), 2);
  ::RegDeleteKeyW(HKEY_CURRENT_USER, reinterpret_cast<const wchar_t*>(key.c_str()));
  EXPECT_EQ(QueryRegValue(Hive::CurrentUser, key.c_str(), u"Text", &type, nullptr, &size), 2);
}
#endif
