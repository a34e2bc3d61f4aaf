// Linux: the login name from the password database; interactive means a desktop or
// a terminal; there are no window stations.
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

#include "platform/codepage.h"
#include "platform/session.h"

namespace plat {

std::u16string UserName() {
  long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
  std::vector<char> buf(size > 0 ? static_cast<size_t>(size) : 16384);
  passwd pw{};
  passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &pw, buf.data(), buf.size(), &found) != 0 || !found) return {};
  return Utf8ToUtf16(found->pw_name);
}

SessionKind ProcessSessionKind(uint32_t* error, int* step) {
  if (error) *error = 0;
  if (step) *step = 0;
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
    const char* v = std::getenv(name);
    if (v && *v) return SessionKind::Interactive;
  }
  for (int fd = 0; fd <= 2; ++fd)
    if (::isatty(fd)) return SessionKind::Interactive;
  return SessionKind::Service;
}

int WindowStationVisible() { return -1; }

bool UserSoftwareKeyOpens(Hive) { return true; }

}  // namespace plat
