// The text of stack-trace items and module items, shared by the crash report
// (addresses in 8 digits) and DumpStackTraceEx (16 digits), and the calling stack
// printed to debug output.
// Threads: any thread.
#pragma once
#include <cstdint>

#include "debug/Debug.h"
#include "gpf/DebugLists.h"

namespace zx {

using LinePrinter = void (*)(void* context, const char16_t* line);

// One frame: its line, and for a frame with details a line per parameter and local.
void FormatStackItem(const DBGStackTraceItem& item, bool width64, LinePrinter print, void* context);
// The value text of one parameter or local (texts behind pointers are read safely).
void FormatParamValue(const DBGParamItem& p, bool width64, char16_t* out, size_t size);
// "0x%08x: %-20hs %-45hs %-30hs '%hs'  [%hs]".
void FormatModuleItem(const DBGModuleItem& item, char16_t* out, size_t size);

// Prints the calling stack (up to `frames` frames) to `out` (the debug output's
// printer when null), walking on a second thread when `useThread`. 0 when the
// engine could not be started.
int DumpStackTraceEx(uint32_t frames, bool useThread, clsDebugOutput* out = nullptr);

}  // namespace zx
