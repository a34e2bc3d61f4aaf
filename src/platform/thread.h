// Threads: creation (suspended), suspend counts, priorities, exit codes, times,
// the forced end, naming for debuggers, input attachment and the scheduler calls
// of the idle helper. A thread handle is a WaitHandle of platform/event.h: it can
// be waited on, duplicated and closed like an event.
// Errors: null, false, 0xFFFFFFFF or kThreadPriorityError; ThreadCreateSuspended
// also sets plat::LastError and *err.
// Threads: any thread may act on any thread's handle; the caller serialises starting
// and ending one thread (clsThreadBase does).
//
//   plat::WaitHandle t = plat::ThreadCreateSuspended(0, &Run, this, nullptr, &err);
//   plat::ThreadResume(t); plat::WaitOne(t, plat::kInfinite); plat::HandleClose(t);
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/event.h"

namespace plat {

constexpr uint32_t kStillActive = 259;
constexpr int kThreadPriorityIdle = -15;
constexpr int kThreadPriorityError = 0x7FFFFFFF;

using ThreadEntry = uint32_t (*)(void* arg);

// Creates a thread that doesn't run until ThreadResume (the runtime's thread start,
// so the C runtime is set up for it). Null on failure with `*err` the errno of the
// runtime and the thread's error number set. `threadId` may be null: ThreadIdOf
// tells it later (on Linux the identifier is known only once the thread exists,
// and asking for it at once costs the creator a wait).
WaitHandle ThreadCreateSuspended(size_t stackSize, ThreadEntry entry, void* arg, uint32_t* threadId,
                                 int* err);
// Return the previous suspend count, or 0xFFFFFFFF on failure. On Linux a running
// thread cannot be stopped from outside: the count is kept, and only a thread that
// hasn't begun yet waits for it to reach 0.
uint32_t ThreadSuspend(WaitHandle thread);
uint32_t ThreadIdOf(WaitHandle thread);   // 0 for an invalid handle
uint32_t ThreadResume(WaitHandle thread);
// Relative priorities as SetThreadPriority takes them (-15, -2..2, 15).
bool ThreadSetPriority(WaitHandle thread, int priority);
int ThreadGetPriority(WaitHandle thread);   // kThreadPriorityError on failure
int CurrentThreadPriority();
// kStillActive while the thread runs.
bool ThreadExitCode(WaitHandle thread, uint32_t* exitCode);
// Times in 100 ns units; `exit` is 0 while the thread runs.
struct ThreadTimeInfo {
  uint64_t creation = 0, exit = 0, kernel = 0, user = 0;
};
bool ThreadTimes(WaitHandle thread, ThreadTimeInfo* times);
// Ends a thread by force (TerminateThread). Linux has no safe way to do it: there
// the thread is abandoned (it runs on with nobody waiting for it, its handle becomes
// signalled only when it really ends), ThreadWasAbandoned tells the thread, and the
// call returns true.
bool ThreadTerminate(WaitHandle thread, uint32_t exitCode);
bool ThreadWasAbandoned(WaitHandle thread);
// The calling thread's own handle as ThreadCreateSuspended gave it, or null for a
// thread that wasn't started that way (Linux; on Windows the pseudo handle).
WaitHandle CurrentThreadHandle();

// Names the calling thread for debuggers (the 0x406D1388 exception on Windows,
// pthread_setname_np with the first 15 bytes on Linux).
void ThreadSetDebuggerName(const char* name);
// AttachThreadInput; false on failure with the thread's error set. Linux has no
// input queues: it answers false with error 50.
bool ThreadAttachInput(uint32_t threadId, uint32_t otherThreadId, bool attach);

// Scheduler calls of the idle helper.
bool SwitchThread();            // SwitchToThread: true when another thread ran
bool TimerPeriodBegin(uint32_t ms);   // timeBeginPeriod
void TimerPeriodEnd(uint32_t ms);     // timeEndPeriod
void CpuPause();

}  // namespace plat
