// Helpers shared by the platform tests.
#pragma once
#include <cstdio>
#include <string>
#include <vector>

namespace ptest {

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

}  // namespace ptest
