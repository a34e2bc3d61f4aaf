// clsRegEx Substitute and Split over a 10 MB subject, side by side with the
// engine's own global substitution and with a hand loop over pcre2_match (both
// on JIT-compiled code, as ours). At the end the speed ratios are printed
// (peer time / our time, from the times the run reports, CPU and real; CPU
// time is the steadier on a busy machine; 1.0 means as fast, the goal is at
// least 0.9). Split also runs a hand loop that fills the
// same result type as ours (a linked list of String), which separates the cost
// of the matching walk from the cost of the container.
#include <pcre2.h>

#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/regex/RegEx.h"
#include "ratio.h"

namespace {

constexpr char16_t kPattern[] = u"(\\w+)@(\\w+)";  // substitute
constexpr char16_t kSplitPattern[] = u", *|; *";
constexpr char16_t kTemplate[] = u"<\\2 at \\1>";
constexpr char16_t kEngineTemplate[] = u"<$2 at $1>";

const std::u16string& Subject() {
  static const std::u16string text = [] {
    static const char16_t kLine[] = u"lorem ipsum ann@host dolor, sit amet;  bob@example consectetur,adipiscing elit\n";
    std::u16string t;
    while (t.size() < 5u << 20) t += kLine;  // 5 Mi characters: 10 MB of UTF-16
    return t;
  }();
  return text;
}

template <class Body>
void Timed(benchmark::State& state, Body&& body) {
  for (auto _ : state) body();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(Subject().size() * 2));
}

struct Engine {
  pcre2_code* code;
  pcre2_match_data* md;
  explicit Engine(const char16_t* pattern = kPattern) {
    int err;
    PCRE2_SIZE at;
    code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern), PCRE2_ZERO_TERMINATED, 0, &err, &at, nullptr);
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    md = pcre2_match_data_create_from_pattern(code, nullptr);
  }
  ~Engine() {
    pcre2_match_data_free(md);
    pcre2_code_free(code);
  }
};

void OursSubstitute(benchmark::State& state) {
  const String subject{std::u16string_view(Subject())};
  clsRegEx re(kPattern);
  const String tmpl(kTemplate);
  Timed(state, [&] { benchmark::DoNotOptimize(re.Substitute(subject, tmpl).Length()); });
}

void EngineSubstitute(benchmark::State& state) {
  Engine e;
  const std::u16string& s = Subject();
  std::u16string out(s.size() * 2, u'\0');
  Timed(state, [&] {
    PCRE2_SIZE n = out.size();
    pcre2_substitute(e.code, reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), 0,
                     PCRE2_SUBSTITUTE_GLOBAL, e.md, nullptr,
                     reinterpret_cast<PCRE2_SPTR>(kEngineTemplate), PCRE2_ZERO_TERMINATED,
                     reinterpret_cast<PCRE2_UCHAR*>(out.data()), &n);
    benchmark::DoNotOptimize(n);
  });
}

// The usual hand loop: match, append the gap and the replacement, go on.
void HandLoopSubstitute(benchmark::State& state) {
  Engine e;
  const std::u16string& s = Subject();
  Timed(state, [&] {
    std::u16string out;
    out.reserve(s.size() + s.size() / 8);
    PCRE2_SIZE start = 0, copied = 0;
    while (start <= s.size()) {
      if (pcre2_match(e.code, reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), start, 0, e.md, nullptr) <= 0) break;
      const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(e.md);
      out.append(s, copied, ov[0] - copied);
      out += u'<';
      out.append(s, ov[4], ov[5] - ov[4]);
      out += u" at ";
      out.append(s, ov[2], ov[3] - ov[2]);
      out += u'>';
      copied = ov[1];
      start = ov[1] > ov[0] ? ov[1] : ov[1] + 1;  // the pattern never matches empty
    }
    out.append(s, copied);
    benchmark::DoNotOptimize(out.size());
  });
}

void OursSplit(benchmark::State& state) {
  const String subject{std::u16string_view(Subject())};
  clsRegEx re(kSplitPattern);
  Timed(state, [&] { benchmark::DoNotOptimize(re.Split(subject).entries()); });
}

void HandLoopSplit(benchmark::State& state) {
  Engine e(kSplitPattern);
  const std::u16string& s = Subject();
  Timed(state, [&] {
    std::vector<std::u16string> pieces;
    PCRE2_SIZE start = 0, copied = 0;
    while (start <= s.size()) {
      if (pcre2_match(e.code, reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), start, 0, e.md, nullptr) <= 0) break;
      const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(e.md);
      pieces.emplace_back(s, copied, ov[0] - copied);
      copied = ov[1];
      start = ov[1] > ov[0] ? ov[1] : ov[1] + 1;
    }
    pieces.emplace_back(s, copied);
    benchmark::DoNotOptimize(pieces.size());
  });
}

void HandLoopSplitToList(benchmark::State& state) {
  Engine e(kSplitPattern);
  const std::u16string& s = Subject();
  Timed(state, [&] {
    WCValSList<String> pieces;
    PCRE2_SIZE start = 0, copied = 0;
    while (start <= s.size()) {
      if (pcre2_match(e.code, reinterpret_cast<PCRE2_SPTR>(s.data()), s.size(), start, 0, e.md, nullptr) <= 0) break;
      const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(e.md);
      pieces.append(String(std::u16string_view(s.data() + copied, ov[0] - copied)));
      copied = ov[1];
      start = ov[1] > ov[0] ? ov[1] : ov[1] + 1;
    }
    pieces.append(String(std::u16string_view(s.data() + copied, s.size() - copied)));
    benchmark::DoNotOptimize(pieces.entries());
  });
}

BENCHMARK(OursSubstitute)->Unit(benchmark::kMillisecond);
BENCHMARK(EngineSubstitute)->Unit(benchmark::kMillisecond);
BENCHMARK(HandLoopSubstitute)->Unit(benchmark::kMillisecond);
BENCHMARK(OursSplit)->Unit(benchmark::kMillisecond);
BENCHMARK(HandLoopSplit)->Unit(benchmark::kMillisecond);
BENCHMARK(HandLoopSplitToList)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeed("OursSubstitute vs EngineSubstitute", "OursSubstitute", "EngineSubstitute", 0.9);
  reporter.PrintSpeed("OursSubstitute vs HandLoopSubstitute", "OursSubstitute", "HandLoopSubstitute", 0.9);
  reporter.PrintSpeed("OursSplit vs HandLoopSplit", "OursSplit", "HandLoopSplit", 0.9);
  reporter.PrintSpeed("OursSplit vs HandLoopSplitToList", "OursSplit", "HandLoopSplitToList", 0.9);
  benchmark::Shutdown();
  return 0;
}
