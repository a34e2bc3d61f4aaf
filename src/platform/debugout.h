// The last-resort debug channel (OutputDebugStringW) and the debugger questions.
// On Linux it is silent unless ZXUT_ODS=stderr or ZXUT_ODS=/path/file; tests install
// a hook that sees every line.
#pragma once

namespace plat {

void DebugOutput(const char16_t* text);

using DebugOutputHook = void (*)(const char16_t* text, void* context);
// Installs a hook that receives every line (null removes it). Returns the old hook.
DebugOutputHook SetDebugOutputHook(DebugOutputHook hook, void* context);

bool DebuggerPresent();
void BreakIntoDebugger();

}  // namespace plat
