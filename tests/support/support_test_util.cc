#include "support_test_util.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "debug/DebugChannel.h"
#include "file/TempName.h"
#include "platform/process.h"

#ifdef _WIN32
#include <windows.h>
#endif

namespace zxsupport {

DiagCapture::DiagCapture() { previous_ = zx::SetDiagSink(&Sink, this, &previousContext_); }
DiagCapture::~DiagCapture() { zx::SetDiagSink(previous_, previousContext_); }

void DiagCapture::Sink(const char16_t* line, void* self) {
  auto* c = static_cast<DiagCapture*>(self);
  std::lock_guard<std::mutex> l(c->lock_);
  c->lines_.emplace_back(line);
}

std::vector<std::u16string> DiagCapture::Lines() const {
  std::lock_guard<std::mutex> l(lock_);
  return lines_;
}

std::vector<std::string> DiagCapture::AsciiLines() const {
  std::vector<std::string> out;
  for (const std::u16string& s : Lines()) out.push_back(Ascii(s));
  return out;
}

size_t DiagCapture::Count(std::u16string_view text) const {
  size_t n = 0;
  for (const std::u16string& s : Lines()) n += s.find(text) != std::u16string::npos;
  return n;
}

size_t DiagCapture::Count(std::string_view asciiText) const {
  size_t n = 0;
  for (const std::string& s : AsciiLines()) n += s.find(asciiText) != std::string::npos;
  return n;
}

size_t DiagCapture::CountEqual(std::u16string_view line) const {
  size_t n = 0;
  for (const std::u16string& s : Lines()) n += s == line;
  return n;
}

bool DiagCapture::AnyStartsWith(std::u16string_view prefix) const {
  for (const std::u16string& s : Lines())
    if (s.compare(0, prefix.size(), prefix) == 0) return true;
  return false;
}

size_t DiagCapture::Size() const {
  std::lock_guard<std::mutex> l(lock_);
  return lines_.size();
}

void DiagCapture::Clear() {
  std::lock_guard<std::mutex> l(lock_);
  lines_.clear();
}

std::string Ascii(std::u16string_view s) {
  std::string out;
  for (char16_t c : s) out.push_back(c < 128 ? static_cast<char>(c) : '?');
  return out;
}

std::u16string U16(std::string_view ascii) { return std::u16string(ascii.begin(), ascii.end()); }

std::string TempPath(std::string_view stem) {
  static std::atomic<unsigned> counter{0};
  return (fs::temp_directory_path() / ("zxut_" + std::string(stem) + "_" + std::to_string(plat::ProcessId()) +
                                       "_" + std::to_string(++counter)))
      .string();
}

ScratchDir::ScratchDir(std::string_view stem) {
  const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
  path_ = TempPath(std::string(stem) + "_" + (info ? info->name() : "x"));
  RemoveTree(path_);   // a leftover of an interrupted run
  fs::create_directories(path_);
}

ScratchDir::~ScratchDir() { RemoveTree(path_); }

void RemoveTree(const fs::path& root) {
  std::error_code ec;
  fs::permissions(root, fs::perms::owner_all, fs::perm_options::add, ec);
  for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
       it.increment(ec))
    fs::permissions(it->path(), fs::perms::owner_write | fs::perms::owner_read, fs::perm_options::add, ec);
  fs::remove_all(root, ec);
}

std::string ReadBytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteBytes(const fs::path& p, std::string_view bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string Utf16LeBytes(std::u16string_view text) {
  std::string out;
  for (char16_t c : text) {
    out.push_back(static_cast<char>(c & 0xFF));
    out.push_back(static_cast<char>(c >> 8));
  }
  return out;
}

std::u16string FromUtf16LeBytes(std::string_view bytes) {
  std::u16string out;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    out.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                        static_cast<unsigned char>(bytes[i + 1]) << 8));
  return out;
}

std::vector<std::u16string> SplitCrLfLines(std::u16string_view text, std::u16string* rest) {
  std::vector<std::u16string> out;
  size_t start = 0;
  for (size_t pos; (pos = text.find(u"\r\n", start)) != std::u16string_view::npos; start = pos + 2)
    out.emplace_back(text.substr(start, pos - start));
  if (rest) *rest = text.substr(start);
  return out;
}

bool RunFilter(const std::string& command, std::string_view input, std::string& output) {
  output.clear();
#ifdef _WIN32
  (void)command;
  (void)input;
  return false;
#else
  const std::string inPath = TempPath("filter_in");
  WriteBytes(inPath, input);
  FILE* p = popen((command + " < " + inPath + " 2>/dev/null").c_str(), "r");
  if (!p) {
    std::remove(inPath.c_str());
    return false;
  }
  char buf[4096];
  for (size_t n; (n = fread(buf, 1, sizeof buf, p)) > 0;) output.append(buf, n);
  const int rc = pclose(p);
  std::remove(inPath.c_str());
  return rc == 0;
#endif
}

bool UnderWine() {
#ifdef _WIN32
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll && GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
  return false;
#endif
}

ScopedTempFolder::ScopedTempFolder(const fs::path& p) {
#ifdef _WIN32
  SetEnvironmentVariableW(L"TMP", (p.wstring() + L"\\").c_str());
#else
  const char* old = std::getenv("TMPDIR");
  if ((had_ = old != nullptr)) old_ = old;
  setenv("TMPDIR", p.string().c_str(), 1);
#endif
  zx::UtilResetTempPathCache();
}

ScopedTempFolder::~ScopedTempFolder() {
#ifdef _WIN32
  SetEnvironmentVariableW(L"TMP", nullptr);
#else
  if (had_) setenv("TMPDIR", old_.c_str(), 1);
  else unsetenv("TMPDIR");
#endif
  zx::UtilResetTempPathCache();
}

namespace {
void SetEnv(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value ? value : "");
#else
  value ? setenv(name, value, 1) : unsetenv(name);
#endif
}

class DebugChannelFirst : public ::testing::Environment {
 public:
  void SetUp() override { zx::DebugChannel(); }
};
}  // namespace

ScopedEnv::ScopedEnv(std::initializer_list<std::pair<const char*, const char*>> values) {
  for (auto [name, value] : values) {
    const char* old = std::getenv(name);
    saved_.push_back({name, old != nullptr, old ? old : ""});
    SetEnv(name, value);
  }
}

ScopedEnv::~ScopedEnv() {
  for (auto& s : saved_) SetEnv(s.name, s.had ? s.value.c_str() : nullptr);
}

bool SetUpDeveloperProgram(const char* stem) {
  SetEnv("user", "zrk");
#ifndef _WIN32
  const std::string reg = TempPath(stem);
  std::filesystem::create_directories(reg);
  SetEnv("ZXUT_REGISTRY_DIR", reg.c_str());
#else
  (void)stem;
#endif
  ::testing::AddGlobalTestEnvironment(new DebugChannelFirst);
  return true;
}

}  // namespace zxsupport
