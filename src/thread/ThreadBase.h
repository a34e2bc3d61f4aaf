// clsThreadBase: the base of every thread the library starts. A hand-shaked start
// (ThreadStart returns only once the thread runs), a cooperative stop through one
// stop event, an end that pumps messages so that it can't dead-lock a window's
// thread, and a forced end that is reported.
// Errors: ThreadStart returns false with the reason in ThreadGetLastError; ThreadEnd
// returns false only after a forced end; ThreadWait reports through *pResult.
// Threads: ThreadStart, ThreadEnd and ThreadGetState may come from any thread and
// are serialised by the object's lock; ThreadWait* only from inside ThreadProc. The
// object must outlive its thread's ThreadProc.
//
//   class Worker : public clsThreadBase {
//     uint32_t ThreadProc() override { int32_t r; while (ThreadWait(100, &r, 0)) Poll(); return 0; }
//   };
//   Worker w("poll"); w.ThreadStart(); ... w.ThreadEnd(false, 5000, true);
#pragma once
#include <atomic>
#include <cstdint>

#include "core/strings/String.h"
#include "platform/event.h"
#include "platform/lock.h"
#include "platform/thread_annotations.h"
#include "thread/ConcurrencyMarkers.h"
#include "thread/HandleObject.h"

namespace zx {

constexpr uint32_t kThreadStartLimitMs = 20000;
constexpr uint32_t kThreadStopResult = 0x80000000u;

class clsThreadBase : public clsConcurrencyVisualizerUser {
 public:
  // `name` (narrow, may be null) becomes "<module>::<name>".
  explicit clsThreadBase(const char* name);
  virtual ~clsThreadBase();
  clsThreadBase(const clsThreadBase&) = delete;
  clsThreadBase& operator=(const clsThreadBase&) = delete;

  // ---- virtual slots, in this order
  virtual uint32_t ThreadProc() { return 0; }
  virtual uint32_t ThreadGetStackSize() { return 16384; }
  virtual bool ThreadWaitsForMessages() { return false; }
  virtual bool ThreadEndPumpsMessages() { return true; }
  virtual bool ThreadWaitIsAlertable() { return false; }

  // Starts, or resumes, the thread; `priority` is relative (0, 1, -1, -15, ...).
  bool ThreadStart(int priority = 0);
  // False only when the thread was ended by force. Linux can't end a thread safely:
  // there the forced end abandons it (it runs on, detached from this object, and
  // touches the object no more once its ThreadProc returns; see platform/thread.h).
  bool ThreadEnd(bool bIfSuspendedSkipWait, uint32_t dwTimeoutMs, bool bForce);
  // 0 no thread or never started, 1 running, 3 ended but not collected.
  int ThreadGetState();
  // From inside ThreadProc: waits for the stop event or one of `count` handles
  // (passed as plat::WaitHandle arguments). False means the thread has to stop.
  // `*pResult`: the index of the handle, 0x80000000 for the stop event, -1 time-out,
  // -2 failure, -3 APC, -4 input.
  bool ThreadWait(uint32_t dwTimeoutMs, int32_t* pResult, uint32_t count, ...);
  bool ThreadWaitArray(uint32_t dwTimeoutMs, int32_t* pResult, uint32_t count, const plat::WaitHandle* handles);
  void ThreadAttachInput(uint32_t dwOtherThreadId, bool bAttach);
  String* ThreadGetLastError() { return m_psError; }

  // ---- state for callers and tests
  const char* ThreadName() const { return m_szName; }
  uint32_t ThreadId() const { return m_dwThreadId; }
  uint32_t ThreadCreatorId() const { return m_dwCreatorThreadId; }
  uint32_t ThreadExitCode() const { return m_dwExitCode; }
  plat::WaitHandle ThreadHandle() const { return m_hThread; }
  plat::WaitHandle StopEvent() const { return m_evStop.Handle(); }
  bool ThreadStarted() const { return m_bStarted; }

  // Tests: called by a new thread before its handshake (null: nothing).
  static void SetBeforeHandshakeHookForTests(void (*hook)(clsThreadBase*));

 private:
  struct StartArgs;
  static uint32_t Entry(void* arg);
  void SetError(const char16_t* format, ...);
  bool WaitForEnd(uint32_t dwTimeoutMs) ZX_REQUIRES(m_Lock);
  void ReportTimes();
  void Collect(bool forced);

  plat::CriticalSection m_Lock{100};
  plat::WaitHandle m_hThread = nullptr;
  uint32_t m_dwThreadId = 0;
  uint32_t m_dwCreatorThreadId = 0;
  clsEvent m_evStop{true, false};
  char* m_szName = nullptr;
  uint32_t m_dwExitCode = 0;
  clsConcurrencyVisualizerMarkerSeries* m_pMarker = nullptr;
  String* m_psError = nullptr;
  std::atomic<uint32_t> m_nEnding{0};
  bool m_bStarted = false;
};

}  // namespace zx
