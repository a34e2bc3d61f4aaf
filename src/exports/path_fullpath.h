// UtilFullpath's step: the full path into the caller's room and, with the debug
// checks on, the "Buffer too small" line when it does not fit. Inline, so that a
// test program compiled against the static layers runs the same step with its
// own switch (the library's copy of bDebugChecks is not reachable from outside).
// Errors: out of memory empties the room; nothing throws.
// Threads: any thread.
#pragma once
#include <cstdint>
#include <new>

#include "core/diag/DebugChecks.h"
#include "module/ModuleUtils.h"
#include "path/PathRuntime.h"
#include "path/PathServices.h"

namespace zx {

inline void FullPathForExport(char16_t* out, const char16_t* path, uint32_t size) {
  try {
    if (!FullPath(out, path, size, SystemPathContext()) && bDebugChecks)
      ErrorLineBuffer(u"UtilFullpath", u"Buffer too small", out, kPathERange);
  } catch (const std::bad_alloc&) {
    if (out && size) out[0] = 0;
  }
}

}  // namespace zx
