#include <windows.h>
#include <process.h>

#include <cerrno>

#include "platform/thread.h"

namespace plat {
namespace {

uint64_t FromFileTime(const FILETIME& ft) {
  return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

// A debugger that sees the naming exception takes the name and goes on; one that
// passes it back, or a race with a detaching debugger, ends here.
LONG CALLBACK SwallowNamingException(EXCEPTION_POINTERS* info) {
  return info->ExceptionRecord->ExceptionCode == 0x406D1388 ? EXCEPTION_CONTINUE_EXECUTION
                                                            : EXCEPTION_CONTINUE_SEARCH;
}

#pragma pack(push, 8)
struct ThreadNameInfo {
  DWORD type;        // 0x1000
  LPCSTR name;
  DWORD threadId;    // -1: the calling thread
  DWORD flags;
};
#pragma pack(pop)

template <typename Fn>
Fn WinmmFunction(const char* name) {
  static HMODULE winmm = ::LoadLibraryW(L"winmm.dll");
  return winmm ? reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(winmm, name))) : nullptr;
}

}  // namespace

WaitHandle ThreadCreateSuspended(size_t stackSize, ThreadEntry entry, void* arg, uint32_t* threadId,
                                 int* err) {
  errno = 0;
  unsigned tid = 0;
  if (stackSize > 0xFFFFFFFFu) {   // the runtime takes 32 bits: refuse rather than cut
    if (err) *err = ENOMEM;
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  auto start = reinterpret_cast<unsigned(__stdcall*)(void*)>(entry);
  uintptr_t h = _beginthreadex(nullptr, static_cast<unsigned>(stackSize), start, arg, CREATE_SUSPENDED, &tid);
  if (err) *err = h ? 0 : errno;
  if (threadId) *threadId = tid;
  return reinterpret_cast<WaitHandle>(h);
}

uint32_t ThreadSuspend(WaitHandle thread) { return ::SuspendThread(thread); }
uint32_t ThreadIdOf(WaitHandle thread) { return ::GetThreadId(thread); }
uint32_t ThreadResume(WaitHandle thread) { return ::ResumeThread(thread); }
bool ThreadSetPriority(WaitHandle thread, int priority) { return ::SetThreadPriority(thread, priority) != FALSE; }
int ThreadGetPriority(WaitHandle thread) {
  int p = ::GetThreadPriority(thread);
  return p == THREAD_PRIORITY_ERROR_RETURN ? kThreadPriorityError : p;
}
int CurrentThreadPriority() { return ::GetThreadPriority(::GetCurrentThread()); }

bool ThreadExitCode(WaitHandle thread, uint32_t* exitCode) {
  DWORD code = 0;
  if (!exitCode || !::GetExitCodeThread(thread, &code)) return false;
  *exitCode = code;
  return true;
}

bool ThreadTimes(WaitHandle thread, ThreadTimeInfo* times) {
  FILETIME c, e, k, u;
  if (!times || !::GetThreadTimes(thread, &c, &e, &k, &u)) return false;
  times->creation = FromFileTime(c);
  times->exit = FromFileTime(e);
  times->kernel = FromFileTime(k);
  times->user = FromFileTime(u);
  return true;
}

bool ThreadTerminate(WaitHandle thread, uint32_t exitCode) { return ::TerminateThread(thread, exitCode) != FALSE; }
bool ThreadWasAbandoned(WaitHandle) { return false; }
WaitHandle CurrentThreadHandle() { return ::GetCurrentThread(); }

void ThreadSetDebuggerName(const char* name) {
  if (!name || !::IsDebuggerPresent()) return;   // nobody to tell
  static PVOID handler = ::AddVectoredExceptionHandler(1, &SwallowNamingException);
  (void)handler;
  ThreadNameInfo info{0x1000, name, 0xFFFFFFFFu, 0};
  ::RaiseException(0x406D1388, 0, sizeof info / sizeof(ULONG_PTR), reinterpret_cast<const ULONG_PTR*>(&info));
}

bool ThreadAttachInput(uint32_t threadId, uint32_t otherThreadId, bool attach) {
  return ::AttachThreadInput(threadId, otherThreadId, attach) != FALSE;
}

bool SwitchThread() { return ::SwitchToThread() != FALSE; }

bool TimerPeriodBegin(uint32_t ms) {
  using Fn = UINT(WINAPI*)(UINT);
  static Fn begin = WinmmFunction<Fn>("timeBeginPeriod");
  return begin && begin(ms) == 0;
}

void TimerPeriodEnd(uint32_t ms) {
  using Fn = UINT(WINAPI*)(UINT);
  static Fn end = WinmmFunction<Fn>("timeEndPeriod");
  if (end) end(ms);
}

void CpuPause() { YieldProcessor(); }

}  // namespace plat
