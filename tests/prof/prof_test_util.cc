#include "prof_test_util.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/registry/Registry.h"
#include "core/strings/String.h"
#include "platform/codepage.h"
#include "platform/process.h"
#include "platform/registry.h"
#include "prof/Prof.h"
#include "support/support_test_util.h"

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
    const std::filesystem::path base = zxsupport::TempPath("prof_reg");
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

std::string ToUtf8(const std::u16string& s) { return plat::Utf16ToUtf8(s); }

std::string Golden(const std::string& leaf) {
  const std::string bytes = zxsupport::ReadBytes(std::filesystem::path(ZXUT_SOURCE_DIR) / "tests" / "prof" / "data" / "golden" / leaf);
  EXPECT_FALSE(bytes.empty()) << "golden file " << leaf;
  return bytes;
}

LONG SaveTo(HPROFJOB job, const std::filesystem::path& path, DWORD flags) {
  const std::u16string name = path.u16string();
  return ProfSaveW(job, W(name.c_str()), flags);
}

std::string SavedBytes(HPROFJOB job, DWORD flags) {
  zxsupport::ScratchDir dir("prof_save");
  const auto path = dir / "saved.prf";
  EXPECT_EQ(PROF_OK, SaveTo(job, path, flags));
  return zxsupport::ReadBytes(path);
}

TempFile::TempFile(std::string_view bytes, std::string_view stem) : path_(zxsupport::TempPath(stem)) {
  zxsupport::WriteBytes(path_, bytes);
  name_ = std::filesystem::path(path_).u16string();
}

TempFile::~TempFile() {
  std::error_code ec;
  std::filesystem::remove(path_, ec);
}

HPROFJOB OpenBytes(std::string_view bytes) {
  TempFile file(bytes);
  return ProfJobOpenW(file.WName());
}

InternalJob::InternalJob(std::string_view bytes) {
  TempFile file(bytes);
  job_ = zx::prof::JobOpen(file.Name().c_str(), 0);
}

InternalJob::~InternalJob() { zx::prof::JobClose(job_); }

std::string Utf16File(std::u16string_view text) { return "\xFF\xFE" + zxsupport::Utf16LeBytes(text); }

}  // namespace proftest
