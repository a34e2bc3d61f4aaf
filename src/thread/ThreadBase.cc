#include "thread/ThreadBase.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstring>
#include <new>

#include "core/diag/Diag.h"
#include "core/format/Format.h"
#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "core/identity/Identity.h"
#include "platform/errors.h"
#include "platform/process.h"
#include "platform/thread.h"
#include "core/timing/TickCount.h"

namespace zx {
namespace {

std::atomic<void (*)(clsThreadBase*)> g_beforeHandshake{nullptr};

// "<module>::<name>"; the module is the library's base name.
String FullName(const char* name) {
  String full(Identity().libraryBaseName);
  full.Append(u"::");
  if (name) full.Append(String(name));
  return full;
}

// The system's text of the thread's last error, on one line.
String LastErrorText() {
  std::u16string text;
  plat::SystemErrorText(plat::LastError(), 0, text);
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r')) text.pop_back();
  return String(std::u16string_view(text));
}

uint32_t Ms(uint64_t hundredNs) { return static_cast<uint32_t>(hundredNs / 10000); }

}  // namespace

// The thread's argument, shared by the starter and the new thread: a starter whose
// handshake timed out has returned long before a late thread signals, so the
// block goes with whichever of the two lets go of it last.
struct clsThreadBase::StartArgs {
  clsEvent started{true, false};
  clsThreadBase* self = nullptr;
  std::atomic<int> holders{2};
  void Release() {
    if (holders.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
};

void clsThreadBase::SetBeforeHandshakeHookForTests(void (*hook)(clsThreadBase*)) {
  g_beforeHandshake.store(hook, std::memory_order_release);
}

clsThreadBase::clsThreadBase(const char* name)
    : clsConcurrencyVisualizerUser(FullName(name).wchar()) {
  const String full = FullName(name);
  const char* narrow = full.narrow();
  const size_t n = std::strlen(narrow);
  m_szName = new (std::nothrow) char[n + 1];
  if (m_szName) std::memcpy(m_szName, narrow, n + 1);
}

clsThreadBase::~clsThreadBase() {
  if (m_hThread) {
    DiagFormat(u"clsThreadBase(%hs)::~clsThreadBase: warning: derived class does not end thread. I do it here - "
               u"cross your fingers that the derived class does not access any members in the thread function!!!",
               m_szName);
    ThreadEnd(false, 1000, true);
  }
  delete[] m_szName;
  delete m_psError;
  delete m_pMarker;
}

void clsThreadBase::SetError(const char16_t* format, ...) {
  if (!m_psError) m_psError = new (std::nothrow) String;
  if (!m_psError) return;
  char16_t text[1024];
  va_list ap;
  va_start(ap, format);
  VFormatTo(text, 1024, format, ap);
  va_end(ap);
  *m_psError = text;
  DiagFormat(u"ERR: %s", text);
}

int clsThreadBase::ThreadGetState() {
  plat::Lock l(m_Lock);
  if (!m_hThread || !m_bStarted) return 0;
  return plat::WaitOne(m_hThread, 0) == plat::kWaitObject0 ? 3 : 1;
}

void clsThreadBase::Collect(bool forced) {
  uint32_t code = 0;
  if (!forced && plat::ThreadExitCode(m_hThread, &code)) m_dwExitCode = code;
  else if (forced) m_dwExitCode = 0;   // what TerminateThread(thread, 0) leaves
  plat::HandleClose(m_hThread);
  m_hThread = nullptr;
  m_dwThreadId = 0;
}

bool clsThreadBase::ThreadStart(int priority) {
  if (ThreadGetState() == 3) {
    plat::Lock l(m_Lock);
    Collect(false);
  }
  {
    plat::Lock l(m_Lock);
    if (m_hThread) {
      plat::ThreadResume(m_hThread);
      return true;
    }
  }
  auto* args = new (std::nothrow) StartArgs;
  if (args) args->self = this;
  plat::Lock l(m_Lock);   // held across the handshake: nobody ends a thread that is just starting
  m_dwExitCode = 0xFFFFFFFFu;
  m_dwCreatorThreadId = plat::ThreadId();
  m_evStop.Reset();
  m_bStarted = false;
  const uint32_t stack = ThreadGetStackSize();
  int err = 0;
  m_hThread = args ? plat::ThreadCreateSuspended(stack, &Entry, args, nullptr, &err) : nullptr;
  if (!m_hThread) {
    delete args;   // no thread holds it
    SetError(u"clsThreadBase(%hs)::ThreadStart: Cannot create thread (stack size %d KiB): errno=%d, "
             u"GetLastError()=%s",
             m_szName, static_cast<int>(stack >> 10), err, LastErrorText().wchar());
    return false;
  }
  plat::ThreadResume(m_hThread);
  // The limit is measured on the library's clock, in rounds of at most 100 ms.
  const uint64_t deadline = UtilTickCount64() + kThreadStartLimitMs;
  uint32_t result;
  for (;;) {
    const uint64_t now = UtilTickCount64();
    const uint32_t round = now >= deadline ? 0 : static_cast<uint32_t>(std::min<uint64_t>(deadline - now, 100));
    result = plat::WaitOne(args->started.Handle(), round);
    if (result != plat::kWaitTimeout || round == 0) break;
  }
  args->Release();
  m_dwThreadId = plat::ThreadIdOf(m_hThread);
  if (result != plat::kWaitObject0) {
    m_bStarted = false;
    SetError(u"clsThreadBase(%hs)::ThreadStart: WaitForSingleObject() failed: result=%08x, GetLastError()=%s",
             m_szName, result, LastErrorText().wchar());
    return false;
  }
  m_bStarted = true;
  plat::ThreadSetPriority(m_hThread, priority);
  return true;
}

uint32_t clsThreadBase::Entry(void* arg) {
  auto* args = static_cast<StartArgs*>(arg);
  clsThreadBase* self = args->self;
  const char* behind = nullptr;
  if (self->m_szName) {
    plat::ThreadSetDebuggerName(self->m_szName);
    behind = std::strstr(self->m_szName, "::");
    behind = behind ? behind + 2 : self->m_szName;
    DebugSetThreadName(behind);
  }
  if (auto hook = g_beforeHandshake.load(std::memory_order_acquire)) hook(self);
  args->started.Set();   // from here on the starter may return
  args->Release();
  if (self->MarkersActive()) {
    const String series = self->m_szName ? String(self->m_szName) : String(u"(thread)");
    clsConcurrencyVisualizerMarkerSeries::Create(self->MarkerProvider(), series.wchar(), &self->m_pMarker);
    if (self->m_pMarker) self->m_pMarker->WriteMessage(4, u"starting");
  }
  const uint32_t result = self->ThreadProc();
  // The channel's entry for this thread points into the name: it goes first, also
  // for a thread that a forced end abandoned (Linux), whose object may be gone.
  if (behind) DebugSetThreadName(nullptr);
  if (plat::ThreadWasAbandoned(plat::CurrentThreadHandle())) return result;
  if (self->m_pMarker) self->m_pMarker->WriteMessage(4, u"ending, result=%u", result);
  return result;
}

bool clsThreadBase::WaitForEnd(uint32_t dwTimeoutMs) {
  if (!ThreadEndPumpsMessages()) {
    m_Lock.Leave();
    const uint32_t r = plat::WaitOne(m_hThread, dwTimeoutMs);
    m_Lock.Enter();
    return r != plat::kWaitTimeout;
  }
  m_Lock.Leave();
  const uint64_t deadline = dwTimeoutMs == plat::kInfinite ? 0 : UtilTickCount64() + dwTimeoutMs;
  bool ended = false;
  const plat::WaitMode pumping{true, false};
  for (;;) {
    const uint32_t r = plat::WaitAny(1, &m_hThread, dwTimeoutMs, pumping);
    if (r == plat::kWaitObject0) {
      ended = true;
      break;
    }
    if (r == 1) {
      plat::PumpMessages();
    } else if (r == plat::kWaitAbandoned0) {
      DiagLine(u"abandoned...");
    } else if (r == plat::kWaitFailed) {
      DiagFormat(u"clsThreadBase::ThreadEnd(): MsgWaitForMultipleObjects returned WAIT_FAILED: %s",
                 LastErrorText().wchar());
      ended = true;
      break;
    }
    if (dwTimeoutMs != plat::kInfinite && UtilTickCount64() >= deadline) break;
  }
  m_Lock.Enter();
  return ended;
}

void clsThreadBase::ReportTimes() {
  plat::ThreadTimeInfo t;
  if (!plat::ThreadTimes(m_hThread, &t)) return;
  if (t.exit != 0)
    DiagFormat(u"thread '%hs' was alive for %d ms (UserMode: %d ms, KernelMode: %d ms)", m_szName,
               static_cast<int>(Ms(t.exit) - Ms(t.creation)), static_cast<int>(Ms(t.user)),
               static_cast<int>(Ms(t.kernel)));
  else
    DiagFormat(u"thread '%hs' forced to exit! (UserMode: %d ms, KernelMode: %d ms)", m_szName,
               static_cast<int>(Ms(t.user)), static_cast<int>(Ms(t.kernel)));
}

// Every return leaves m_Lock through the lambda leave(); the lock analysis sees
// the lambda as a function of its own and cannot pair the two.
ZX_NO_THREAD_SAFETY_ANALYSIS
bool clsThreadBase::ThreadEnd(bool bIfSuspendedSkipWait, uint32_t dwTimeoutMs, bool bForce) {
  bool result = true;
  m_Lock.Enter();
  auto leave = [&]() ZX_NO_THREAD_SAFETY_ANALYSIS {
    m_nEnding.fetch_sub(1, std::memory_order_acq_rel);
    m_Lock.Leave();
    return result;
  };
  if (m_nEnding.fetch_add(1, std::memory_order_acq_rel) + 1 != 1) {
    if (DeveloperMode()) DiagLine(u"ups ;) some recursion in ThreadEnd()? Might be OK though ;)");
    return leave();
  }
  if (!m_hThread) return leave();
  m_evStop.Set();
  if (plat::ThreadId() == m_dwThreadId) return leave();   // the stop is signalled; nothing is closed

  bool close = false, forced = false;
  uint32_t code = 0;
  if (!m_bStarted || !plat::ThreadExitCode(m_hThread, &code)) {
    DiagFormat(u"clsThreadBase(%hs)::ThreadEnd(): warning: thread handle is not NULL, but "
               u"::GetExitCodeThread(_hThread,&dwEC) failed(%d): %s",
               m_szName, static_cast<int>(plat::LastError()), LastErrorText().wchar());
    close = true;
  } else if (code != plat::kStillActive) {
    close = true;
  } else {
    const uint32_t previous = plat::ThreadSuspend(m_hThread);
    plat::ThreadResume(m_hThread);
    const bool wasSuspended = previous != 0xFFFFFFFFu && previous > 0;
    bool ended = false;
    if (!(wasSuspended && bIfSuspendedSkipWait)) {
      // A low-priority thread must not hold up a high-priority caller.
      plat::ThreadSetPriority(m_hThread, plat::CurrentThreadPriority());
      if (wasSuspended) plat::ThreadResume(m_hThread);
      ended = WaitForEnd(dwTimeoutMs);
    }
    if (ended) {
      close = true;
    } else if (bForce) {
      plat::ThreadTerminate(m_hThread, 0);
      result = false;
      close = forced = true;
    }
  }
  if (close) {
    if (DeveloperMode()) ReportTimes();
    Collect(forced);
  }
  return leave();
}

bool clsThreadBase::ThreadWait(uint32_t dwTimeoutMs, int32_t* pResult, uint32_t count, ...) {
  plat::WaitHandle handles[plat::kMaxWaitObjects];
  va_list ap;
  va_start(ap, count);
  const uint32_t n = std::min(count, plat::kMaxWaitObjects);
  for (uint32_t i = 0; i < n; ++i) handles[i] = va_arg(ap, plat::WaitHandle);
  va_end(ap);
  if (count > n) {   // more than the system can wait for: the wait fails
    if (pResult) *pResult = -2;
    return true;
  }
  return ThreadWaitArray(dwTimeoutMs, pResult, n, handles);
}

bool clsThreadBase::ThreadWaitArray(uint32_t dwTimeoutMs, int32_t* pResult, uint32_t count,
                                    const plat::WaitHandle* handles) {
  int32_t local;
  int32_t& res = pResult ? *pResult : local;
  res = -1;
  if (count + 1 > plat::kMaxWaitObjects || (count && !handles)) {
    res = -2;
    return true;
  }
  plat::WaitHandle all[plat::kMaxWaitObjects];
  all[0] = m_evStop.Handle();
  std::copy(handles, handles + count, all + 1);
  const uint32_t n = count + 1;
  const uint64_t deadline = dwTimeoutMs == plat::kInfinite ? 0 : UtilTickCount64() + dwTimeoutMs;
  const bool alertable = ThreadWaitIsAlertable();
  const plat::WaitMode mode{ThreadWaitsForMessages(), alertable};
  for (;;) {
    const uint32_t r = plat::WaitAny(n, all, dwTimeoutMs, mode);
    if (r == plat::kWaitIoCompletion && alertable) {
      res = -3;
      break;
    }
    if (r == plat::kWaitFailed) {
      res = -2;
      break;
    }
    if (r == plat::kWaitObject0) {
      res = static_cast<int32_t>(kThreadStopResult);
      return false;
    }
    if (r == n) {
      res = -4;
      break;
    }
    if (r < n) {
      res = static_cast<int32_t>(r) - 1;
      break;
    }
    if (r == plat::kWaitTimeout) res = -1;
    // A time-out, an APC we don't take, an abandoned object: go on until the deadline.
    if (dwTimeoutMs != plat::kInfinite && UtilTickCount64() >= deadline) break;
  }
  return true;
}

void clsThreadBase::ThreadAttachInput(uint32_t dwOtherThreadId, bool bAttach) {
  if (!plat::ThreadAttachInput(m_dwThreadId, dwOtherThreadId, bAttach))
    DiagFormat(u"clsThreadBase(%hs)::ThreadAttachInput(): %s", m_szName, LastErrorText().wchar());
}

}  // namespace zx
