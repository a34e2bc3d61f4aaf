// A C++ client of zxUT22: the C exports behind small owners, a profile tree built
// and walked with ProfEnumW, and a tracked heap. Exits 0 when all went as expected.
#include <cstdio>
#include <memory>
#include <string>
#include <type_traits>

#include "zxUT22.h"

namespace {

#ifdef _WIN32
using Text = std::wstring;
#define T(s) L##s
#else
using Text = std::u16string;
#define T(s) u##s
#endif

// Closes the job when the owner goes.
struct JobClose {
  void operator()(HPROFJOB job) const { ProfJobClose(job); }
};
using Job = std::unique_ptr<std::remove_pointer_t<HPROFJOB>, JobClose>;

std::string Narrow(LPCWSTR text) {   // the ASCII of a wide text, for printing
  std::string out;
  for (; text && *text; ++text) out += *text < 128 ? static_cast<char>(*text) : '?';
  return out;
}

BOOL ZXUT_API Print(HPROFJOB job, LPCWSTR name, LPCWSTR value, HPROFLIST sublist, void* depth) {
  const int level = *static_cast<int*>(depth);
  std::printf("%*s%s%s%s\n", level * 2, "", Narrow(name).c_str(), sublist ? "/" : " = ",
              Narrow(value).c_str());
  if (sublist) {
    int inner = level + 1;
    ProfEnumW(job, sublist, &Print, &inner);
  }
  return 1;
}

}  // namespace

int main() {
  Job job(ProfJobOpenW(nullptr));
  const Text paper = T("A4");
  ProfSetStringW(job.get(), nullptr, T("printer/paper"), paper.c_str());
  ProfSetIntW(job.get(), nullptr, T("printer/copies"), 3);
  ProfSetStringW(job.get(), nullptr, T("report/title"), T("Monthly"));
  int depth = 0;
  ProfEnumW(job.get(), nullptr, &Print, &depth);
  LONG copies = 0;
  const bool ok = ProfGetIntW(job.get(), nullptr, T("printer/copies"), &copies, 0) == PROF_OK && copies == 3;

  UtilDebugExt(T("hello"), 0, T("C++ client: %d copies"), static_cast<int>(copies));

  HUTILMODULE module = UtilJobOpen(T("hello-cpp"), 0);
  HUTILHEAP heap = UtilHeapCreate(module, T("strings"), 0);
  void* block = UtilHeapObjectAlloc(heap, 1000, 0);
  const bool heapOk = block && UtilHeapObjectSize(heap, block) == 1000 && UtilHeapObjectFree(heap, block) == UTIL_OK;
  UtilHeapDelete(heap);
  UtilJobClose(module);
  std::printf("%s\n", ok && heapOk ? "all well" : "something went wrong");
  return ok && heapOk ? 0 : 1;
}
