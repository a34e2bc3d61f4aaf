// Log files on POSIX: O_APPEND writes of whole lines; a writer that holds the file
// with an exclusive flock plays the part of an open without write sharing.
#include "platform/log_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <unistd.h>

#include <string>

#include "platform/codepage.h"
#include "platform/errors.h"

namespace plat {
namespace {

std::string Utf8Path(const char16_t* path) {
  std::string out;
  int n = WideToMultiByte(kCpUtf8, 0, path, -1, nullptr, 0);
  if (n <= 0) return out;
  out.resize(static_cast<size_t>(n));
  WideToMultiByte(kCpUtf8, 0, path, -1, out.data(), n);
  out.resize(static_cast<size_t>(n - 1));
  for (char& c : out)
    if (c == '\\') c = '/';
  return out;
}

}  // namespace

intptr_t OpenLogFileForAppend(const char16_t* path) {
  int fd = open(Utf8Path(path).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) {
    SetLastError(ErrorFromErrno(errno));
    return kNoLogFile;
  }
  if (flock(fd, LOCK_SH | LOCK_NB) != 0) {   // somebody holds it exclusively
    close(fd);
    SetLastError(kErrSharingViolation);
    return kNoLogFile;
  }
  return fd;
}

bool AppendLogFile(intptr_t file, const void* data, uint32_t size) {
  const char* p = static_cast<const char*>(data);
  while (size > 0) {
    ssize_t n = write(static_cast<int>(file), p, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    size -= static_cast<uint32_t>(n);
  }
  return true;
}

void FlushLogFile(intptr_t file) { fsync(static_cast<int>(file)); }

void CloseLogFile(intptr_t file) {
  if (file != kNoLogFile) close(static_cast<int>(file));
}

void TempFolder(char16_t* out, uint32_t capacity) {
  const char* t = getenv("TMPDIR");
  std::string s = t && *t ? t : "/tmp";
  if (s.back() != '/') s.push_back('/');
  int n = MultiByteToWide(kCpUtf8, 0, s.c_str(), -1, out, static_cast<int>(capacity));
  if (n <= 0 && capacity) out[0] = 0;
}

}  // namespace plat
