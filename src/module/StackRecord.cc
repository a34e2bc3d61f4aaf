#include "module/StackRecord.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>

#include "debug/Debug.h"
#include "module/JobLock.h"
#include "module/TraceScope.h"
#include "platform/compiler.h"
#include "platform/stack.h"

namespace zx {
namespace {

constexpr int kCaptureFrames = 40;
constexpr int kTraceFrames = 20;
constexpr int kMaxTraceSkip = 256;

// The path as UtilDebug prints it: through the exports' path, without tag.
void Print(const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  DebugPrintV(0, nullptr, format, ap);
  va_end(ap);
}

}  // namespace

ZX_NOINLINE scStackRecord* CaptureStackRecord(int skip) {
  auto* record = static_cast<scStackRecord*>(std::malloc(sizeof(scStackRecord)));
  if (!record) return nullptr;
  std::memset(record, 0, sizeof *record);
  if (!plat::CanCaptureStack()) return record;
  void* frames[kCaptureFrames];
  // One frame inside this helper is skipped: frames[0] is our caller.
  const int got = plat::CaptureStack(1, kCaptureFrames, frames);
  for (int i = skip, slot = 0; i < got && slot < scStackRecord::kEntries; ++i, ++slot)
    record->entries[slot].address = reinterpret_cast<uintptr_t>(frames[i]);
  return record;
}

void ReleaseStackRecord(scStackRecord* record) { std::free(record); }

void PrintStackRecord(const scStackRecord* record, const char16_t* title) {
  if (!record) return;
  scTraceScope scope(IsDebugActive(), u"%s stack trace:", title);
  for (const scStackRecord::Entry& e : record->entries) {
    if (!e.address) continue;
    std::u16string path = plat::ModulePathOfAddress(reinterpret_cast<const void*>(e.address));
    if (!path.empty()) scope.Line(u" [called by %s]", path.c_str());
  }
}

ZX_NOINLINE void PrintStackTrace(int skip) {
  if (skip > kMaxTraceSkip || !IsDebugActive()) return;
  if (skip < 0) skip = 0;
  void* frames[kMaxTraceSkip + kTraceFrames];
  // frames[0] is the caller of this function (the export).
  const int got = plat::CaptureStack(0, skip + kTraceFrames, frames);
  Print(u"\n%s", u"");
  if (got == 0) return;
  for (int i = skip; i < got; ++i) {
    std::u16string path = plat::ModulePathOfAddress(frames[i]);
    if (!path.empty()) Print(u" [called by %s]", path.c_str());
  }
  Print(u"\n%s", u"");
}

void ListModules() {
  if (!IsDebugActive()) return;
  JobLockHolder lock;
  scTraceScope scope(true, u"Memory image addresses of modules:");
  plat::WalkModuleImages(
      [](void* context, uintptr_t base, size_t size, const char16_t* path) {
        // The format has 32-bit fields: the addresses print cut to their low half.
        static_cast<scTraceScope*>(context)->Line(u"0x%08x-0x%08x: %s", static_cast<uint32_t>(base),
                                                  static_cast<uint32_t>(base + size - 1), path);
        return true;
      },
      &scope);
}

}  // namespace zx
