// The printing seam for the layers below the debug channel.
//
// - Diagnostic lines (the WRN and ERR texts): until a debug channel installs itself
//   as the sink, they go to the last-resort channel. Tests install a capturing sink.
// - Trace lines (files and waits tracing what they do): they reach the debug channel
//   once it is linked into the program and has registered itself; until then
//   nobody listens and nothing is formatted.
//
// Every function here may be called from any thread at any time, also during
// static construction and process exit; none of them fails or allocates.
#pragma once
#include <cstdarg>

namespace zx {

using DiagSink = void (*)(const char16_t* line, void* context);

// Prints one line (without trailing newline).
void DiagLine(const char16_t* line);
// Formats with the library's formatter and prints one line.
void DiagFormat(const char16_t* format, ...);
// Installs a sink (null restores the default). Returns the previous sink.
DiagSink SetDiagSink(DiagSink sink, void* context, void** previousContext = nullptr);

// The debug channel's trace face, registered once by the channel itself.
struct scDiagTrace {
  bool (*active)();   // somebody listens
  // A line with the library's tag and an indentation change (see DebugPrintIndent).
  void (*printIndentV)(int indentChange, const char16_t* format, va_list args);
};
void SetDiagTrace(const scDiagTrace* trace);
// True while a registered channel has a listener.
bool DiagTraceActive();
// A trace line with an indentation change; nothing when no channel is registered.
void DiagTraceIndent(int indentChange, const char16_t* format, ...);

// Developer mode: the environment variable "user" is exactly "zrk" (read once).
bool DeveloperMode();

}  // namespace zx
