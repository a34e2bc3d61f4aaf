// The support archive: a minidump written by a debug help wrapper, packed with the
// recent logs into "zarnik.dmp.zip" beside it.
// Threads: the caller's; the wrapper's rules apply.
#pragma once
#include <cstdint>

#include "gpf/DbgHelpWrapper.h"

namespace zx {

constexpr uint64_t kLogRecentLimit = 6000000000ull;   // 10 minutes in 100-ns units
constexpr uint32_t kLogSettleMs = 2000;

// UtilDebugHelpWriteMiniDump: the dump, then the archive; the archive's path comes
// back in `path` (cut to `size`), and the dump file itself is deleted. 1 or 0.
int WriteSupportArchive(clsDBGHelpWrapper& wrapper, char16_t* path, uint32_t size,
                        const plat::ExceptionPointers64* exception, uint32_t exceptionThreadId);

}  // namespace zx
