// Linux: threads on pthreads. A thread is created detached and waits at a gate until its
// suspend count reaches 0, which is how "created suspended" is done; its end is
// published through its wait object, never by joining. There is no safe way to
// end another thread on Linux (pthread_cancel unwinds through code that doesn't
// expect it): the forced end abandons the thread instead, see thread.h.
#include <errno.h>
#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/errors.h"
#include "platform/posix/wait_object_posix.h"
#include "platform/thread.h"

namespace plat {
namespace {

using detail::ThreadObject;
using detail::WaitObject;

thread_local ThreadObject* t_self = nullptr;

// The system's stacks are committed on demand: the size asked for is a minimum,
// as the commit size of a Windows thread is, and the reserve is at least 1 MiB.
constexpr size_t kMinStackReserve = size_t(1) << 20;

uint64_t TimevalTo100ns(const timeval& tv) {
  return static_cast<uint64_t>(tv.tv_sec) * 10000000u + static_cast<uint64_t>(tv.tv_usec) * 10u;
}

void* Trampoline(void* p) {
  auto* t = static_cast<ThreadObject*>(p);
  t_self = t;
  {
    std::unique_lock<std::mutex> l(detail::WaitLock());
    t->tid = static_cast<uint32_t>(::syscall(SYS_gettid));
    t->tidKnown = true;
    t->gate.notify_all();
    t->gate.wait(l, [t] { return t->suspendCount == 0; });
    t->creation = detail::FileTimeNow();
  }
  const uint32_t rc = t->entry(t->arg);
  rusage ru{};
  getrusage(RUSAGE_THREAD, &ru);
  std::unique_lock<std::mutex> l(detail::WaitLock());
  t->user = TimevalTo100ns(ru.ru_utime);
  t->kernel = TimevalTo100ns(ru.ru_stime);
  t->exit = detail::FileTimeNow();
  t->exitCode = rc;
  const std::vector<detail::Waiter*> chosen = detail::SignalAll(t);
  detail::Release(t);   // the thread's own reference
  l.unlock();
  detail::WakeAll(chosen);
  return nullptr;
}

ThreadObject* LookupThread(WaitHandle h) {
  WaitObject* o = detail::Lookup(h);
  if (o && o->kind != WaitObject::Kind::Thread) {
    SetLastError(kErrInvalidHandle);
    return nullptr;
  }
  return static_cast<ThreadObject*>(o);
}

// Relative priority to nice value; idle is SCHED_IDLE.
void ApplyPriority(ThreadObject* t, int priority) {
  if (!t->tidKnown || t->signalled) return;
  sched_param sp{};
  if (priority <= kThreadPriorityIdle) {
    pthread_setschedparam(t->pthread, SCHED_IDLE, &sp);
    return;
  }
  pthread_setschedparam(t->pthread, SCHED_OTHER, &sp);
  const int nice = std::clamp(-priority * 5, -19, 19);
  setpriority(PRIO_PROCESS, t->tid, nice);   // raising needs a privilege: best effort
}

}  // namespace

WaitHandle ThreadCreateSuspended(size_t stackSize, ThreadEntry entry, void* arg, uint32_t* threadId,
                                 int* err) {
  if (err) *err = 0;
  auto* t = new (std::nothrow) ThreadObject;
  if (!t || !entry) {
    delete t;
    if (err) *err = t ? EINVAL : ENOMEM;
    SetLastError(t ? kErrInvalidParameter : kErrNotEnoughMemory);
    return nullptr;
  }
  t->entry = entry;
  t->arg = arg;
  t->refs = 2;   // the handle and the running thread
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  int rc = pthread_attr_setstacksize(&attr, std::max(stackSize, kMinStackReserve));
  std::unique_lock<std::mutex> l(detail::WaitLock());
  detail::Register(t);
  if (rc == 0) rc = pthread_create(&t->pthread, &attr, &Trampoline, t);
  pthread_attr_destroy(&attr);
  if (rc != 0) {
    t->refs = 1;
    detail::Release(t);
    if (err) *err = rc;
    SetLastError(ErrorFromErrno(rc == EAGAIN ? ENOMEM : rc));
    return nullptr;
  }
  t->priority = t_self ? t_self->priority : 0;   // a new thread inherits its creator's nice value
  if (threadId) {
    t->gate.wait(l, [t] { return t->tidKnown; });
    *threadId = t->tid;
  }
  return t;
}

uint32_t ThreadSuspend(WaitHandle thread) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t) return 0xFFFFFFFFu;
  return t->suspendCount++;
}

uint32_t ThreadResume(WaitHandle thread) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t) return 0xFFFFFFFFu;
  const uint32_t previous = t->suspendCount;
  if (previous > 0 && --t->suspendCount == 0) t->gate.notify_all();
  return previous;
}

bool ThreadSetPriority(WaitHandle thread, int priority) {
  const bool known = priority == kThreadPriorityIdle || priority == 15 || (priority >= -2 && priority <= 2);
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t) return false;
  if (!known) {
    SetLastError(kErrInvalidParameter);
    return false;
  }
  if (t->priority != priority) ApplyPriority(t, priority);
  t->priority = priority;
  return true;
}

int ThreadGetPriority(WaitHandle thread) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  return t ? t->priority : kThreadPriorityError;
}

int CurrentThreadPriority() {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  return t_self ? t_self->priority : 0;
}

bool ThreadExitCode(WaitHandle thread, uint32_t* exitCode) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t || !exitCode) return false;
  *exitCode = t->exitCode;
  return true;
}

bool ThreadTimes(WaitHandle thread, ThreadTimeInfo* times) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t || !times) return false;
  times->creation = t->creation;
  times->exit = t->exit;
  times->kernel = t->kernel;
  times->user = t->user;
  if (!t->signalled && t->suspendCount == 0) {
    // Still running (the pthread is alive while its end isn't published): its CPU
    // clock gives the sum, counted as user time.
    clockid_t cid;
    timespec ts;
    if (pthread_getcpuclockid(t->pthread, &cid) == 0 && clock_gettime(cid, &ts) == 0)
      times->user = static_cast<uint64_t>(ts.tv_sec) * 10000000u + static_cast<uint64_t>(ts.tv_nsec) / 100u;
  }
  return true;
}

uint32_t ThreadIdOf(WaitHandle thread) {
  std::unique_lock<std::mutex> l(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t) return 0;
  t->gate.wait(l, [t] { return t->tidKnown; });
  return t->tid;
}

bool ThreadTerminate(WaitHandle thread, uint32_t) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  if (!t) return false;
  t->abandoned = true;
  if (t->suspendCount > 0) {
    t->suspendCount = 0;   // a thread that never began runs its entry and can see it was abandoned
    t->gate.notify_all();
  }
  return true;
}

bool ThreadWasAbandoned(WaitHandle thread) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  ThreadObject* t = LookupThread(thread);
  return t && t->abandoned;
}

WaitHandle CurrentThreadHandle() { return t_self; }

void ThreadSetDebuggerName(const char* name) {
  if (!name) return;
  char shortName[16];
  std::strncpy(shortName, name, sizeof shortName - 1);
  shortName[sizeof shortName - 1] = 0;
  pthread_setname_np(pthread_self(), shortName);
}

bool ThreadAttachInput(uint32_t, uint32_t, bool) {
  SetLastError(kErrNotSupported);
  return false;
}

bool SwitchThread() {
  // sched_yield doesn't say whether another thread ran; the thread's count of
  // context switches does.
  rusage before{}, after{};
  getrusage(RUSAGE_THREAD, &before);
  sched_yield();
  getrusage(RUSAGE_THREAD, &after);
  return after.ru_nvcsw + after.ru_nivcsw != before.ru_nvcsw + before.ru_nivcsw;
}

bool TimerPeriodBegin(uint32_t) { return true; }   // the timer is fine-grained already
void TimerPeriodEnd(uint32_t) {}

void CpuPause() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

}  // namespace plat
