// Helpers of the file tests: a scratch folder per test, byte files, captured
// diagnostic lines and an outside converter as oracle.
#pragma once
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/diag/Diag.h"
#include "core/strings/String.h"
#include "file/File.h"
#include "platform/errors.h"

namespace ftest {

namespace fs = std::filesystem;

inline zx::String Str(const fs::path& p) { return zx::String(std::u16string_view(p.u16string())); }

class ScratchDir {
 public:
  ScratchDir() {
    static std::atomic<int> counter{0};
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    path_ = fs::temp_directory_path() /
            (std::string("zxut_file_") + (info ? info->name() : "x") + "_" + std::to_string(++counter));
    RemoveTree(path_);   // a leftover of an interrupted run
    fs::create_directories(path_);
  }
  ~ScratchDir() { RemoveTree(path_); }
  fs::path operator/(const std::string& leaf) const { return path_ / leaf; }
  const fs::path& path() const { return path_; }

 private:
  // Read-only entries are made writable first: Windows refuses to delete them.
  static void RemoveTree(const fs::path& root) {
    std::error_code ec;
    fs::permissions(root, fs::perms::owner_all, fs::perm_options::add, ec);
    for (auto it = fs::recursive_directory_iterator(root, ec); !ec && it != fs::recursive_directory_iterator();
         it.increment(ec))
      fs::permissions(it->path(), fs::perms::owner_write | fs::perms::owner_read, fs::perm_options::add, ec);
    fs::remove_all(root, ec);
  }
  fs::path path_;
};

inline void WriteBytes(const fs::path& p, const std::string& bytes) {
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadBytes(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// Collects the library's diagnostic lines while it lives.
class DiagCapture {
 public:
  DiagCapture() { previous_ = zx::SetDiagSink(&Sink, this, &previousContext_); }
  ~DiagCapture() { zx::SetDiagSink(previous_, previousContext_); }
  bool Contains(const std::u16string& text) const { return Count(text) != 0; }
  size_t Count(const std::u16string& text) const {
    size_t n = 0;
    for (const auto& l : lines_)
      if (l.find(text) != std::u16string::npos) ++n;
    return n;
  }
  const std::vector<std::u16string>& lines() const { return lines_; }

 private:
  static void Sink(const char16_t* line, void* ctx) { static_cast<DiagCapture*>(ctx)->lines_.emplace_back(line); }
  std::vector<std::u16string> lines_;
  zx::DiagSink previous_ = nullptr;
  void* previousContext_ = nullptr;
};

// The system's text of an error as clsFile keeps it (without the line end).
inline std::u16string ErrorText(uint32_t code) {
  std::u16string text;
  plat::SystemErrorText(code, 0, text);
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' ')) text.pop_back();
  return text;
}

// True under wine, which runs as the Unix user (root writes into read-only files).
inline bool UnderWine() {
#ifdef _WIN32
  HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
  return ntdll && GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
  return false;
#endif
}

#ifndef _WIN32
// Runs `command` through the shell with `input` on stdin; stdout in `output`.
inline bool RunFilter(const std::string& command, const std::string& input, std::string& output) {
  char inPath[] = "/tmp/zxut_file_in_XXXXXX";
  const int fd = mkstemp(inPath);
  if (fd < 0) return false;
  FILE* in = fdopen(fd, "wb");
  fwrite(input.data(), 1, input.size(), in);
  fclose(in);
  FILE* p = popen((command + " < " + inPath + " 2>/dev/null").c_str(), "r");
  if (!p) return false;
  output.clear();
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) output.append(buf, n);
  const int rc = pclose(p);
  std::remove(inPath);
  return rc == 0;
}
#endif

}  // namespace ftest
