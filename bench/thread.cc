// Event signal-to-wake latency and thread start, ours and the standard library's
// side by side. Latency is a round trip between two threads: ours on two
// auto-reset events, the peer on a mutex, a condition variable and a flag per
// direction. Thread start: clsThreadBase's hand-shaked ThreadStart and ThreadEnd of
// an empty thread against std::thread and join. The ratios at the end are speeds
// (peer time / our time).
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <benchmark/benchmark.h>

#include "platform/event.h"
#include "ratio.h"
#include "thread/ThreadBase.h"

namespace {

void OursPingPong(benchmark::State& state) {
  plat::WaitHandle ping = plat::EventCreate(false, false), pong = plat::EventCreate(false, false);
  std::atomic<bool> stop{false};
  std::thread echo([&] {
    while (plat::WaitOne(ping, plat::kInfinite) == 0 && !stop.load(std::memory_order_relaxed))
      plat::EventSet(pong);
  });
  for (auto _ : state) {
    plat::EventSet(ping);
    plat::WaitOne(pong, plat::kInfinite);
  }
  stop = true;
  plat::EventSet(ping);
  echo.join();
  plat::HandleClose(ping);
  plat::HandleClose(pong);
}

// One direction of the peer: a flag under a mutex, announced by a condition variable.
struct StdSignal {
  std::mutex m;
  std::condition_variable cv;
  bool set = false;
  void Set() {
    {
      std::lock_guard<std::mutex> l(m);
      set = true;
    }
    cv.notify_one();
  }
  void Wait() {
    std::unique_lock<std::mutex> l(m);
    cv.wait(l, [this] { return set; });
    set = false;
  }
};

void StdPingPong(benchmark::State& state) {
  StdSignal ping, pong;
  std::atomic<bool> stop{false};
  std::thread echo([&] {
    for (;;) {
      ping.Wait();
      if (stop.load(std::memory_order_relaxed)) return;
      pong.Set();
    }
  });
  for (auto _ : state) {
    ping.Set();
    pong.Wait();
  }
  stop = true;
  ping.Set();
  echo.join();
}

class Empty : public zx::clsThreadBase {
 public:
  Empty() : clsThreadBase("Bench::Empty") {}
  ~Empty() override { ThreadEnd(false, plat::kInfinite, false); }
  uint32_t ThreadProc() override { return 0; }
};

void OursThreadStart(benchmark::State& state) {
  Empty t;
  for (auto _ : state) {
    t.ThreadStart(0);
    t.ThreadEnd(false, plat::kInfinite, false);
  }
}

void StdThreadStart(benchmark::State& state) {
  for (auto _ : state) {
    std::thread t([] {});
    t.join();
  }
}

BENCHMARK(OursPingPong)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(StdPingPong)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(OursThreadStart)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(StdThreadStart)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeed("signal-to-wake round trip: events vs condition variable", "OursPingPong/real_time",
                      "StdPingPong/real_time");
  reporter.PrintSpeed("thread start and end: clsThreadBase vs std::thread", "OursThreadStart/real_time",
                      "StdThreadStart/real_time");
  benchmark::Shutdown();
  return 0;
}
