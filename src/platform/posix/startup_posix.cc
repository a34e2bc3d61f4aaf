// Process-attach facts on Linux: the processor's XSAVE and AVX state from CPUID and
// XGETBV, no run-time hooks, no manifests, no remote sessions, and loaded modules
// from the dynamic loader's list.
#include <dlfcn.h>
#include <link.h>

#include <string>

#include "platform/codepage.h"
#include "platform/locale.h"
#include "platform/process.h"
#include "platform/startup.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace plat {
namespace {

std::u16string Upper(std::u16string text) {
  if (!text.empty())
    MapStringLocale(kLocaleUserDefault, kLcMapUppercase | kLcMapLinguisticCasing, text.data(),
                    static_cast<int>(text.size()), text.data(), static_cast<int>(text.size()));
  return text;
}

std::u16string FileNameOf(const std::u16string& path) {
  size_t cut = path.find_last_of(u"/\\");
  return cut == std::u16string::npos ? path : path.substr(cut + 1);
}

struct Search {
  std::u16string wanted;   // upper-cased
  bool bareName;
  int index = 0;
  bool found = false;
};

int Match(dl_phdr_info* info, size_t, void* data) {
  auto* s = static_cast<Search*>(data);
  std::u16string path = s->index++ == 0 ? ExecutablePath()
                                        : Utf8ToUtf16(info->dlpi_name ? info->dlpi_name : "");
  if (path.empty()) return 0;
  if (s->bareName) path = FileNameOf(path);
  s->found = Upper(path) == s->wanted;
  return s->found ? 1 : 0;
}

void Anchor() {}

}  // namespace

MathGuardFacts QueryMathGuardFacts() {
  MathGuardFacts f{true, false, true, 0};
#if defined(__x86_64__) || defined(__i386__)
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) && (c & bit_OSXSAVE)) {
    f.xsaveEnabled = true;
    unsigned lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    f.xstateFeatures = (static_cast<uint64_t>(hi) << 32) | lo;
  }
#endif
  return f;
}

void DisableRuntimeFma() {}

bool InstallInvalidParameterHandler(InvalidParameterFn) { return false; }

bool ActivateLibraryManifest(void*) { return true; }

uint32_t RemoteSessionId() { return 0; }

bool IsModuleLoaded(const char16_t* pathOrName) {
  if (!pathOrName || !*pathOrName) return false;
  Search s;
  std::u16string wanted = pathOrName;
  s.bareName = wanted.find_first_of(u"/\\") == std::u16string::npos;
  s.wanted = Upper(wanted);
  dl_iterate_phdr(&Match, &s);
  return s.found;
}

void* LibraryModuleHandle() {
  Dl_info info{};
  return ::dladdr(reinterpret_cast<void*>(&Anchor), &info) ? info.dli_fbase : nullptr;
}

}  // namespace plat
