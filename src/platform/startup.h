// What the library's process attach asks of the system: the math-library guard,
// the run-time library's invalid-parameter handler, the library's manifest, the
// remote session, and whether a module name leads back to a loaded module.
// Errors: false where the system lacks the feature or refused; nothing sets
// plat::LastError.
// Threads: called from the library's process attach, on the loader's thread.
//
//   if (!plat::ActivateLibraryManifest(plat::LibraryModuleHandle())) ...
#pragma once
#include <cstdint>

namespace plat {

struct MathGuardFacts {
  bool kernelFound;          // "kernel32.dll" is there at all (always on Linux)
  bool xsaveEnabled;         // the system has enabled XSAVE (PF_XSAVE_ENABLED)
  bool xstateQueryPresent;   // GetEnabledXStateFeatures exists
  uint64_t xstateFeatures;   // its answer (bit 0x4: AVX state)
};
MathGuardFacts QueryMathGuardFacts();
// Switches the run-time library's fused multiply-add path off where it has one
// (none on Linux, where the C library checks the processor itself).
void DisableRuntimeFma();

// The run-time library calls `fn` for an invalid parameter and lets the failing call
// return its error. Strings may be null. Returns false where the runtime has no
// such handler (Linux).
using InvalidParameterFn = void (*)(const char16_t* expression, const char16_t* function,
                                    const char16_t* file, unsigned line);
bool InstallInvalidParameterHandler(InvalidParameterFn fn);

// Activates the manifest of the library (resource 2) and keeps the context with one
// reference until exit. False when no context came back. Linux has no activation
// contexts: nothing to do, true.
bool ActivateLibraryManifest(void* moduleHandle);

// The process's session when it runs in a remote session, else 0 (Linux: 0).
uint32_t RemoteSessionId();

// GetModuleHandleW: a path or a bare file name, compared without case, names a
// module loaded in this process.
bool IsModuleLoaded(const char16_t* pathOrName);

// This library's module handle (its load address on Linux).
void* LibraryModuleHandle();

}  // namespace plat
