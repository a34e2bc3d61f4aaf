// The process's unhandled-exception filter. Windows: SetUnhandledExceptionFilter.
// Linux: sigaction on SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP and SIGABRT; the
// handler maps the signal to the system's exception code, fills the x64 context
// from the signal's, and hands both to a waiting thread of this interface, which
// calls the filter while the crashed thread waits (the handler itself allocates
// nothing and takes no lock of the library). The filter's verdict: 0 pass on (the
// previous disposition acts: a previous handler is called, the default action
// runs), -1 continue at the (possibly changed) context, 1 end (the default action
// runs). Only one crash is handed over at a time; a second crashing thread waits.
// A crash on the waiting thread itself, or one that nobody answers within five
// minutes, ends the process by the signal's default action.
// Threads: install and restore from any thread, in pairs (last in, first out).
//
//   auto prev = plat::SetExceptionFilter(&MyFilter); ... plat::RestoreExceptionFilter(prev);
#pragma once
#include <cstdint>

#include "platform/crash_context.h"

namespace plat {

constexpr long kFilterContinueSearch = 0;
constexpr long kFilterExecuteHandler = 1;
constexpr long kFilterContinueExecution = -1;

// `threadId`: the thread that crashed (the filter may run on another one).
using ExceptionFilterFn = long (*)(ExceptionPointers64* pointers, uint32_t threadId);
// What an install replaced; null when nothing was installed before (Windows).
using PreviousFilter = void*;

PreviousFilter SetExceptionFilter(ExceptionFilterFn filter);
// Puts back what `previous` replaced (Linux: and frees it).
void RestoreExceptionFilter(PreviousFilter previous);
// Asks the filter that `previous` replaced. Linux: when that was an install of
// ours, its filter; otherwise the answer is "pass on", and the crashed thread hands
// the signal to that disposition.
long CallPreviousFilter(PreviousFilter previous, ExceptionPointers64* pointers, uint32_t threadId);

// Linux: an alternate signal stack for the calling thread, so that a stack
// overflow can still be reported (counted: the last release removes it).
// Windows: nothing to do.
bool PrepareCrashStack();
void ReleaseCrashStack();

}  // namespace plat
