// Tracked heaps against the C library's malloc/free (and mimalloc when its shared
// library is installed), with one and two threads: plain objects, and debug objects
// without stack capture. Each iteration allocates a batch of 32 objects of 16 to 256
// bytes and frees them again, through the exports as a client calls them. The last
// lines print ours / peer; the goals against malloc are 2.5x for plain objects and
// 4x for debug objects on one thread, 5x for plain objects on two (every call takes
// the job lock, so two threads take turns where malloc runs them side by side). Run with --benchmark_repetitions=5 on a busy machine: the
// ratios then come from the medians.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ratio.h"
#include "zxUT22.h"

namespace {

constexpr int kBatch = 32;

size_t SizeOf(int i) { return 16 + static_cast<size_t>((i * 37) % 241); }

struct MiMalloc {
  void* (*alloc)(size_t) = nullptr;
  void (*free)(void*) = nullptr;
  MiMalloc() {
    void* lib = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
    if (!lib) return;
    alloc = reinterpret_cast<void* (*)(size_t)>(dlsym(lib, "mi_malloc"));
    free = reinterpret_cast<void (*)(void*)>(dlsym(lib, "mi_free"));
  }
};
const MiMalloc& Mi() {
  static const MiMalloc mi;
  return mi;
}

void BM_Malloc(benchmark::State& state) {
  void* p[kBatch];
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) p[i] = std::malloc(SizeOf(i));
    benchmark::DoNotOptimize(p);
    for (int i = 0; i < kBatch; ++i) std::free(p[i]);
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

void BM_MiMalloc(benchmark::State& state) {
  if (!Mi().alloc) {
    state.SkipWithError("libmimalloc.so.2 not installed");
    return;
  }
  void* p[kBatch];
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) p[i] = Mi().alloc(SizeOf(i));
    benchmark::DoNotOptimize(p);
    for (int i = 0; i < kBatch; ++i) Mi().free(p[i]);
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
}

// One heap per thread, all of one module: every call takes the job lock.
void Tracked(benchmark::State& state, DWORD heapFlags, DWORD objectFlags) {
  static HUTILMODULE module = UtilJobOpen(reinterpret_cast<LPCWSTR>(u"bench"), 0);
  HUTILHEAP heap = UtilHeapCreate(module, reinterpret_cast<LPCWSTR>(u"bench heap"), heapFlags);
  void* p[kBatch];
  for (auto _ : state) {
    for (int i = 0; i < kBatch; ++i) p[i] = UtilHeapObjectAlloc(heap, static_cast<LONG>(SizeOf(i)), objectFlags);
    benchmark::DoNotOptimize(p);
    for (int i = 0; i < kBatch; ++i) UtilHeapObjectFree(heap, p[i]);
  }
  state.SetItemsProcessed(state.iterations() * kBatch);
  UtilHeapDelete(heap);
}

void BM_TrackedPlain(benchmark::State& state) { Tracked(state, 0, 0); }
void BM_TrackedDebugNoStack(benchmark::State& state) { Tracked(state, UTIL_HEAP_DEBUG, UTIL_OBJ_NO_STACK); }
// The job lock serialises every heap call anyway; an unserialised system heap takes
// no lock of its own either (a serialised one shares the job lock where it can).
void BM_TrackedPlainUnserialised(benchmark::State& state) { Tracked(state, UTIL_HEAP_NO_SERIALIZE, 0); }

BENCHMARK(BM_Malloc)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_MiMalloc)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_TrackedPlain)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_TrackedDebugNoStack)->Threads(1)->Threads(2)->UseRealTime();
BENCHMARK(BM_TrackedPlainUnserialised)->Threads(1)->Threads(2)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // Real time: the two-thread runs measure how the threads share the job lock.
  for (const char* t : {"1", "2"}) {
    const std::string suffix = std::string("/real_time/threads:") + t;
    const std::string threads = std::string(", ") + t + " thread" + (t[0] == '1' ? "" : "s");
    auto ratio = [&](const char* what, const char* ours, const char* peer, double goal) {
      reporter.PrintRatio(what + threads, ours + suffix, peer + suffix, goal);
    };
    const bool one = t[0] == '1';
    ratio("plain vs malloc", "BM_TrackedPlain", "BM_Malloc", one ? 2.5 : 5.0);
    ratio("debug, no stack vs malloc", "BM_TrackedDebugNoStack", "BM_Malloc", one ? 4.0 : 0);
    ratio("plain, unserialised heap vs malloc", "BM_TrackedPlainUnserialised", "BM_Malloc", one ? 2.5 : 5.0);
    ratio("plain vs mimalloc", "BM_TrackedPlain", "BM_MiMalloc", 0);
    ratio("debug, no stack vs mimalloc", "BM_TrackedDebugNoStack", "BM_MiMalloc", 0);
  }
  benchmark::Shutdown();
  return 0;
}
