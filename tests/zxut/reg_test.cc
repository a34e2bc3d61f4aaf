// zxut reg against the registry of the platform (the .reg store on Linux, the
// registry itself under wine): each kind of value set, read back by the tool and by
// the library, listed and deleted; values that do not read are refused.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

#include "platform/registry.h"
#include "support/support_test_util.h"
#include "zxut_test_util.h"

using zxuttest::Lf;
using zxuttest::Zxut;

namespace {

std::vector<uint8_t> Utf16z(std::u16string_view text) {
  std::vector<uint8_t> out;
  for (char16_t c : text) out.insert(out.end(), {uint8_t(c & 0xFF), uint8_t(c >> 8)});
  out.insert(out.end(), {0, 0});
  return out;
}

// A key of this test's own: in a scratch store on Linux, under HKCU on Windows.
class ZxutReg : public ::testing::Test {
 protected:
  void SetUp() override {
#ifdef _WIN32
    path_ = u"Software\\zarnik-zxut-test-" + zxsupport::U16(std::to_string(GetCurrentProcessId()));
#else
    setenv("ZXUT_REGISTRY_DIR", scratch_.path().string().c_str(), 1);
    plat::RegistryReload();
    path_ = u"Software\\zarnik\\Test";
#endif
    key_ = "HKCU\\" + zxsupport::Ascii(path_);
  }
  void TearDown() override {
#ifdef _WIN32
    RegDeleteTreeW(HKEY_CURRENT_USER, reinterpret_cast<const wchar_t*>(path_.c_str()));
#else
    unsetenv("ZXUT_REGISTRY_DIR");
    plat::RegistryReload();
#endif
  }
  zxsupport::ScratchDir scratch_{"zxut_reg"};
  std::u16string path_;
  std::string key_;
};

}  // namespace

TEST_F(ZxutReg, EachKindRoundTripsThroughTheToolAndTheLibrary) {
  const struct {
    const char* name;
    const char* option;   // null: none (a string)
    const char* value;
    const char* shown;    // what get prints
    const char* kind;     // what list prints
    uint32_t type;
    std::vector<uint8_t> data;
  } cases[] = {
      {"Plain", nullptr, "zx.log", "zx.log", "string", plat::kRegSz, Utf16z(u"zx.log")},
      {"Quoted", "--string", "C:\\logs\\a \"b\".log", "C:\\logs\\a \"b\".log", "string", plat::kRegSz,
       Utf16z(u"C:\\logs\\a \"b\".log")},
      {"Expand", "--expand", "%TEMP%\\zx.log", "%TEMP%\\zx.log", "expand", plat::kRegExpandSz,
       Utf16z(u"%TEMP%\\zx.log")},
      {"Hex", "--dword", "0x000A3AA7", "670375", "dword", plat::kRegDword, {0xA7, 0x3A, 0x0A, 0}},
      {"Max", "--dword", "4294967295", "4294967295", "dword", plat::kRegDword, {0xFF, 0xFF, 0xFF, 0xFF}},
      {"Zero", "--dword", "0", "0", "dword", plat::kRegDword, {0, 0, 0, 0}},
      {"Blob", "--binary", "01,ab,FF", "01abff", "binary", plat::kRegBinary, {1, 0xAB, 0xFF}},
      {"Empty", "--binary", "", "", "binary", plat::kRegBinary, {}},
      {"", "--string", "the default", "the default", "string", plat::kRegSz, Utf16z(u"the default")},
#ifndef _WIN32   // arguments are UTF-8 on Linux, the ANSI code page on Windows
      {"Umlaut", nullptr, "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC", "Gr\xC3\xBC\xC3\x9F \xE2\x82\xAC", "string",
       plat::kRegSz, Utf16z(u"Gr\u00FC\u00DF \u20AC")},
#endif
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::vector<std::string> set = {"reg", "set", key_, c.name};
    if (c.option) set.push_back(c.option);
    set.push_back(c.value);
    const zxuttest::Run done = Zxut(set);
    ASSERT_EQ(done.status, 0) << done.err;
    const zxuttest::Run got = Zxut({"reg", "get", key_, c.name});
    EXPECT_EQ(got.status, 0) << got.err;
    EXPECT_EQ(Lf(got.out), std::string(c.shown) + "\n");
    // The library reads what the tool wrote.
    uint32_t type = 0, size = 0;
    const std::u16string name = zxsupport::U16(c.name);
    ASSERT_EQ(plat::QueryRegValue(plat::Hive::CurrentUser, path_.c_str(), name.c_str(), &type, nullptr, &size), 0);
    std::vector<uint8_t> data(size);
    ASSERT_EQ(plat::QueryRegValue(plat::Hive::CurrentUser, path_.c_str(), name.c_str(), &type, data.data(), &size), 0);
    EXPECT_EQ(type, c.type);
    EXPECT_EQ(data, c.data);
  }
  const std::string list = Lf(Zxut({"reg", "list", key_}).out);
  for (const auto& c : cases) {
    const std::string line = std::string(*c.name ? c.name : "@") + "\t" + c.kind + "\t" + c.shown + "\n";
    EXPECT_NE(list.find(line), std::string::npos) << line << " in\n" << list;
  }
  // A subkey shows in its parent's list.
  ASSERT_EQ(Zxut({"reg", "set", key_ + "/Sub", "X", "--dword", "1"}).status, 0);
  EXPECT_EQ(Lf(Zxut({"reg", "list", key_}).out).rfind("Sub\\\n", 0), 0u);

  for (const auto& c : cases) {
    EXPECT_EQ(Zxut({"reg", "delete", key_, c.name}).status, 0) << c.name;
    EXPECT_EQ(Zxut({"reg", "get", key_, c.name}).status, 1) << c.name;
  }
}

TEST_F(ZxutReg, ValuesThatDoNotReadAreRefusedAndNothingIsWritten) {
  const std::vector<std::vector<std::string>> bad = {
      {"--dword", "-1"},     {"--dword", "4294967296"}, {"--dword", "12x"}, {"--dword", ""},
      {"--dword", "0x"},     {"--binary", "abc"},       {"--binary", "zz"}, {"--qword", "1"},
  };
  for (const auto& b : bad) {
    SCOPED_TRACE(b[0] + " " + b[1]);
    const zxuttest::Run run = Zxut({"reg", "set", key_, "V", b[0], b[1]});
    EXPECT_EQ(run.status, 2);
    EXPECT_NE(Lf(run.err).find("usage: zxut reg"), std::string::npos);
  }
  uint32_t size = 0;
  EXPECT_EQ(plat::QueryRegValue(plat::Hive::CurrentUser, path_.c_str(), u"V", nullptr, nullptr, &size), 2);
}

TEST_F(ZxutReg, AMissingValueNamesTheKeyAndTheCode) {
  const zxuttest::Run run = Zxut({"reg", "get", key_, "Nope"});
  EXPECT_EQ(run.status, 1);
  const std::string where = plat::RegistryFilePath(plat::Hive::CurrentUser);
  EXPECT_EQ(Lf(run.err), "zxut reg: cannot read 'Nope' in " + key_ + (where.empty() ? "" : " (" + where + ")") +
                             ": " + zxuttest::SystemError(2) + "\n");
  EXPECT_EQ(Zxut({"reg", "delete", key_, "Nope"}).status, 1);
}
