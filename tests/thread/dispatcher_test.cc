// The job dispatcher: thousands of jobs in groups, inline jobs, abort, finalize with
// each host answer, hosts that keep jobs, objects without the interface, close with
// jobs queued, jobs that throw or never return, a host that closes from its
// callback, the worker limits, and the instance counts.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "platform/event.h"
#include "platform/process.h"
#include "platform/processors.h"
#include "thread/ThreadedJobDispatcher.h"
#include "thread_test_util.h"

using namespace zx;

namespace {

// A gate jobs wait at until it opens.
class Gate {
 public:
  void Open() {
    std::lock_guard<std::mutex> g(m_);
    open_ = true;
    cv_.notify_all();
  }
  void Wait() {
    std::unique_lock<std::mutex> g(m_);
    cv_.wait(g, [this] { return open_; });
  }

 private:
  std::mutex m_;
  std::condition_variable cv_;
  bool open_ = false;
};

// A reference-counted COM object with IUTThreadedJob, its runs recorded.
class TestJob : public IUTThreadedJob {
 public:
  TestJob(uint32_t group, bool threaded, Gate* gate = nullptr) : group_(group), threaded_(threaded), gate_(gate) {}
  HRESULT ZX_COMCALL QueryInterface(REFIID iid, void** out) override {
    if (!plat::SameGuid(iid, IID_IUTThreadedJob) && !plat::SameGuid(iid, plat::kIID_IUnknown)) {
      *out = nullptr;
      return static_cast<HRESULT>(0x80004002);
    }
    AddRef();
    *out = static_cast<IUTThreadedJob*>(this);
    return 0;
  }
  ULONG ZX_COMCALL AddRef() override { return ++refs_; }
  ULONG ZX_COMCALL Release() override { return --refs_; }   // the test owns the object
  HRESULT ZX_COMCALL Run() override {
    runThread = plat::ThreadId();
    if (gate_) gate_->Wait();
    ++runs;
    if (throws) throw 42;
    return 0;
  }
  HRESULT ZX_COMCALL GetResult() override { return 7; }
  DWORD ZX_COMCALL GetGroup() override { return group_; }
  DWORD ZX_COMCALL CanRunThreaded() override { return threaded_ ? 1 : 0; }

  int Refs() const { return refs_; }
  std::atomic<int> runs{0};
  std::atomic<int> finished{0};   // OnJobFinished calls for this job
  std::atomic<uint32_t> runThread{0};
  bool throws = false;

 private:
  std::atomic<int> refs_{1};
  uint32_t group_;
  bool threaded_;
  Gate* gate_;
};

// An object that offers no interface of the dispatcher.
class Stranger : public IUnknown {
 public:
  HRESULT ZX_COMCALL QueryInterface(REFIID, void** out) override {
    *out = nullptr;
    return static_cast<HRESULT>(0x80004002);
  }
  ULONG ZX_COMCALL AddRef() override { return ++refs; }
  ULONG ZX_COMCALL Release() override { return --refs; }
  std::atomic<int> refs{1};
};

class TestHost : public IUTThreadedJobHost {
 public:
  // keepEvery: every n-th job is kept (non-zero answer); waitAnswer: WaitForJobs' answer.
  explicit TestHost(int keepEvery = 0, uint32_t waitAnswer = 1) : keepEvery_(keepEvery), waitAnswer_(waitAnswer) {}
  HRESULT ZX_COMCALL QueryInterface(REFIID iid, void** out) override {
    if (!plat::SameGuid(iid, IID_IUTThreadedJobHost) && !plat::SameGuid(iid, plat::kIID_IUnknown)) {
      *out = nullptr;
      return static_cast<HRESULT>(0x80004002);
    }
    AddRef();
    *out = static_cast<IUTThreadedJobHost*>(this);
    return 0;
  }
  ULONG ZX_COMCALL AddRef() override { return ++refs; }
  ULONG ZX_COMCALL Release() override { return --refs; }
  HRESULT ZX_COMCALL OnJobFinished(const char16_t*, IUTThreadedJob* job) override {
    // Inline jobs are told on the client's thread while workers tell theirs: the
    // count taken here decides, not a second read that another thread may have moved.
    const int call = ++calls;
    if (job) ++static_cast<TestJob*>(job)->finished;
    if (onFinished) onFinished();
    return keepEvery_ && call % keepEvery_ == 0 ? 1 : 0;
  }
  DWORD ZX_COMCALL WaitForJobs(void* event) override {
    ++waits;
    if (waitAnswer_ != 1) plat::WaitOne(event, 50);   // the host waits itself
    return waitAnswer_;
  }
  std::atomic<int> refs{1};
  std::atomic<int> calls{0};
  std::atomic<int> waits{0};
  std::function<void()> onFinished;

 private:
  int keepEvery_;
  uint32_t waitAnswer_;
};

struct Pool {
  explicit Pool(uint32_t max, uint32_t closeLimitMs = kThreadPoolCloseLimitMs)
      : p(ThreadPoolOpen(max, String(u"pool"))), limit(closeLimitMs) {}
  ~Pool() { Close(); }
  void Close() {
    ThreadPoolClose(p, limit);
    p = nullptr;
  }
  // As the export does: the record may be a finished job's memory.
  void Add(IUnknown* job, IUnknown* host, const char16_t* name = u"job") { p->Add(p->NewJob(String(name), job, host)); }
  clsThreadedJobDispatcherUsingIoCompletionPort* Port() {
    return static_cast<clsThreadedJobDispatcherUsingIoCompletionPort*>(p);
  }
  clsThreadedJobDispatcher* p;
  uint32_t limit;
};

TEST(Dispatcher, ThousandsOfJobsInGroupsEachRunOnce) {
  const int32_t before = clsUTThreadedJob::LiveInstances();
  std::mt19937 random(15);
  std::vector<std::unique_ptr<TestJob>> jobs;
  for (int i = 0; i < 4000; ++i) jobs.emplace_back(new TestJob(1 + random() % 4, random() % 10 != 0));
  TestHost workerHost(3), finisher;
  {
    Pool pool(3);
    // From two client threads at once.
    std::thread other([&] {
      for (size_t i = 0; i < jobs.size(); i += 2) pool.Add(jobs[i].get(), &workerHost);
    });
    for (size_t i = 1; i < jobs.size(); i += 2) pool.Add(jobs[i].get(), &workerHost);
    other.join();
    EXPECT_LE(pool.Port()->WorkerCount(), 3u);
    pool.p->Finalize(&finisher);
    EXPECT_TRUE(pool.p->IsEmpty());
  }
  const uint32_t me = plat::ThreadId();
  for (const auto& job : jobs) {
    EXPECT_EQ(job->runs, 1);
    EXPECT_EQ(job->Refs(), 1);   // every reference given back
    if (!job->CanRunThreaded()) {
      EXPECT_EQ(job->runThread, me);
    } else {
      EXPECT_NE(job->runThread, me);
    }
    // Told once on the worker, and once more in Finalize when the worker's host kept it.
    EXPECT_GE(job->finished, 1);
    EXPECT_LE(job->finished, 2);
  }
  EXPECT_EQ(workerHost.calls + 0, 4000);
  EXPECT_EQ(finisher.calls + 0, 4000 / 3);   // every third was kept for the client
  EXPECT_EQ(workerHost.refs, 1);
  EXPECT_EQ(finisher.refs, 1);
  EXPECT_EQ(clsUTThreadedJob::LiveInstances(), before);
}

TEST(Dispatcher, AFinishedJobsRecordIsReusedAndAnyRecordMayBeDeleted) {
  const int32_t before = clsUTThreadedJob::LiveInstances();
  TestJob a(1, true), b(1, true), c(1, true);
  TestHost host;
  {
    Pool pool(1);
    clsUTThreadedJob* first = pool.p->NewJob(String(u"a"), &a, &host);
    pool.p->Add(first);
    pool.p->Finalize(&host);   // a's record is spare now
    pool.Add(&b, &host);       // ... and offered to the next record
    clsUTThreadedJob* third = pool.p->NewJob(String(u"c"), &c, &host);
    EXPECT_EQ(static_cast<void*>(third), static_cast<void*>(first));
    EXPECT_EQ(third->Name(), String(u"c"));
    EXPECT_EQ(third->Job(), static_cast<IUTThreadedJob*>(&c));
    delete third;   // a record never added
    pool.p->Finalize(&host);
  }
  EXPECT_EQ(b.runs, 1);
  EXPECT_EQ(c.runs, 0);
  EXPECT_EQ(a.Refs(), 1);
  EXPECT_EQ(c.Refs(), 1);
  EXPECT_EQ(host.refs, 1);
  EXPECT_EQ(clsUTThreadedJob::LiveInstances(), before);
}

TEST(Dispatcher, AbortDropsTheQueuedJobsOfAGroupAndRefusesLaterOnes) {
  Gate gate;
  TestJob blocker(1, true, &gate);
  std::vector<std::unique_ptr<TestJob>> jobs;
  for (int i = 0; i < 40; ++i) jobs.emplace_back(new TestJob(i % 2 ? 7 : 3, true));
  TestHost host(1), finisher;   // the host keeps every job for Finalize
  Pool pool(1);
  pool.Add(&blocker, &host);
  while (blocker.runThread == 0) std::this_thread::yield();
  for (auto& job : jobs) pool.Add(job.get(), &host);
  pool.p->Abort(7);
  pool.p->Abort(3);   // a second abort does nothing
  TestJob late(3, true);
  pool.Add(&late, &host);
  EXPECT_EQ(late.Refs(), 1);   // refused and released at once
  gate.Open();
  pool.p->Finalize(&finisher);
  for (size_t i = 0; i < jobs.size(); ++i) {
    EXPECT_EQ(jobs[i]->runs, i % 2 ? 0 : 1) << i;
    EXPECT_EQ(jobs[i]->Refs(), 1);
  }
  EXPECT_EQ(blocker.runs, 1);   // it was running: it finished
  EXPECT_EQ(late.runs, 0);
}

TEST(Dispatcher, FinalizeWithEachWaitAnswer) {
  for (uint32_t answer : {1u, 0u, 5u}) {
    Gate gate;
    TestJob slow(1, true, &gate), fast(1, true);
    TestHost host(1, answer);
    Pool pool(2);
    pool.Add(&slow, &host);
    pool.Add(&fast, &host);
    std::thread opener([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      gate.Open();
    });
    pool.p->Finalize(&host);
    opener.join();
    EXPECT_EQ(slow.runs + fast.runs, 2) << answer;
    EXPECT_GE(host.waits, 1) << answer;   // nothing was ready at first: the host was asked
    EXPECT_EQ(slow.finished, 2) << answer;   // kept on the worker, handed over in Finalize
  }
}

TEST(Dispatcher, JobsWithoutTheInterfaceOrAHost) {
  Stranger stranger;
  TestJob lonely(2, true);
  TestHost finisher;
  {
    Pool pool(1);
    pool.Add(&stranger, nullptr);
    pool.Add(&lonely, nullptr);
    EXPECT_FALSE(pool.p->IsGroupDone(0));
    pool.p->Finalize(&finisher);
  }
  EXPECT_EQ(stranger.refs, 1);
  EXPECT_EQ(lonely.runs, 1);
  EXPECT_EQ(finisher.calls, 2);   // both went through the finishing host
}

TEST(Dispatcher, CloseWithJobsQueuedDeletesThemAndWaitsForTheRunningOne) {
  Gate gate;
  TestJob running(1, true, &gate);
  std::vector<std::unique_ptr<TestJob>> queued;
  for (int i = 0; i < 10; ++i) queued.emplace_back(new TestJob(1, i % 3 != 0));
  Pool pool(1);
  pool.Add(&running, nullptr);
  while (running.runThread == 0) std::this_thread::yield();
  for (auto& job : queued) pool.Add(job.get(), nullptr);
  std::thread opener([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    gate.Open();
  });
  pool.Close();
  opener.join();
  EXPECT_EQ(running.runs, 1);
  EXPECT_EQ(running.Refs(), 1);
  for (auto& job : queued) {
    EXPECT_EQ(job->runs, 0);
    EXPECT_EQ(job->Refs(), 1);
  }
}

TEST(Dispatcher, AJobThatThrowsFinishesAsAnyOther) {
  TestJob thrower(1, true), inlineThrower(1, false);
  thrower.throws = inlineThrower.throws = true;
  TestHost host;
  zxsupport::DiagCapture diag;
  Pool pool(1);
  pool.Add(&thrower, &host);
  pool.Add(&inlineThrower, &host);
  pool.p->Finalize(&host);
  EXPECT_EQ(host.calls, 2);
  EXPECT_GE(diag.Count(u"threw an exception"), 2u);
}

TEST(Dispatcher, CloseGivesUpOnAJobThatNeverReturns) {
  const int32_t live = clsThreadedJobDispatcher::LiveDispatchers();
  // The pool is left behind with the job in it: both live for the program.
  static Gate gate;
  static TestJob hung(1, true, &gate);
  zxsupport::DiagCapture diag;
  {
    Pool pool(1, 200);
    pool.Add(&hung, nullptr);
    while (hung.runThread == 0) std::this_thread::yield();
    const auto start = std::chrono::steady_clock::now();
    pool.Close();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  }
  EXPECT_TRUE(diag.Contains(u"the pool is left behind"));
  EXPECT_EQ(clsThreadedJobDispatcher::LiveDispatchers(), live + 1);   // left alive, on purpose
  gate.Open();   // the job comes back to a dispatcher that still exists
  for (int i = 0; i < 500 && hung.runs == 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(hung.runs, 1);
}

TEST(Dispatcher, AHostMayCloseThePoolFromItsCallback) {
  const int32_t live = clsThreadedJobDispatcher::LiveDispatchers();
  TestJob first(1, true), second(1, true);
  TestHost host;
  Pool pool(1);
  clsThreadedJobDispatcher* p = pool.p;
  std::atomic<bool> closed{false};
  host.onFinished = [&] {
    if (!closed.exchange(true)) ThreadPoolClose(p, 5000);
  };
  pool.p = nullptr;   // the host closes it
  auto* item = new clsUTThreadedJob(String(u"a"), &first, &host);
  p->Add(item);
  for (int i = 0; i < 500 && clsThreadedJobDispatcher::LiveDispatchers() != live; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_EQ(clsThreadedJobDispatcher::LiveDispatchers(), live);
  EXPECT_EQ(first.runs, 1);
  EXPECT_EQ(first.Refs(), 1);
  EXPECT_EQ(second.runs, 0);
}

TEST(Dispatcher, WorkersOnDemandUpToTheLimit) {
  Gate gate;
  TestJob a(1, true, &gate), b(1, true, &gate), c(1, true, &gate), d(1, true, &gate);
  Pool pool(2);
  EXPECT_EQ(pool.Port()->WorkerCount(), 0u);
  pool.Add(&a, nullptr);
  EXPECT_EQ(pool.Port()->WorkerCount(), 1u);
  while (a.runThread == 0) std::this_thread::yield();
  pool.Add(&b, nullptr);   // the first is running, nothing queued: no new worker
  EXPECT_EQ(pool.Port()->WorkerCount(), 1u);
  pool.Add(&c, nullptr);   // b is still queued: a second worker
  EXPECT_EQ(pool.Port()->WorkerCount(), 2u);
  pool.Add(&d, nullptr);
  EXPECT_EQ(pool.Port()->WorkerCount(), 2u);   // the limit
  gate.Open();
  TestHost finisher;
  pool.p->Finalize(&finisher);
  EXPECT_EQ(a.runs + b.runs + c.runs + d.runs, 4);
}

TEST(Dispatcher, AutomaticAndManyPoolLimits) {
  {
    Pool automatic(0);
    EXPECT_EQ(automatic.p->MaxThreads(), std::max(1u, plat::ProcessorsOfProcess() - 1));
  }
  const int32_t live = clsThreadedJobDispatcher::LiveDispatchers();
  std::vector<std::unique_ptr<Pool>> pools;
  for (int i = live; i < 10; ++i) pools.emplace_back(new Pool(8));
  EXPECT_EQ(pools.back()->p->MaxThreads(), 8u);
  pools.emplace_back(new Pool(8));   // the eleventh alive
  EXPECT_EQ(pools.back()->p->MaxThreads(), 2u);
  pools.pop_back();
  pools.pop_back();
  Pool again(8);   // fewer alive again
  EXPECT_EQ(again.p->MaxThreads(), 8u);
}

}  // namespace

extern "C" void zxtest_RunCClient(int count, int* runs, int* results, int* finished, int* refsLeft,
                                  int* nullPoolResults);

TEST(DispatcherExports, AClientWrittenInCAgainstThePublicHeader) {
  int runs = 0, results = 0, finished = 0, refsLeft = -1, nullPool = 0;
  zxtest_RunCClient(40, &runs, &results, &finished, &refsLeft, &nullPool);
  EXPECT_EQ(runs, 40);
  EXPECT_EQ(results, 10);    // GetResult is asked after each inline run
  EXPECT_EQ(finished, 80);   // on the worker or inline (kept), then again in Finalize
  EXPECT_EQ(refsLeft, 0);
  EXPECT_EQ(nullPool, 3);
}
