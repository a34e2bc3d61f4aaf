// A settable seam for writing the calling thread's stack trace to the debug
// channel. Nothing is written until the debug-help engine installs its writer.
#pragma once
#include <atomic>

namespace zx {

using StackTraceWriter = void (*)(int depth);

inline std::atomic<StackTraceWriter> g_diagStackTraceWriter{nullptr};

// Installs the writer (null: nothing is written). Returns the previous one.
inline StackTraceWriter SetDiagStackTraceHook(StackTraceWriter writer) {
  return g_diagStackTraceWriter.exchange(writer);
}

// Writes the stack trace of the calling thread, `depth` frames deep, if a writer
// is installed.
inline void DiagStackTraceHook(int depth) {
  if (StackTraceWriter w = g_diagStackTraceWriter.load()) w(depth);
}

}  // namespace zx
