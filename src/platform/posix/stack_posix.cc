// Linux: return addresses through the unwinder (backtrace), module look-up through the
// dynamic loader's list of objects, and the mapped images from /proc/self/maps.
#include <execinfo.h>
#include <link.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/codepage.h"
#include "platform/process.h"
#include "platform/stack.h"

namespace plat {
namespace {

constexpr int kMaxRequest = 200;

// The loaded object whose segments hold an address: index 0 is the program.
struct Containing {
  uintptr_t address = 0;
  int index = -1;
  std::string name;
};

int FindObject(dl_phdr_info* info, size_t, void* data) {
  auto* c = static_cast<Containing*>(data);
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& ph = info->dlpi_phdr[i];
    if (ph.p_type != PT_LOAD) continue;
    uintptr_t start = info->dlpi_addr + ph.p_vaddr;
    if (c->address >= start && c->address < start + ph.p_memsz) {
      c->name = info->dlpi_name ? info->dlpi_name : "";
      return 1;
    }
  }
  ++c->index;
  return 0;
}

}  // namespace

bool CanCaptureStack() { return true; }

__attribute__((noinline)) int CaptureStack(int skip, int count, void** frames) {
  if (count <= 0 || skip < 0) return 0;
  void* raw[kMaxRequest + 1];
  int want = skip + count + 1;   // + this function
  if (want > kMaxRequest) want = kMaxRequest;
  int got = ::backtrace(raw, want);
  int n = 0;
  for (int i = skip + 1; i < got && n < count; ++i) frames[n++] = raw[i];
  return n;
}

std::u16string ModulePathOfAddress(const void* address) {
  if (!address) return {};
  Containing c;
  c.address = reinterpret_cast<uintptr_t>(address);
  c.index = 0;
  if (!dl_iterate_phdr(&FindObject, &c)) return {};
  // The program is listed without a name; a library by the path it was loaded with.
  if (c.index == 0) return ExecutablePath();
  if (c.name.empty()) return {};
  if (c.name[0] != '/') {
    char* full = ::realpath(c.name.c_str(), nullptr);
    if (full) {
      c.name = full;
      std::free(full);
    }
  }
  return Utf8ToUtf16(c.name);
}

void WalkModuleImages(ImageFn fn, void* context) {
  FILE* maps = std::fopen("/proc/self/maps", "re");
  if (!maps) return;
  char* line = nullptr;
  size_t cap = 0;
  std::string previous;
  while (::getline(&line, &cap, maps) > 0) {
    unsigned long long start = 0, end = 0, offset = 0;
    int pathAt = 0;
    if (std::sscanf(line, "%llx-%llx %*s %llx %*s %*s %n", &start, &end, &offset, &pathAt) < 3 ||
        pathAt <= 0)
      continue;
    std::string path = line + pathAt;
    while (!path.empty() && (path.back() == '\n' || path.back() == ' ')) path.pop_back();
    const bool image = !path.empty() && path[0] == '/' && offset == 0 && path != previous;
    previous = path;
    if (!image) continue;
    std::u16string wide = Utf8ToUtf16(path);
    if (!fn(context, static_cast<uintptr_t>(start), static_cast<size_t>(end - start), wide.c_str()))
      break;
  }
  std::free(line);
  std::fclose(maps);
}

}  // namespace plat
