// The library's start and stop: the one attach sequence and the one detach sequence,
// run by the entry point of the shared library (DllMain on Windows, the load and
// unload functions on Linux), in this order.
// Threads: on the loader's thread, under the loader's lock.
#pragma once

namespace zx {

enum class LifecycleStep {
  // process attach
  kStaticSetup,
  kMathGuard,
  kInvalidParameterHandler,
  kIdentity,
  kManifest,
  kDebugOutput,
  kRoundTrips,
  // process detach
  kHandleListReport,
  kGoodbye,
  kClearModuleHandle,
  // the first exit-time destructor: internal debug lines stop
  kExitTimeDestruction,
};

void LibraryProcessAttach(void* moduleHandle);
// Runs only when attached, and once.
void LibraryProcessDetach();
bool LibraryAttached();
// The stored module handle (null before attach and after detach).
void* LibraryModuleHandleStored();

// The handle-list report that process detach runs first (installed by the handle-
// list manager; nothing runs while none is installed).
using DetachReportFn = void (*)();
void SetHandleListReport(DetachReportFn report);

// Tests observe the sequences: the hook sees each step before it runs.
using LifecycleHook = void (*)(LifecycleStep step, void* context);
void SetLifecycleHook(LifecycleHook hook, void* context);

}  // namespace zx
