// The system's unhandled-exception filter; the filter runs on the crashed thread.
#include <windows.h>

#include <atomic>

#include "platform/crash_filter.h"

namespace plat {
namespace {

std::atomic<ExceptionFilterFn> g_filter{nullptr};

LONG WINAPI Trampoline(EXCEPTION_POINTERS* pointers) {
  ExceptionFilterFn filter = g_filter.load();
  if (!filter) return EXCEPTION_CONTINUE_SEARCH;
  return filter(reinterpret_cast<ExceptionPointers64*>(pointers), ::GetCurrentThreadId());
}

// What one install replaced: the system's previous filter and ours.
struct Previous {
  LPTOP_LEVEL_EXCEPTION_FILTER system;
  ExceptionFilterFn ours;
};

}  // namespace

PreviousFilter SetExceptionFilter(ExceptionFilterFn filter) {
  auto* prev = new Previous{nullptr, g_filter.exchange(filter)};
  prev->system = ::SetUnhandledExceptionFilter(&Trampoline);
  return prev;
}

void RestoreExceptionFilter(PreviousFilter previous) {
  auto* prev = static_cast<Previous*>(previous);
  if (!prev) return;
  ::SetUnhandledExceptionFilter(prev->system);
  g_filter.store(prev->ours);
  delete prev;
}

long CallPreviousFilter(PreviousFilter previous, ExceptionPointers64* pointers, uint32_t threadId) {
  auto* prev = static_cast<Previous*>(previous);
  if (!prev || !prev->system) return EXCEPTION_CONTINUE_SEARCH;
  if (prev->system == &Trampoline)
    return prev->ours ? prev->ours(pointers, threadId) : EXCEPTION_CONTINUE_SEARCH;
  return prev->system(reinterpret_cast<EXCEPTION_POINTERS*>(pointers));
}

bool PrepareCrashStack() { return true; }
void ReleaseCrashStack() {}

}  // namespace plat
