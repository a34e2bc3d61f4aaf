// The interim printing seam for the library's own diagnostic lines (the WRN and
// ERR texts). Until a debug channel installs itself as the sink, lines go to the
// last-resort channel. Tests install a capturing sink.
#pragma once

namespace zx {

using DiagSink = void (*)(const char16_t* line, void* context);

// Prints one line (without trailing newline).
void DiagLine(const char16_t* line);
// Formats with the library's formatter and prints one line.
void DiagFormat(const char16_t* format, ...);
// Installs a sink (null restores the default). Returns the previous sink.
DiagSink SetDiagSink(DiagSink sink, void* context, void** previousContext = nullptr);

}  // namespace zx
