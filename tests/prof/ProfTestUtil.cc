#include "ProfTestUtil.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/Registry.h"
#include "core/String.h"
#include "platform/process.h"
#include "platform/registry.h"

namespace proftest {

namespace {

BOOL ZXUT_API Collect(HPROFJOB, LPCWSTR name, LPCWSTR value, HPROFLIST sublist, void* user) {
  static_cast<std::vector<Entry>*>(user)->push_back({U(name), U(value), sublist});
  return TRUE;
}

std::u16string CacheKey() {
  zx::String exe{plat::ExecutableBaseName()};
  exe.ToUpper();
  return u"software\\zarnik\\" + std::u16string(exe.View());
}

// Installed before any test runs, so that every job of the program reads the
// cache switch from a private registry folder.
class RegistryEnvironment : public ::testing::Environment {
 public:
  void SetUp() override { RegistryDir(); }
  void TearDown() override {
    std::error_code ec;
    std::filesystem::remove_all(RegistryDir(), ec);
  }
};
[[maybe_unused]] ::testing::Environment* const registryEnvironment =
    ::testing::AddGlobalTestEnvironment(new RegistryEnvironment);

}  // namespace

std::vector<Entry> Items(HPROFJOB job, HPROFLIST list) {
  std::vector<Entry> out;
  ProfEnumW(job, list, Collect, &out);
  return out;
}

std::u16string Dump(HPROFJOB job, HPROFLIST list) {
  std::u16string s;
  for (const Entry& e : Items(job, list)) {
    if (!s.empty()) s += u' ';
    if (e.sublist) {
      s += u"[" + e.name + u"]{" + Dump(job, e.sublist) + u"}";
    } else {
      s += e.name + u"=" + e.value;
    }
  }
  return s;
}

const std::string& RegistryDir() {
  static const std::string dir = [] {
    std::filesystem::path base = std::filesystem::temp_directory_path() /
                                 ("zxut-prof-reg-" + std::to_string(plat::ProcessId()));
    std::filesystem::create_directories(base);
#if defined(_WIN32)
    _putenv_s("ZXUT_REGISTRY_DIR", base.string().c_str());
#else
    setenv("ZXUT_REGISTRY_DIR", base.string().c_str(), 1);
#endif
    plat::RegistryReload();
    return base.string();
  }();
  return dir;
}

void SetCacheSetting(const char16_t* text) {
  RegistryDir();
  ASSERT_EQ(zx::RegWriteString(plat::Hive::CurrentUser, CacheKey().c_str(), u"ProfCacheEnabled", text), 0);
}

void SetCacheSettingDword(uint32_t value) {
  RegistryDir();
  ASSERT_EQ(zx::RegWriteDword(plat::Hive::CurrentUser, CacheKey().c_str(), u"ProfCacheEnabled", value), 0);
}

void RemoveCacheSetting() {
  RegistryDir();
  plat::DeleteRegValue(plat::Hive::CurrentUser, CacheKey().c_str(), u"ProfCacheEnabled");
}

std::string ToUtf8(const std::u16string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    uint32_t c = s[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < s.size()) c = 0x10000 + ((c - 0xD800) << 10) + (s[++i] - 0xDC00);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

}  // namespace proftest
