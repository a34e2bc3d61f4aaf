// The debug exports: lines into the debug channel, and the viewer sender's attach
// count. Each line export tests the channel first and formats nothing while nobody
// listens.
#include <cstdarg>

#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "zxUT22.h"

namespace {

const char16_t* Wide(LPCWSTR text) { return reinterpret_cast<const char16_t*>(text); }

void PrintWithTag(const char16_t* tag, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  zx::DebugPrintV(0, tag, format, ap);
  va_end(ap);
}

}  // namespace

ZXUT_EXPORT void ZXUT_API UtilDebug(LPCWSTR format, ...) {
  if (!zx::DebugActiveInline()) return;
  va_list ap;
  va_start(ap, format);
  zx::DebugPrintV(0, nullptr, Wide(format), ap);
  va_end(ap);
}

ZXUT_EXPORT void ZXUT_API UtilDebugExt(LPCWSTR tag, LONG indentChange, LPCWSTR format, ...) {
  if (!zx::DebugActiveInline()) return;
  va_list ap;
  va_start(ap, format);
  zx::DebugPrintV(indentChange, Wide(tag), Wide(format), ap);
  va_end(ap);
}

ZXUT_EXPORT void ZXUT_API UtilDebugExtV(LPCWSTR tag, LONG indentChange, LPCWSTR format, va_list args) {
  if (!zx::DebugActiveInline()) return;
  zx::DebugPrintV(indentChange, Wide(tag), Wide(format), args);
}

ZXUT_EXPORT void ZXUT_API PasDebug(LPCWSTR text) {
  if (!zx::DebugActiveInline()) return;
  zx::clsDebugChannel* ch = zx::DebugChannel();
  if (ch) PrintWithTag(ch->LibraryTag(), u"%s", Wide(text));
}

ZXUT_EXPORT void ZXUT_API UtilTRAVUE4Attach(void*) { zx::DebugViewerAttach(); }

ZXUT_EXPORT void ZXUT_API UtilTRAVUE4Detach(void*) { zx::DebugViewerDetach(); }
