// Crash protection: DumpStackTraceEx of a 30-frame stack with symbols (the first
// call, which loads the debug information, and warm calls after it), and the time
// from a fault in a protected thread of a process holding ZXUT_BENCH_CRASH_MB
// megabytes (50 by default) to the finished support archive (the crashing process
// ends right after closing it); ZXUT_BENCH_CRASH_THREADS more threads (0 by
// default) sleep in the crashing process and go into the dump.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "gpf/StackFormat.h"
#include "zxUT22.h"

namespace {

namespace fs = std::filesystem;

class Discard final : public zx::clsDebugOutput {
 public:
  void Printf(const char16_t*, ...) override { ++lines; }
  size_t lines = 0;
};

__attribute__((noinline)) int Recurse(int depth, Discard* out, bool secondThread = true) {
  if (depth == 0) return zx::DumpStackTraceEx(30, secondThread, out);
  const int r = Recurse(depth - 1, out, secondThread);
  asm volatile("");
  return r;
}

uint64_t NowNs() {
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch()).count());
}

void BM_DumpStackTraceEx_FirstCall(benchmark::State& state) {
  // Every iteration in a fresh process: the debug information is loaded once per process.
  for (auto _ : state) {
    state.PauseTiming();
    int pipefd[2];
    if (pipe(pipefd) != 0) state.SkipWithError("pipe");
    state.ResumeTiming();
    pid_t pid = fork();
    if (pid == 0) {
      Discard out;
      const uint64_t t0 = NowNs();
      Recurse(28, &out);
      const uint64_t t = NowNs() - t0;
      (void)!write(pipefd[1], &t, sizeof t);
      _exit(0);
    }
    uint64_t ns = 0;
    (void)!read(pipefd[0], &ns, sizeof ns);
    waitpid(pid, nullptr, 0);
    close(pipefd[0]);
    close(pipefd[1]);
    state.SetIterationTime(static_cast<double>(ns) / 1e9);
  }
}
BENCHMARK(BM_DumpStackTraceEx_FirstCall)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_DumpStackTraceEx_Warm(benchmark::State& state) {
  Discard out;
  Recurse(28, &out);   // the first call, outside the measurement
  for (auto _ : state) benchmark::DoNotOptimize(Recurse(28, &out));
  state.counters["lines"] = static_cast<double>(out.lines) / static_cast<double>(state.iterations() + 1);
}
BENCHMARK(BM_DumpStackTraceEx_Warm)->Unit(benchmark::kMillisecond);

// The same walk on the wrapper's worker, without the walker thread of its own.
void BM_DumpStackTraceEx_WarmOnWorker(benchmark::State& state) {
  Discard out;
  Recurse(28, &out, false);
  for (auto _ : state) benchmark::DoNotOptimize(Recurse(28, &out, false));
}
BENCHMARK(BM_DumpStackTraceEx_WarmOnWorker)->Unit(benchmark::kMillisecond);

// ---- fault to archive

size_t Megabytes() {
  const char* v = std::getenv("ZXUT_BENCH_CRASH_MB");
  return v ? std::strtoul(v, nullptr, 10) : 50;
}

// The crashing child: fills its memory, then faults in a protected thread after
// writing the time of the fault into the pipe.
[[noreturn]] void Child(int fd, size_t mb) {
  std::vector<char> ballast(mb << 20);
  for (size_t i = 0; i < ballast.size(); i += 4096) ballast[i] = static_cast<char>(i >> 12);
  const char* idle = std::getenv("ZXUT_BENCH_CRASH_THREADS");
  for (unsigned long i = 0, n = idle ? std::strtoul(idle, nullptr, 10) : 0; i < n; ++i)
    std::thread([] { for (;;) pause(); }).detach();
  UtilExHandlerJobOpen();
  std::thread t([fd] {
    UtilExHandlerStartProtection(nullptr);
    const uint64_t t0 = NowNs();
    (void)!write(fd, &t0, sizeof t0);
    *static_cast<volatile int*>(nullptr) = 1;
  });
  t.join();
  _exit(0);
}

void BM_FaultToArchive(benchmark::State& state) {
  const fs::path dir = fs::temp_directory_path() / ("zxut_bench_crash_" + std::to_string(getpid()));
  for (auto _ : state) {
    fs::remove_all(dir);
    fs::create_directories(dir / "reg");
    fs::create_directories(dir / "app");
    int pipefd[2];
    if (pipe(pipefd) != 0) {
      state.SkipWithError("pipe");
      break;
    }
    pid_t pid = fork();
    if (pid == 0) {
      close(pipefd[0]);
      setenv("ZXUT_BENCH_CRASH_CHILD", std::to_string(pipefd[1]).c_str(), 1);
      setenv("TMPDIR", dir.c_str(), 1);
      setenv("APPDATA", (dir / "app").c_str(), 1);
      setenv("ZXUT_REGISTRY_DIR", (dir / "reg").c_str(), 1);
      execl("/proc/self/exe", "bench_crash", static_cast<char*>(nullptr));
      _exit(127);
    }
    close(pipefd[1]);
    uint64_t t0 = 0;
    const bool got = read(pipefd[0], &t0, sizeof t0) == sizeof t0;
    close(pipefd[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    const uint64_t t1 = NowNs();
    if (!got || !fs::exists(dir / "zarnik.dmp.zip")) {
      state.SkipWithError("no support archive");
      break;
    }
    state.SetIterationTime(static_cast<double>(t1 - t0) / 1e9);
    state.counters["archive_MB"] = static_cast<double>(fs::file_size(dir / "zarnik.dmp.zip")) / 1048576.0;
  }
  state.counters["process_MB"] = static_cast<double>(Megabytes());
  fs::remove_all(dir);
}
BENCHMARK(BM_FaultToArchive)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(2);

}  // namespace

int main(int argc, char** argv) {
  if (const char* fd = std::getenv("ZXUT_BENCH_CRASH_CHILD")) Child(std::atoi(fd), Megabytes());
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
