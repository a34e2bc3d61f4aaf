// The last-resort debug channel (OutputDebugStringW) and the debugger questions.
// On Linux it is silent unless ZXUT_ODS=stderr or ZXUT_ODS=/path/file (appended,
// UTF-8, one line per call; the variable is read once). Tests install a hook that
// sees every line, whatever the destination.
// Errors: none; a line that cannot be written is dropped.
// Threads: any thread; the hook may be swapped while lines are in flight.
//
//   plat::DebugOutput(u"the viewer block cannot be mapped\n");
#pragma once

namespace plat {

void DebugOutput(const char16_t* text);

using DebugOutputHook = void (*)(const char16_t* text, void* context);
// Installs a hook that receives every line (null removes it); thread-safe against
// lines in flight. Returns the old hook, and its context through `oldContext`.
DebugOutputHook SetDebugOutputHook(DebugOutputHook hook, void* context,
                                   void** oldContext = nullptr);

bool DebuggerPresent();
void BreakIntoDebugger();

}  // namespace plat
