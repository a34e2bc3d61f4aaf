// The last-resort channel on Linux: silent unless ZXUT_ODS names stderr or a file.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "platform/codepage.h"
#include "platform/debugout.h"
#include "platform/internal/debugout_hook.h"

namespace plat {
namespace {

// The destination, decided once from ZXUT_ODS: -1 silent, else a descriptor.
int Destination() {
  static const int fd = [] {
    const char* v = std::getenv("ZXUT_ODS");
    if (!v || !*v) return -1;
    if (std::strcmp(v, "stderr") == 0) return 2;
    return ::open(v, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
  }();
  return fd;
}

}  // namespace

void DebugOutput(const char16_t* text) {
  if (!text) text = u"";
  detail::CallDebugOutputHook(text);
  int fd = Destination();
  if (fd < 0) return;
  // One line per call: the caller's own line ends are replaced by one "\n", and the
  // line goes out in one write so that lines of several threads never interleave.
  std::u16string_view view(text);
  while (!view.empty() && (view.back() == u'\n' || view.back() == u'\r')) view.remove_suffix(1);
  std::string line = Utf16ToUtf8(view);
  line += '\n';
  const char* p = line.data();
  size_t left = line.size();
  while (left) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return;
    p += n;
    left -= static_cast<size_t>(n);
  }
}

bool DebuggerPresent() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 10, "TracerPid:") == 0) return std::atoi(line.c_str() + 10) != 0;
  }
  return false;
}

void BreakIntoDebugger() { ::raise(SIGTRAP); }

}  // namespace plat
