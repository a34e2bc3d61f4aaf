#include "module/TraceScope.h"

#include <cstdarg>

#include "core/format/Format.h"
#include "debug/Debug.h"

namespace zx {
namespace {

constexpr int kTraceChars = 1025;
char16_t g_traceBuffer[kTraceChars];   // guarded by the job lock
char16_t g_scopeTag[9];                // nothing fills it in: eight blanks on the line
int g_traceLevel = 0;                  // guarded by the job lock

void Emit(const char16_t* format, va_list args) {
  if (VFormatTo(g_traceBuffer, kTraceChars, format, args) < 0) g_traceBuffer[0] = 0;
  DebugPrint(u"%-8s:%*s%s\n", g_scopeTag, g_traceLevel, u"", g_traceBuffer);
}

}  // namespace

scTraceScope::scTraceScope(bool enabled, const char16_t* format, ...) : open_(enabled) {
  if (!open_) return;
  va_list ap;
  va_start(ap, format);
  Emit(format, ap);
  va_end(ap);
  ++g_traceLevel;
}

scTraceScope::~scTraceScope() {
  if (open_) --g_traceLevel;
}

void scTraceScope::Line(const char16_t* format, ...) {
  if (!open_) return;
  va_list ap;
  va_start(ap, format);
  Emit(format, ap);
  va_end(ap);
}

void scTraceScope::Close(const char16_t* format, ...) {
  if (!open_) return;
  open_ = false;
  --g_traceLevel;
  va_list ap;
  va_start(ap, format);
  Emit(format, ap);
  va_end(ap);
}

int TraceLevel() { return g_traceLevel; }

}  // namespace zx
