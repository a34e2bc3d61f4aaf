#include "module/Lifecycle.h"

#include <atomic>
#include <cstdlib>

#include "core/strings/String.h"
#include "debug/Debug.h"
#include "core/diag/StaticCleanup.h"
#include "core/identity/Identity.h"
#include "module/StaticSetup.h"
#include "platform/codepage.h"
#include "platform/debugout.h"
#include "platform/fatal_dialog.h"
#include "platform/startup.h"

namespace zx {
namespace {

constexpr uint64_t kXStateAvx = 0x4;

std::atomic<bool> g_attached{false};
std::atomic<void*> g_moduleHandle{nullptr};
std::atomic<DetachReportFn> g_handleListReport{nullptr};
std::atomic<LifecycleHook> g_hook{nullptr};
std::atomic<void*> g_hookContext{nullptr};

void Step(LifecycleStep step) {
  if (LifecycleHook hook = g_hook.load(std::memory_order_acquire))
    hook(step, g_hookContext.load(std::memory_order_acquire));
}

void MathLibraryGuard() {
  const plat::MathGuardFacts facts = plat::QueryMathGuardFacts();
  if (!facts.xsaveEnabled) {
    plat::DebugOutput(u"disabling XSAVE due to math library bug up to VS 2015\r\n");
    plat::DisableRuntimeFma();
  }
  if (!facts.kernelFound) plat::EndProcess(-1);
  if (!facts.xstateQueryPresent || !(facts.xstateFeatures & kXStateAvx)) {
    plat::DebugOutput(u"disabling AVX due to math library bug up to VS 2015\r\n");
    plat::DisableRuntimeFma();
  }
}

void OnInvalidParameter(const char16_t* expression, const char16_t* function, const char16_t* file,
                        unsigned line) {
  if (!file)
    DebugPrint(u"INVALID PARAMETER in CRT function detected - ignored");
  else
    DebugPrint(u"%ws (line %d): %ws: INVALID PARAMETER in '%ws'", file, static_cast<int>(line), expression,
               function);
}

void CheckRoundTrips() {
  const scIdentity& id = Identity();
  if (!plat::IsModuleLoaded(id.processPath.wchar()))
    plat::DebugOutput(
        u"WARNING: the roundtrip 'GetModuleHandle(GetModuleFileName(NULL))' returns 0 and thus implies "
        u"that it does not work. DANGER! Crashes might follow!");
  if (!plat::IsModuleLoaded(id.processFileName.wchar()))
    plat::DebugOutput(
        u"WARNING: the roundtrip 'GetModuleHandle(ExtractFileName(GetModuleFileName(NULL)))' returns 0 "
        u"and thus implies that it does not work. DANGER! Crashes might follow!");
}

// The first of the exit-time destructors: nothing prints from half-destroyed state.
void ExitTimeDestruction() {
  Step(LifecycleStep::kExitTimeDestruction);
  SetStaticCleanupBegun(true);
  DebugDisallow();
  ReportUndeletedInstances();
}

}  // namespace

void LibraryProcessAttach(void* moduleHandle) {
  if (g_attached.exchange(true)) return;
  // What static construction does before DllMain on Windows, here in its place.
  Step(LifecycleStep::kStaticSetup);
  LibraryStaticSetup();
  Step(LifecycleStep::kMathGuard);
  MathLibraryGuard();
  Step(LifecycleStep::kInvalidParameterHandler);
  plat::InstallInvalidParameterHandler(&OnInvalidParameter);
  Step(LifecycleStep::kIdentity);
  g_moduleHandle.store(moduleHandle);
  String::SetDefaultCodePage(static_cast<uint16_t>(plat::AnsiCodePage()));
  Identity();
  Step(LifecycleStep::kManifest);
  if (!plat::ActivateLibraryManifest(moduleHandle)) DebugPrint(u"hActCtx == NULL, no manifest added, I guess");
  Step(LifecycleStep::kDebugOutput);
  DebugChannelAttach();
  Step(LifecycleStep::kRoundTrips);
  CheckRoundTrips();
  // Registered after everything the attach built, so it runs before their
  // destruction at exit.
  static const bool registered = (std::atexit(&ExitTimeDestruction), true);
  (void)registered;
}

void LibraryProcessDetach() {
  if (!g_attached.exchange(false)) return;
  Step(LifecycleStep::kHandleListReport);
  if (DetachReportFn report = g_handleListReport.load()) report();
  Step(LifecycleStep::kGoodbye);
  DebugChannelDetach();
  Step(LifecycleStep::kClearModuleHandle);
  g_moduleHandle.store(nullptr);
}

bool LibraryAttached() { return g_attached.load(); }
void* LibraryModuleHandleStored() { return g_moduleHandle.load(); }

void SetHandleListReport(DetachReportFn report) { g_handleListReport.store(report); }

void SetLifecycleHook(LifecycleHook hook, void* context) {
  g_hookContext.store(context, std::memory_order_release);
  g_hook.store(hook, std::memory_order_release);
}

}  // namespace zx
