// The job dispatcher behind the UtilThreadPool exports. A client hands in named
// jobs (COM objects with IUTThreadedJob), workers started on demand up to a limit
// run them, and the client's thread collects the finished ones in Finalize. A job
// that can't run threaded runs on the client's thread, in Finalize or Close. Jobs
// belong to numbered groups; Abort drops the queued jobs of one group (0: all) and
// refuses every later Add.
//
// The queue is a completion port (platform/job_queue.h): one packet per job, a
// null packet per worker at the end; packets of dropped jobs are skipped because a
// worker takes only a job it finds in the pending list. The lists are intrusive
// (thread/JobList.h): queuing a job allocates nothing beyond the job.
//
// Errors: none are reported; a job's failures are its host's business.
// Threads: Add from any thread; Finalize and Close from one client thread. The
// host's OnJobFinished runs on the worker with m_Lock held (order: the
// dispatcher's lock, then whatever the host takes). Workers take no lock while a
// job runs.
#pragma once
#include <atomic>
#include <cstdint>
#include <vector>

#include "core/strings/String.h"
#include "platform/job_queue.h"
#include "platform/lock.h"
#include "platform/thread_annotations.h"
#include "thread/AllocationCountVerifier.h"
#include "thread/HandleObject.h"
#include "thread/JobList.h"
#include "thread/ThreadedJob.h"

namespace zx {

class clsThreadedJobDispatcher : public clsAllocationCountVerifier<clsThreadedJobDispatcher> {
 public:
  static constexpr const char* kAllocationName = "clsThreadedJobDispatcher";
  virtual ~clsThreadedJobDispatcher();
  // The client and the workers hold m_Lock for a few list steps: spinning beats a
  // sleep and a wake.
  static constexpr uint32_t kListLockSpin = 200;

  // A job record for Add, built in the memory of a finished job where one is
  // spare (a job freed on a worker and allocated on the client would cross the
  // heap's arenas every time). Null when out of memory. Any record may still be
  // deleted with delete.
  clsUTThreadedJob* NewJob(const String& name, IUnknown* job, IUnknown* host);

  virtual bool IsEmpty();
  // No job of that group in any list; group 0: no job at all.
  virtual bool IsGroupDone(uint32_t group);
  virtual void Add(clsUTThreadedJob* job) = 0;
  virtual clsUTThreadedJob* PopFinished() = 0;
  virtual void Abort(uint32_t group);
  virtual void JobDone(clsUTThreadedJob* job) = 0;
  virtual clsUTThreadedJob* GetNextJob() = 0;
  virtual void ResetAbort() { m_bAborted = false; }
  virtual bool IsAborted() { return m_bAborted; }
  // Runs inline jobs and hands finished ones to `host` (or their own host) until
  // every list is empty.
  virtual void Finalize(IUnknown* host);

  // Close's wait: Abort(0), then inline and finished jobs deleted without calling
  // anyone, until every list is empty or `limitMs` passed with jobs still running.
  // False in that case: the caller must not delete the dispatcher.
  bool DrainForClose(uint32_t limitMs);

  uint32_t MaxThreads() const { return m_nMaxThreads; }
  static int32_t LiveDispatchers();

 protected:
  explicit clsThreadedJobDispatcher(uint32_t maxThreads);
  // Runs the first inline job on the calling thread; false when there was none.
  bool RunOneInline(bool callHosts);
  // The client is about to wait for m_evChanged: from now on changes pulse it
  // (nobody pays for the pulse while nobody waits). False, and no wait is to
  // follow, when there is something to collect already.
  bool BeginClientWait();
  void EndClientWait();
  // Pulses m_evChanged when the client waits for it.
  void Changed() ZX_REQUIRES(m_Lock) {
    if (m_bClientWaits) m_evChanged.Set();
  }
  // Destroys a job and keeps its memory for NewJob (a few at most; more are freed).
  void DisposeLocked(clsUTThreadedJob* job) ZX_REQUIRES(m_Lock);
  // Hands a spare block to the next NewJob when it has none.
  void OfferSpareLocked() ZX_REQUIRES(m_Lock) {
    if (m_pSpares && !m_pNextBlock.load(std::memory_order_relaxed)) {
      SpareBlock* block = m_pSpares;
      m_pSpares = block->next;
      --m_nSpares;
      m_pNextBlock.store(block, std::memory_order_release);
    }
  }

  plat::CriticalSection m_Lock{kListLockSpin};
  uint32_t m_nMaxThreads;
  JobList m_lstPending ZX_GUARDED_BY(m_Lock);
  JobList m_lstFinished ZX_GUARDED_BY(m_Lock);
  JobList m_lstRunning ZX_GUARDED_BY(m_Lock);
  JobList m_lstInline;   // the client's thread only (Add appends under m_Lock)
  std::atomic<bool> m_bAborted{false};
  clsEvent m_evChanged{false, false};
  bool m_bClientWaits ZX_GUARDED_BY(m_Lock) = false;

 private:
  static constexpr uint32_t kMaxSpareJobs = 64;
  struct SpareBlock {
    SpareBlock* next;
  };
  SpareBlock* m_pSpares ZX_GUARDED_BY(m_Lock) = nullptr;
  uint32_t m_nSpares ZX_GUARDED_BY(m_Lock) = 0;
  // Taken by NewJob without the lock, filled under it.
  std::atomic<void*> m_pNextBlock{nullptr};
};

class clsThreadedJobProcessorUsingIoCompletionPort;

class clsThreadedJobDispatcherUsingIoCompletionPort : public clsThreadedJobDispatcher {
 public:
  // maxThreads 0: the processors the process may use, less one, at least 1.
  clsThreadedJobDispatcherUsingIoCompletionPort(uint32_t maxThreads, const String& name);
  ~clsThreadedJobDispatcherUsingIoCompletionPort() override;

  void Add(clsUTThreadedJob* job) override;
  clsUTThreadedJob* PopFinished() override;
  void JobDone(clsUTThreadedJob* job) override;
  clsUTThreadedJob* GetNextJob() override;

  // The worker's step between two jobs: `done` is finished (as JobDone does) and
  // the next job taken in one round of the lock when one is queued already; null
  // when the worker is to leave. `done` may be null.
  clsUTThreadedJob* FinishAndGetNext(clsUTThreadedJob* done);

  size_t WorkerCount();
  // True on one of this dispatcher's workers.
  bool OnWorkerThread();

 private:
  // JobDone's steps under the lock.
  void FinishLocked(clsUTThreadedJob* job) ZX_REQUIRES(m_Lock);
  // GetNextJob's steps under the lock for one packet; false when it names no
  // pending job.
  bool TakeLocked(void* packet, uint64_t waited) ZX_REQUIRES(m_Lock);

  uint64_t m_qwWaitTicks = 0;   // time workers spent blocked on the queue (never shown)
  uint64_t m_qwJobCount ZX_GUARDED_BY(m_Lock) = 0;
  String m_sName;
  std::vector<clsThreadedJobProcessorUsingIoCompletionPort*> m_lstWorkers ZX_GUARDED_BY(m_Lock);
  plat::JobQueue m_hPort;
};

// The exports' steps.
clsThreadedJobDispatcher* ThreadPoolOpen(uint32_t maxThreads, const String& name);
// Close: Abort(0), wait, delete. From a worker of the pool itself (a host closing
// in OnJobFinished) the wait and the deletion move to a thread of their own. A
// job still running after `limitMs` leaves the dispatcher alive, abandoned.
void ThreadPoolClose(clsThreadedJobDispatcher* pool, uint32_t limitMs);
constexpr uint32_t kThreadPoolCloseLimitMs = 60000;

}  // namespace zx
