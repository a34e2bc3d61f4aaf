#include <windows.h>

#include "platform/debugout.h"
#include "platform/internal/debugout_hook.h"

namespace plat {

void DebugOutput(const char16_t* text) {
  if (!text) text = u"";
  detail::CallDebugOutputHook(text);
  ::OutputDebugStringW(reinterpret_cast<const wchar_t*>(text));
}

bool DebuggerPresent() { return ::IsDebuggerPresent() != FALSE; }

void BreakIntoDebugger() { ::DebugBreak(); }

}  // namespace plat
