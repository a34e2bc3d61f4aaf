#include "platform/shortcut.h"

#include <unistd.h>

#include <sys/stat.h>

#include "platform/codepage.h"

namespace plat {
namespace {

std::string Posix(const std::u16string& path) {
  std::string out = Utf16ToUtf8(path);
  for (char& c : out)
    if (c == '\\') c = '/';
  return out;
}

}  // namespace

int ResolveShellLink(const std::u16string&, std::u16string& target) {
  target.clear();
  return -1;
}

bool ReadSymbolicLink(const std::u16string& path, std::u16string& target) {
  const std::string p = Posix(path);
  struct stat st;
  if (::lstat(p.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) return false;
  char buffer[4096];
  const ssize_t n = ::readlink(p.c_str(), buffer, sizeof buffer);
  if (n <= 0 || static_cast<size_t>(n) >= sizeof buffer) return false;
  std::string t(buffer, static_cast<size_t>(n));
  if (t[0] != '/') {
    const size_t slash = p.find_last_of('/');
    if (slash != std::string::npos) t = p.substr(0, slash + 1) + t;
  }
  target = Utf8ToUtf16(t);
  return true;
}

}  // namespace plat
