// Helpers shared by the platform tests.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#else
#include <unistd.h>
#endif

// A call that must fail (return 0) and set the given last-error number.
#define EXPECT_FAILS_WITH(call, error)          \
  do {                                          \
    plat::SetLastError(0);                      \
    EXPECT_EQ((call), 0) << #call;              \
    EXPECT_EQ(plat::LastError(), (error)) << #call; \
  } while (0)

namespace ptest {

#ifndef _WIN32
// Runs a shell command with `input` on stdin and returns its stdout (binary).
inline bool RunFilter(const std::string& command, const std::string& input, std::string& output) {
  char inPath[] = "/tmp/zxut_platform_in_XXXXXX";
  int fd = mkstemp(inPath);
  if (fd < 0) return false;
  FILE* in = fdopen(fd, "wb");
  fwrite(input.data(), 1, input.size(), in);
  fclose(in);
  std::string cmd = command + " < " + inPath;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return false;
  output.clear();
  char buf[4096];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, p)) > 0) output.append(buf, n);
  int rc = pclose(p);
  remove(inPath);
  return rc == 0;
}
#endif

// A whole file, or "" when it cannot be read.
inline std::string ReadFile(const std::string& path) {
  std::string out;
  if (FILE* f = std::fopen(path.c_str(), "rb")) {
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) out.append(buf, n);
    std::fclose(f);
  }
  return out;
}

inline std::u16string FromUtf16Le(const std::string& bytes) {
  std::u16string out;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2)
    out.push_back(char16_t(static_cast<unsigned char>(bytes[i]) |
                           (static_cast<unsigned char>(bytes[i + 1]) << 8)));
  return out;
}

inline std::string ToUtf16Le(const std::u16string& text) {
  std::string out;
  for (char16_t c : text) {
    out.push_back(char(c & 0xFF));
    out.push_back(char(c >> 8));
  }
  return out;
}

// What an outside judge makes of narrow text: iconv on Linux, the system's own
// converter on Windows.
inline bool ReferenceToWide(uint32_t codePage, const std::string& bytes, std::u16string& out) {
#ifdef _WIN32
  int n = ::MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), nullptr, 0);
  if (n <= 0) return false;
  std::wstring w(static_cast<size_t>(n), L'\0');
  ::MultiByteToWideChar(codePage, 0, bytes.data(), static_cast<int>(bytes.size()), w.data(), n);
  out.assign(reinterpret_cast<const char16_t*>(w.data()), w.size());
  return true;
#else
  std::string name = codePage == 65001 ? "UTF-8" : "CP" + std::to_string(codePage);
  std::string raw;
  if (!RunFilter("iconv -f " + name + " -t UTF-16LE", bytes, raw)) return false;
  out = FromUtf16Le(raw);
  return true;
#endif
}

inline bool ReferenceToUtf8(const std::u16string& text, std::string& out) {
#ifdef _WIN32
  auto w = reinterpret_cast<const wchar_t*>(text.data());
  int n = ::WideCharToMultiByte(CP_UTF8, 0, w, static_cast<int>(text.size()), nullptr, 0, nullptr, nullptr);
  if (n <= 0) return false;
  out.assign(static_cast<size_t>(n), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, w, static_cast<int>(text.size()), out.data(), n, nullptr, nullptr);
  return true;
#else
  return RunFilter("iconv -f UTF-16LE -t UTF-8", ToUtf16Le(text), out);
#endif
}

}  // namespace ptest
