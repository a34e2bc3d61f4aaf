// Process and thread identity on Linux.
#include <dlfcn.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/codepage.h"
#include "platform/process.h"

namespace plat {
namespace {

std::string ReadLink(const char* path) {
  std::string buf(256, '\0');
  for (;;) {
    ssize_t n = ::readlink(path, buf.data(), buf.size());
    if (n < 0) return {};
    if (static_cast<size_t>(n) < buf.size()) {
      buf.resize(static_cast<size_t>(n));
      return buf;
    }
    if (buf.size() >= 65536) return {};
    buf.resize(buf.size() * 2);
  }
}

// Any function of this library: dladdr tells the file that holds it.
void Anchor() {}

}  // namespace

uint32_t ProcessId() { return static_cast<uint32_t>(::getpid()); }
uint32_t ThreadId() { return static_cast<uint32_t>(::syscall(SYS_gettid)); }

unsigned ProcessorCount() {
  static const unsigned count = [] {
    long n = ::sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<unsigned>(n) : 1u;
  }();
  return count;
}

unsigned CurrentProcessor() {
  int cpu = ::sched_getcpu();
  return cpu < 0 ? 0u : static_cast<unsigned>(cpu);
}

std::u16string ExecutablePath() { return Utf8ToUtf16(ReadLink("/proc/self/exe")); }

std::u16string LibraryPath() {
  Dl_info info{};
  if (!::dladdr(reinterpret_cast<void*>(&Anchor), &info) || !info.dli_fname) return {};
  std::string path = info.dli_fname;
  // The main program reports its name as given on the command line.
  if (path.empty() || path[0] != '/') {
    char* full = ::realpath(path.c_str(), nullptr);
    if (!full) return ExecutablePath();
    path = full;
    std::free(full);
  }
  return Utf8ToUtf16(path);
}

void* OwnLibraryExport(const char* name) {
  if (void* lib = ::dlopen("libzxUT22.so", RTLD_LAZY | RTLD_NOLOAD)) {
    void* f = ::dlsym(lib, name);
    ::dlclose(lib);
    if (f) return f;
  }
  return ::dlsym(RTLD_DEFAULT, name);
}

std::u16string EnvironmentVariable(const char16_t* name, bool* found) {
  const char* v = name ? std::getenv(Utf16ToUtf8(name).c_str()) : nullptr;
  if (found) *found = v != nullptr;
  return v ? Utf8ToUtf16(v) : std::u16string();
}

}  // namespace plat
