#include "thread/ThreadedJobDispatcher.h"

#include <algorithm>
#include <memory>
#include <new>
#include <thread>

#include "core/diag/Diag.h"
#include "core/timing/Backoff.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/process.h"
#include "platform/processors.h"
#include "thread/ThreadBase.h"

#include "platform/compiler.h"
#if ZX_ASAN
#  include <sanitizer/asan_interface.h>
#endif

namespace zx {
namespace {

constexpr uint32_t kWorkerStackSize = 65536;
constexpr uint32_t kWorkerEndMs = 1000;
constexpr uint32_t kChangedWaitMs = 1000;
constexpr int32_t kManyDispatchers = 11;
constexpr uint32_t kMaxThreadsOfMany = 2;

std::atomic<int32_t> g_liveDispatchers{0};

// A spare job's memory past its link is out of bounds for the address sanitizer,
// so that a use of a finished job is still caught.
void PoisonSpare(void* block, bool poison) {
#if ZX_ASAN
  char* rest = static_cast<char*>(block) + sizeof(void*);
  const size_t size = sizeof(clsUTThreadedJob) - sizeof(void*);
  if (poison) ASAN_POISON_MEMORY_REGION(rest, size);
  else ASAN_UNPOISON_MEMORY_REGION(rest, size);
#else
  (void)block;
  (void)poison;
#endif
}

void FreeSpare(void* block) {
  if (!block) return;
  PoisonSpare(block, false);
  ::operator delete(block);
}

// Dispatchers that Close had to leave alive because a job never came back. They
// stay reachable for the rest of the process.
plat::CriticalSection& AbandonedLock() {
  static plat::CriticalSection* lock = new plat::CriticalSection(0);
  return *lock;
}
std::vector<clsThreadedJobDispatcher*>& Abandoned() {
  static auto* list = new std::vector<clsThreadedJobDispatcher*>;
  return *list;
}

}  // namespace

// A worker: takes jobs from the dispatcher's queue until a null packet comes.
class clsThreadedJobProcessorUsingIoCompletionPort : private clsThreadBase {
 public:
  clsThreadedJobProcessorUsingIoCompletionPort(clsThreadedJobDispatcherUsingIoCompletionPort* dispatcher,
                                               const char* name)
      : clsThreadBase(name), m_pDispatcher(dispatcher) {}
  ~clsThreadedJobProcessorUsingIoCompletionPort() override { ThreadEnd(false, kWorkerEndMs, true); }
  bool Start() { return ThreadStart(0); }
  uint32_t Id() const { return ThreadId(); }

 private:
  uint32_t ThreadGetStackSize() override { return kWorkerStackSize; }
  uint32_t ThreadProc() override {
    // Finishing a job and taking the next share one round of the list lock.
    clsUTThreadedJob* job = m_pDispatcher->FinishAndGetNext(nullptr);
    while (job) {
      {
        std::unique_ptr<clsConcurrencyVisualizerSpan> span(
            MarkersActive() ? EnterSpan(1, u"%s", job->Name().wchar()) : nullptr);
        job->Run();
      }
      job = m_pDispatcher->FinishAndGetNext(job);
    }
    return 0;
  }

  clsThreadedJobDispatcherUsingIoCompletionPort* m_pDispatcher;
};

// ---- the base

clsThreadedJobDispatcher::clsThreadedJobDispatcher(uint32_t maxThreads) : m_nMaxThreads(maxThreads) {
  if (m_nMaxThreads == 0) m_nMaxThreads = std::max(1u, plat::ProcessorsOfProcess() - 1);
  if (g_liveDispatchers.fetch_add(1) + 1 >= kManyDispatchers) m_nMaxThreads = std::min(m_nMaxThreads, kMaxThreadsOfMany);
}

clsThreadedJobDispatcher::~clsThreadedJobDispatcher() {
  {
    plat::Lock guard(m_Lock);
    for (JobList* list : {&m_lstPending, &m_lstFinished, &m_lstInline})
      while (clsUTThreadedJob* job = list->pop()) delete job;
    while (SpareBlock* block = m_pSpares) {
      m_pSpares = block->next;
      FreeSpare(block);
    }
  }
  FreeSpare(m_pNextBlock.exchange(nullptr));
  g_liveDispatchers.fetch_sub(1);
}

clsUTThreadedJob* clsThreadedJobDispatcher::NewJob(const String& name, IUnknown* job, IUnknown* host) {
  void* block = m_pNextBlock.exchange(nullptr, std::memory_order_acquire);
  if (block) PoisonSpare(block, false);
  else block = ::operator new(sizeof(clsUTThreadedJob), std::nothrow);
  if (!block) return nullptr;
  try {
    return new (block) clsUTThreadedJob(name, job, host);
  } catch (...) {
    ::operator delete(block);
    throw;
  }
}

void clsThreadedJobDispatcher::DisposeLocked(clsUTThreadedJob* job) {
  job->~clsUTThreadedJob();
  if (m_nSpares >= kMaxSpareJobs) {
    ::operator delete(job);
    return;
  }
  SpareBlock* block = ::new (static_cast<void*>(job)) SpareBlock{m_pSpares};
  PoisonSpare(block, true);
  m_pSpares = block;
  ++m_nSpares;
}

int32_t clsThreadedJobDispatcher::LiveDispatchers() { return g_liveDispatchers.load(); }

bool clsThreadedJobDispatcher::IsEmpty() {
  plat::Lock guard(m_Lock);
  return m_lstPending.empty() && m_lstFinished.empty() && m_lstRunning.empty() && m_lstInline.empty();
}

bool clsThreadedJobDispatcher::IsGroupDone(uint32_t group) {
  if (group == 0) return IsEmpty();
  plat::Lock guard(m_Lock);
  return !m_lstPending.hasGroup(group) && !m_lstFinished.hasGroup(group) && !m_lstRunning.hasGroup(group) &&
         !m_lstInline.hasGroup(group);
}

void clsThreadedJobDispatcher::Abort(uint32_t group) {
  if (m_bAborted.exchange(true)) return;
  plat::Lock guard(m_Lock);
  for (JobList* list : {&m_lstPending, &m_lstFinished, &m_lstInline}) {
    for (clsUTThreadedJob* job = list->first(); job;) {
      clsUTThreadedJob* next = JobList::next(job);
      if (group == 0 || job->Group() == group) {
        list->remove(job);
        DisposeLocked(job);
      }
      job = next;
    }
  }
}

bool clsThreadedJobDispatcher::RunOneInline(bool callHosts) {
  clsUTThreadedJob* job = nullptr;
  {
    plat::Lock guard(m_Lock);
    job = m_lstInline.pop();
    if (!job) return false;
  }
  job->Run();
  if (callHosts && job->Job()) com::GetResult(job->Job());
  if (callHosts && job->Host() && com::OnJobFinished(job->Host(), job->Name().wchar(), job->Job()) == 0) {
    delete job;
    return true;
  }
  plat::Lock guard(m_Lock);
  m_lstFinished.append(job);
  return true;
}

void clsThreadedJobDispatcher::Finalize(IUnknown* hostObject) {
  clsAutoRelease<IUTThreadedJobHost> host(hostObject, IID_IUTThreadedJobHost);
  clsBackoff backoff(clsBackoff::kSwitchOrTimed);
  backoff.WaitUntil([this] { return IsGroupDone(0); },
                    [&] {
                      RunOneInline(true);
                      if (clsUTThreadedJob* job = PopFinished()) {
                        IUTThreadedJobHost* to = host ? host.Get() : job->Host();
                        if (to) com::OnJobFinished(to, job->Name().wchar(), job->Job());
                        delete job;
                        return;
                      }
                      if (!BeginClientWait()) return;
                      IUTThreadedJobHost* waiter = host.Checked();
                      if (!waiter || com::WaitForJobs(waiter, m_evChanged.Handle()) == 1)
                        plat::WaitOne(m_evChanged.Handle(), kChangedWaitMs);
                      EndClientWait();
                    },
                    0xFFFFFFFFu);
}

bool clsThreadedJobDispatcher::BeginClientWait() {
  plat::Lock guard(m_Lock);
  if (!m_lstFinished.empty() || !m_lstInline.empty() || (m_lstPending.empty() && m_lstRunning.empty()))
    return false;
  m_bClientWaits = true;
  return true;
}

void clsThreadedJobDispatcher::EndClientWait() {
  plat::Lock guard(m_Lock);
  m_bClientWaits = false;
}

bool clsThreadedJobDispatcher::DrainForClose(uint32_t limitMs) {
  Abort(0);
  clsBackoff backoff(clsBackoff::kSwitchOrTimed);
  return backoff.WaitUntil([this] { return IsGroupDone(0); },
                           [this] {
                             RunOneInline(false);
                             if (clsUTThreadedJob* job = PopFinished()) {
                               delete job;
                               return;
                             }
                             if (!BeginClientWait()) return;
                             plat::WaitOne(m_evChanged.Handle(), kChangedWaitMs);
                             EndClientWait();
                           },
                           limitMs);
}

// ---- over the completion port

clsThreadedJobDispatcherUsingIoCompletionPort::clsThreadedJobDispatcherUsingIoCompletionPort(uint32_t maxThreads,
                                                                                             const String& name)
    : clsThreadedJobDispatcher(maxThreads), m_sName(name), m_hPort(m_nMaxThreads) {}

clsThreadedJobDispatcherUsingIoCompletionPort::~clsThreadedJobDispatcherUsingIoCompletionPort() {
  std::vector<clsThreadedJobProcessorUsingIoCompletionPort*> workers;
  {
    plat::Lock guard(m_Lock);
    workers.swap(m_lstWorkers);
  }
  for (size_t i = 0; i < workers.size(); ++i) m_hPort.Post(nullptr);
  for (auto* worker : workers) delete worker;
}

size_t clsThreadedJobDispatcherUsingIoCompletionPort::WorkerCount() {
  plat::Lock guard(m_Lock);
  return m_lstWorkers.size();
}

bool clsThreadedJobDispatcherUsingIoCompletionPort::OnWorkerThread() {
  const uint32_t me = plat::ThreadId();
  plat::Lock guard(m_Lock);
  for (auto* worker : m_lstWorkers)
    if (worker->Id() == me) return true;
  return false;
}

void clsThreadedJobDispatcherUsingIoCompletionPort::Add(clsUTThreadedJob* job) {
  {
    plat::Lock guard(m_Lock);
    if (IsAborted()) {   // refused: the job goes, with the references it holds
      delete job;
      return;
    }
    if (job->MustRunInline()) {
      m_lstInline.append(job);
    } else {
      if ((!m_lstPending.empty() || m_lstWorkers.empty()) && m_lstWorkers.size() < m_nMaxThreads) {
        const String name = m_sName;
        auto* worker = new (std::nothrow) clsThreadedJobProcessorUsingIoCompletionPort(this, name.narrow());
        if (worker) {
          m_lstWorkers.push_back(worker);
          worker->Start();
        }
      }
      m_lstPending.append(job);
    }
    OfferSpareLocked();
  }
  m_hPort.Post(job);
}

clsUTThreadedJob* clsThreadedJobDispatcherUsingIoCompletionPort::GetNextJob() { return FinishAndGetNext(nullptr); }

clsUTThreadedJob* clsThreadedJobDispatcherUsingIoCompletionPort::FinishAndGetNext(clsUTThreadedJob* done) {
  void* packet = nullptr;
  {
    // The job is finished first; a packet queued already is taken in the same hold
    // (the queue's own lock is only ever taken inside this one, never around it).
    plat::Lock guard(m_Lock);
    if (done) FinishLocked(done);
    while (m_hPort.Get(&packet, 0) == 1) {
      if (!packet) return nullptr;
      if (TakeLocked(packet, 0)) return static_cast<clsUTThreadedJob*>(packet);
    }
  }
  for (;;) {
    // The clock is read only around a get that has to wait.
    const uint64_t before = plat::TickCount64();
    const int got = m_hPort.Get(&packet, plat::kQueueWaitInfinite);
    const uint64_t waited = plat::TickCount64() - before;
    if (got != 1 || !packet) return nullptr;
    plat::Lock guard(m_Lock);
    if (TakeLocked(packet, waited)) return static_cast<clsUTThreadedJob*>(packet);
  }
}

bool clsThreadedJobDispatcherUsingIoCompletionPort::TakeLocked(void* packet, uint64_t waited) {
  m_qwWaitTicks += waited;
  // Only a job found in the pending list is touched: a dropped or inline job's
  // packet is a search key and nothing more.
  if (!m_lstPending.take(packet)) return false;
  auto* job = static_cast<clsUTThreadedJob*>(packet);
  m_lstRunning.append(job);
  ++m_qwJobCount;
  return true;
}

void clsThreadedJobDispatcherUsingIoCompletionPort::JobDone(clsUTThreadedJob* job) {
  plat::Lock guard(m_Lock);
  FinishLocked(job);
}

// The job leaves the lists and is deleted within one hold of the lock: once the
// lists are empty, no reference of a job or host is still to be given back.
void clsThreadedJobDispatcherUsingIoCompletionPort::FinishLocked(clsUTThreadedJob* job) {
  m_lstRunning.remove(job);
  if (job->Host() && com::OnJobFinished(job->Host(), job->Name().wchar(), job->Job()) == 0) DisposeLocked(job);
  else m_lstFinished.append(job);
  Changed();
}

clsUTThreadedJob* clsThreadedJobDispatcherUsingIoCompletionPort::PopFinished() {
  plat::Lock guard(m_Lock);
  clsUTThreadedJob* job = m_lstFinished.pop();
  if (!job) return nullptr;
  Changed();
  return job;
}

// ---- the exports' steps

clsThreadedJobDispatcher* ThreadPoolOpen(uint32_t maxThreads, const String& name) {
  auto* pool = new (std::nothrow) clsThreadedJobDispatcherUsingIoCompletionPort(maxThreads, name);
  return pool;
}

namespace {

void CloseNow(clsThreadedJobDispatcher* pool, uint32_t limitMs) {
  if (pool->DrainForClose(limitMs)) {
    delete pool;
    return;
  }
  DiagFormat(u"WRN: clsThreadedJobDispatcher::Close: jobs still run after %u ms; the pool is left behind", limitMs);
  plat::Lock guard(AbandonedLock());
  Abandoned().push_back(pool);
}

}  // namespace

void ThreadPoolClose(clsThreadedJobDispatcher* pool, uint32_t limitMs) {
  if (!pool) return;
  auto* port = static_cast<clsThreadedJobDispatcherUsingIoCompletionPort*>(pool);
  if (port->OnWorkerThread()) {
    // A worker can't wait for itself: the wait and the deletion go to a thread of their own.
    pool->Abort(0);
    try {
      std::thread([pool, limitMs] { CloseNow(pool, limitMs); }).detach();
      return;
    } catch (...) {
    }
    plat::Lock guard(AbandonedLock());
    Abandoned().push_back(pool);
    return;
  }
  CloseNow(pool, limitMs);
}

}  // namespace zx
