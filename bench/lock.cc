// The critical section against std::mutex, glibc's adaptive mutex (not recursive)
// and a plain test-and-test-and-set spinlock: 1, 2 and 4 threads each enter, do
// work for the hold time (20 ns, 200 ns, 2 us), leave, and do as much work outside.
// Real time per iteration over all threads: how fast the lock passes between them.
// The ratios at the end are ours / peer (lower is better).
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>

#include <benchmark/benchmark.h>

#include "platform/lock.h"
#include "platform/thread.h"
#include "ratio.h"

namespace {

// Loop rounds per nanosecond of work, measured once.
double RoundsPerNs() {
  static const double rate = [] {
    using Clock = std::chrono::steady_clock;
    const uint64_t rounds = 20'000'000;
    uint64_t x = 0;
    const auto start = Clock::now();
    for (uint64_t i = 0; i < rounds; ++i) benchmark::DoNotOptimize(x += i);
    const double ns = std::chrono::duration<double, std::nano>(Clock::now() - start).count();
    return static_cast<double>(rounds) / ns;
  }();
  return rate;
}

// Not inlined: every lock's loop runs the same code.
__attribute__((noinline)) void Work(uint64_t rounds) {
  uint64_t x = 0;
  for (uint64_t i = 0; i < rounds; ++i) benchmark::DoNotOptimize(x += i);
}

struct Ours {
  plat::CriticalSection cs{4000};
  void lock() ZX_NO_THREAD_SAFETY_ANALYSIS { cs.Enter(); }
  void unlock() ZX_NO_THREAD_SAFETY_ANALYSIS { cs.Leave(); }
};

struct Adaptive {
  pthread_mutex_t m;
  Adaptive() {
    pthread_mutexattr_t a;
    pthread_mutexattr_init(&a);
    pthread_mutexattr_settype(&a, PTHREAD_MUTEX_ADAPTIVE_NP);
    pthread_mutex_init(&m, &a);
    pthread_mutexattr_destroy(&a);
  }
  ~Adaptive() { pthread_mutex_destroy(&m); }
  void lock() { pthread_mutex_lock(&m); }
  void unlock() { pthread_mutex_unlock(&m); }
};

struct Spin {
  std::atomic<bool> taken{false};
  void lock() {
    while (taken.exchange(true, std::memory_order_acquire))
      while (taken.load(std::memory_order_relaxed)) plat::CpuPause();
  }
  void unlock() { taken.store(false, std::memory_order_release); }
};

template <class L>
void Contend(benchmark::State& state) {
  static L* lock;
  if (state.thread_index() == 0) lock = new L;
  const uint64_t rounds = static_cast<uint64_t>(static_cast<double>(state.range(0)) * RoundsPerNs());
  // The benchmark's start barrier orders thread 0's new before the other threads' use.
  for (auto _ : state) {
    lock->lock();
    Work(rounds);
    lock->unlock();
    Work(rounds);
  }
  if (state.thread_index() == 0) {
    // Every thread has left the loop when thread 0 passes the end barrier.
    state.counters["hold_ns"] = static_cast<double>(state.range(0));
  }
}

void Args(benchmark::internal::Benchmark* b) {
  b->Arg(20)->Arg(200)->Arg(2000)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();
}

BENCHMARK_TEMPLATE(Contend, Ours)->Apply(Args);
BENCHMARK_TEMPLATE(Contend, std::mutex)->Apply(Args);
BENCHMARK_TEMPLATE(Contend, Adaptive)->Apply(Args);
BENCHMARK_TEMPLATE(Contend, Spin)->Apply(Args);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const char* threads : {"1", "2", "4"})
    for (const char* hold : {"20", "200", "2000"}) {
      const std::string run = std::string("/") + hold + "/real_time/threads:" + threads;
      const std::string what = std::string(", ") + threads + (threads[0] == '1' ? " thread" : " threads") +
                               ", hold " + hold + " ns";
      reporter.PrintRatio("lock vs std::mutex" + what, "Contend<Ours>" + run, "Contend<std::mutex>" + run);
      reporter.PrintRatio("lock vs adaptive mutex" + what, "Contend<Ours>" + run, "Contend<Adaptive>" + run);
      reporter.PrintRatio("lock vs spinlock" + what, "Contend<Ours>" + run, "Contend<Spin>" + run);
    }
  benchmark::Shutdown();
  return 0;
}
