// Linux only: the registers of a signal's ucontext_t in the x64 context layout the
// crash filter and the minidump writer share. Async-signal-safe (no allocation, no
// locks): signal handlers call it.
#pragma once
#include <ucontext.h>

#include "platform/crash_context.h"

namespace plat {

// General registers, segments, flags and the FXSAVE image of the floating point
// state (when the kernel saved one).
void ContextFromSignal(const ucontext_t* uc, ContextAmd64* c);

}  // namespace plat
