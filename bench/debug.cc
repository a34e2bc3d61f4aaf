// The debug channel against its natural peer: UtilDebug while nobody listens vs a
// logger with its level off; line building into a null sink vs the logger's null
// sink; datagrams per second through UtilDebug to a live viewer vs a bare sendto
// loop. Ratios are printed as counters ("x_peer") and in a closing summary.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "debug/Travue.h"
#include "platform/shared_memory.h"
#include "platform/udp.h"
#include "ratio.h"
#include "zxUT22.h"

#if __has_include(<spdlog/spdlog.h>)
#define ZXUT_HAVE_SPDLOG 1
#define SPDLOG_HEADER_ONLY
#define FMT_HEADER_ONLY
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

// The measuring process's blocks stay its own; no viewer of a person at work
// interferes. The library reads the prefix from its very start, so this program
// runs itself as a child with the prefix in its environment, and removes the
// child's blocks when it has ended.
void RunIsolated(char** argv) {
  if (getenv("ZXUT_SHM_PREFIX")) return;   // the child
  const std::string prefix = "zxbench" + std::to_string(getpid());
  const pid_t child = fork();
  if (child == 0) {
    setenv("ZXUT_SHM_PREFIX", prefix.c_str(), 1);
    execv("/proc/self/exe", argv);
    std::perror("execv");
    _exit(127);
  }
  int status = 1;
  if (child < 0 || waitpid(child, &status, 0) != child) status = 1;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", ec))
    if (entry.path().filename().string().rfind(prefix + ".", 0) == 0) std::filesystem::remove(entry.path(), ec);
  std::exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
}

const LPCWSTR kFormat = reinterpret_cast<LPCWSTR>(u"value %d of %s");
const LPCWSTR kText = reinterpret_cast<LPCWSTR>(u"something");

void BM_UtilDebug_NobodyListens(benchmark::State& state) {
  zx::DebugChannel();   // constructed before timing, as after process attach
  if (zx::IsDebugActive()) state.SkipWithError("somebody listens");
  int i = 0;
  for (auto _ : state) {
    UtilDebug(kFormat, ++i, kText);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_UtilDebug_NobodyListens);

#ifdef ZXUT_HAVE_SPDLOG
void BM_Spdlog_LevelOff(benchmark::State& state) {
  auto sink = std::make_shared<spdlog::sinks::null_sink_mt>();
  spdlog::logger logger("bench", sink);
  logger.set_level(spdlog::level::off);
  int i = 0;
  for (auto _ : state) {
    logger.info("value {} of {}", ++i, "something");
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_Spdlog_LevelOff);
#endif

void PrintLine(const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  zx::DebugPrintV(0, nullptr, format, ap);
  va_end(ap);
}

// The whole formatted line (time, thread, processor, digit, text) of this copy of
// the library, handed to no sink.
void BM_LineBuilding_NullSink(benchmark::State& state) {
  zx::clsDebugChannel* ch = zx::DebugChannel();
  ch->SetDiscardSinks(true);
  int i = 0;
  for (auto _ : state) PrintLine(u"value %d of %s", ++i, u"something");
  ch->SetDiscardSinks(false);
}
BENCHMARK(BM_LineBuilding_NullSink);

#ifdef ZXUT_HAVE_SPDLOG
void BM_Spdlog_NullSink(benchmark::State& state) {
  auto sink = std::make_shared<spdlog::sinks::null_sink_mt>();
  spdlog::logger logger("bench", sink);
  logger.set_level(spdlog::level::info);
  int i = 0;
  for (auto _ : state) logger.info("value {} of {}", ++i, "something");
}
BENCHMARK(BM_Spdlog_NullSink);
#endif

// A live viewer in this process: its block with the port of a socket that is
// never read (the kernel drops what does not fit, as a slow viewer would).
struct Viewer {
  plat::SharedBlock block;
  uint64_t socket = plat::kInvalidSocket;
  uint16_t port = 0;
  zx::scTRAVUESharedData* data = nullptr;
  Viewer() {
    socket = plat::UdpBindLoopback(0, &port);
    bool existed = false;
    if (block.Create(zx::kSharedDataLocalName, sizeof(zx::scTRAVUESharedData), &existed, true)) {
      data = static_cast<zx::scTRAVUESharedData*>(block.View());
      data->size = 24;
      data->port = port;
      __atomic_store_n(&data->enable, 1, __ATOMIC_RELEASE);
    }
  }
};
Viewer& TheViewer() {
  static Viewer v;
  return v;
}

void BM_UtilDebug_DatagramsToViewer(benchmark::State& state) {
  Viewer& v = TheViewer();
  __atomic_store_n(&v.data->enable, 1, __ATOMIC_RELEASE);
  // The library's channel (not this program's own copy of the internals) finds
  // the viewer's block at its next line; the attach then opens the socket.
  UtilDebug(kFormat, 0, kText);
  UtilTRAVUE4Attach(nullptr);
  int i = 0;
  for (auto _ : state) UtilDebug(kFormat, ++i, kText);
  state.SetItemsProcessed(state.iterations());
  UtilTRAVUE4Detach(nullptr);
  // The socket is never read, but what reached it must be datagrams of ours.
  unsigned char first[2048];
  if (plat::ReceiveFrom(v.socket, first, sizeof first, 100) < 112) state.SkipWithError("no datagram reached the viewer");
}
BENCHMARK(BM_UtilDebug_DatagramsToViewer);

void BM_BareSendto(benchmark::State& state) {
  Viewer& v = TheViewer();
  uint64_t s = plat::UdpSocket();
  uint8_t to[16];
  char digits[8];
  char16_t port[8] = {};
  int n = std::snprintf(digits, sizeof digits, "%u", unsigned{v.port});
  for (int k = 0; k < n; ++k) port[k] = static_cast<char16_t>(digits[k]);
  plat::ResolveIPv4(u"localhost", port, to);
  // The size of the datagram UtilDebug sends for the same line.
  unsigned char packet[112 + 2 * 24] = {112};
  for (auto _ : state) benchmark::DoNotOptimize(plat::SendTo(s, packet, sizeof packet, to));
  state.SetItemsProcessed(state.iterations());
  plat::CloseSocket(s);
}
BENCHMARK(BM_BareSendto);

}  // namespace

int main(int argc, char** argv) {
  RunIsolated(argv);
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatio("UtilDebug while nobody listens vs spdlog level off", "BM_UtilDebug_NobodyListens",
                      "BM_Spdlog_LevelOff");
  reporter.PrintRatio("line building, null sink vs spdlog null sink", "BM_LineBuilding_NullSink",
                      "BM_Spdlog_NullSink");
  reporter.PrintRatio("UtilDebug datagram vs bare sendto", "BM_UtilDebug_DatagramsToViewer", "BM_BareSendto");
  if (const zxbench::RunTimes* off = reporter.Find("BM_UtilDebug_NobodyListens"))
    std::printf("UtilDebug while nobody listens: %.2f ns CPU per call (goal <= 8 ns)\n", off->cpu);
  benchmark::Shutdown();
  return 0;
}
