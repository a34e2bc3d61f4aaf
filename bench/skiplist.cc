// The skip-list dictionary against std::map: insert, find and remove of 1e5 and
// 1e6 integer and IString keys in random order, both built the way the library
// builds them (probability 3, 8 levels). Prints the time ratio ours / std::map
// per case at the end; the goal is at most 1.3.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <unistd.h>

#include "core/strings/String.h"
#include "core/containers/WCSkipList.h"
#include "platform/lock.h"
#include "ratio.h"

namespace {

// ---- keys: the same shuffled sets for both containers

const std::vector<int>& IntKeys(size_t n) {
  static std::map<size_t, std::vector<int>> cache;
  auto& keys = cache[n];
  if (keys.empty()) {
    std::mt19937 gen(7);
    for (size_t i = 0; i < n; ++i) keys.push_back(static_cast<int>(gen() & 0x7FFFFFFF));
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    std::shuffle(keys.begin(), keys.end(), gen);
  }
  return keys;
}

// Texts like "Customer.Record-00A3F1c7" with mixed case, compared without case.
const std::vector<IString>& StringKeys(size_t n) {
  static std::map<size_t, std::vector<IString>> cache;
  auto& keys = cache[n];
  if (keys.empty()) {
    static const char16_t kHex[] = u"0123456789abcdefABCDEF";
    for (int k : IntKeys(n)) {
      std::u16string text = u"Customer.Record-";
      for (int shift = 28; shift >= 0; shift -= 4) {
        int digit = (k >> shift) & 15;
        text += (digit >= 10 && (k >> (shift / 2)) & 1) ? kHex[digit + 6] : kHex[digit];
      }
      keys.emplace_back(IString(text.c_str()));
    }
  }
  return keys;
}

template <class K>
const std::vector<K>& Keys(size_t n);
template <>
const std::vector<int>& Keys<int>(size_t n) { return IntKeys(n); }
template <>
const std::vector<IString>& Keys<IString>(size_t n) { return StringKeys(n); }

// ---- one face for both containers

template <class K>
struct WC {
  WCValSkipListDict<K, int> d;
  bool Insert(const K& k, int v) { return d.insert(k, v); }
  bool Find(const K& k, int& v) const { return d.find(k, v); }
  bool Remove(const K& k) { return d.remove(k); }
};
template <class K>
struct Std {
  std::map<K, int> d;
  bool Insert(const K& k, int v) { return d.emplace(k, v).second; }
  bool Find(const K& k, int& v) const {
    auto it = d.find(k);
    if (it == d.end()) return false;
    v = it->second;
    return true;
  }
  bool Remove(const K& k) { return d.erase(k) == 1; }
};

template <class C, class K>
void Fill(C& c, const std::vector<K>& keys) {
  int i = 0;
  for (const K& k : keys) c.Insert(k, i++);
}

template <class C, class K>
void BM_Insert(benchmark::State& state) {
  const auto& keys = Keys<K>(static_cast<size_t>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    auto* c = new C;
    state.ResumeTiming();
    Fill(*c, keys);
    state.PauseTiming();
    delete c;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
}

template <class C, class K>
void BM_Find(benchmark::State& state) {
  const auto& keys = Keys<K>(static_cast<size_t>(state.range(0)));
  C c;
  Fill(c, keys);
  // Look up in an order other than the insertion order.
  std::vector<const K*> order;
  for (const K& k : keys) order.push_back(&k);
  std::shuffle(order.begin(), order.end(), std::mt19937(11));
  for (auto _ : state) {
    int sum = 0, v = 0;
    for (const K* k : order)
      if (c.Find(*k, v)) sum += v;
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
}

template <class C, class K>
void BM_Remove(benchmark::State& state) {
  const auto& keys = Keys<K>(static_cast<size_t>(state.range(0)));
  std::vector<const K*> order;
  for (const K& k : keys) order.push_back(&k);
  std::shuffle(order.begin(), order.end(), std::mt19937(13));
  for (auto _ : state) {
    state.PauseTiming();
    auto* c = new C;
    Fill(*c, keys);
    state.ResumeTiming();
    for (const K* k : order) c->Remove(*k);
    state.PauseTiming();
    delete c;
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
}

// ---- the shared level chooser, and what its lock costs per insert

void BM_ChooseLevel(benchmark::State& state) {
  int sum = 0;
  for (auto _ : state) sum += WCSkipNonTempBase::ChooseLevel(3, 8);
  benchmark::DoNotOptimize(sum);
}
void BM_ReservoirLockAlone(benchmark::State& state) {
  plat::CriticalSection cs(100);
  for (auto _ : state) {
    cs.Enter();
    cs.Leave();
  }
}
BENCHMARK(BM_ChooseLevel);
BENCHMARK(BM_ReservoirLockAlone);

// Pairs each case of ours with std::map's ("<op>/WC/<n>" with "<op>/std::map/<n>").
void PrintPairs(const zxbench::RatioReporter& reporter) {
  std::printf("\nWCValSkipListDict / std::map time\n");
  for (const auto& [name, t] : reporter.All()) {
    const auto at = name.find("/WC/");
    if (at == std::string::npos) continue;
    const std::string peer = name.substr(0, at) + "/std::map/" + name.substr(at + 4);
    reporter.PrintRatio(name.substr(0, at) + "/" + name.substr(at + 4), name, peer, 1.3);
  }
}

// ownMinTime: whether the run times are ours. A run time given on the command
// line means a smoke run (CI): then only the 1e5 cases run, once each.
template <class K>
void Register(const char* keyName, bool ownMinTime) {
  for (int64_t n : {100000, 1000000}) {
    if (!ownMinTime && n > 100000) continue;
    auto add = [&](const char* op, const char* who, void (*fn)(benchmark::State&)) {
      std::string name = std::string(op) + "/" + keyName + "/" + who;  // Arg adds "/n"
      auto* b = benchmark::RegisterBenchmark(name.c_str(), fn)->Arg(n)->Unit(benchmark::kMillisecond);
      if (ownMinTime) b->MinTime(n > 100000 ? 1.0 : 0.3);
    };
    add("insert", "WC", BM_Insert<WC<K>, K>);
    add("insert", "std::map", BM_Insert<Std<K>, K>);
    add("find", "WC", BM_Find<WC<K>, K>);
    add("find", "std::map", BM_Find<Std<K>, K>);
    add("remove", "WC", BM_Remove<WC<K>, K>);
    add("remove", "std::map", BM_Remove<Std<K>, K>);
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool ownMinTime = true;
  for (int i = 1; i < argc; ++i)
    if (std::string(argv[i]).rfind("--benchmark_min_time", 0) == 0) ownMinTime = false;
  Register<int>("int", ownMinTime);
  Register<IString>("IString", ownMinTime);
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  PrintPairs(reporter);
  benchmark::Shutdown();
  return 0;
}
