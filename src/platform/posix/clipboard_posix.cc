// The per-user clipboard folder: one file per format, replaced by rename.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

#include "platform/clipboard.h"
#include "platform/codepage.h"

namespace plat {
namespace {

constexpr uint32_t kFirstRegistered = 0xC000;  // where Windows starts registered ids

std::mutex g_namesLock;
std::vector<std::u16string> g_names;

bool IsPrivateFolder(const std::string& path) {
  struct stat st;
  return ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && st.st_uid == ::geteuid() &&
         (st.st_mode & 077) == 0;
}

// The user's clipboard folder, made on first use; empty when no private one can be had.
std::string Folder() {
  std::string path;
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime && *runtime == '/') {
    path = std::string(runtime) + "/zxut22-clipboard";
  } else {
    const char* tmp = std::getenv("TMPDIR");
    path = std::string(tmp && *tmp == '/' ? tmp : "/tmp") + "/zxut22-clipboard-" + std::to_string(::geteuid());
  }
  ::mkdir(path.c_str(), 0700);
  return IsPrivateFolder(path) ? path : std::string();
}

std::string SlotName(uint32_t format) {
  if (format >= kFirstRegistered) {
    std::lock_guard<std::mutex> guard(g_namesLock);
    if (format - kFirstRegistered < g_names.size()) return Utf16ToUtf8(g_names[format - kFirstRegistered]);
  }
  return "format-" + std::to_string(format);
}

std::string SlotPath(uint32_t format) {
  const std::string folder = Folder();
  return folder.empty() ? std::string() : folder + "/" + SlotName(format);
}

}  // namespace

uint32_t ClipboardRegister(const char16_t* name) {
  if (name == nullptr || *name == 0) return 0;
  std::u16string n(name);
  for (char16_t c : n)
    if (c == u'/' || c == 0) return 0;
  std::lock_guard<std::mutex> guard(g_namesLock);
  for (size_t i = 0; i < g_names.size(); ++i)
    if (g_names[i] == n) return kFirstRegistered + static_cast<uint32_t>(i);
  g_names.push_back(n);
  return kFirstRegistered + static_cast<uint32_t>(g_names.size() - 1);
}

bool ClipboardHasFormat(uint32_t format) {
  const std::string path = SlotPath(format);
  struct stat st;
  return !path.empty() && ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

ClipboardSession::ClipboardSession(void*) : open_(!Folder().empty()) {}
ClipboardSession::~ClipboardSession() = default;

bool ClipboardSession::Put(uint32_t format, const void* data, size_t size) {
  const std::string path = open_ ? SlotPath(format) : std::string();
  if (path.empty()) return false;
  std::string temp = path + ".XXXXXX";
  const int fd = ::mkstemp(temp.data());
  if (fd < 0) return false;
  const char zero = 0;
  bool ok = true;
  for (size_t done = 0; ok && done < size;) {
    const ssize_t n = ::write(fd, static_cast<const char*>(data) + done, size - done);
    if (n <= 0) ok = false;
    else done += static_cast<size_t>(n);
  }
  ok = ok && ::write(fd, &zero, 1) == 1;
  ok = ::close(fd) == 0 && ok;
  if (ok && ::rename(temp.c_str(), path.c_str()) == 0) return true;
  ::unlink(temp.c_str());
  return false;
}

bool ClipboardSession::Get(uint32_t format, std::string& data) {
  data.clear();
  const std::string path = open_ ? SlotPath(format) : std::string();
  if (path.empty()) return false;
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return false;
  char buffer[65536];
  bool ok = true;
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0) ok = false;
    if (n <= 0) break;
    data.append(buffer, static_cast<size_t>(n));
  }
  ::close(fd);
  return ok;
}

}  // namespace plat
