// Dates in one locale (German), side by side with ICU: our reader against
// SimpleDateFormat::parse on the same 4,096 texts, and our writer against
// SimpleDateFormat::format of the same times. The reader's expressions are built at
// the first call and kept; the goal is a million texts a second each way.
#include <benchmark/benchmark.h>
#include <unicode/smpdtfmt.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "platform/date_format.h"
#include "ratio.h"
#include "text/LocaleDate.h"

namespace {

constexpr uint32_t kGerman = 0x0407;

const std::vector<plat::SystemTime>& Times() {
  static const std::vector<plat::SystemTime> times = [] {
    std::vector<plat::SystemTime> v;
    uint32_t seed = 17;
    for (int i = 0; i < 4096; ++i) {
      seed = seed * 1103515245u + 12345u;
      v.push_back(plat::SystemTime{static_cast<uint16_t>(1970 + seed % 100), static_cast<uint16_t>(1 + (seed >> 8) % 12), 0,
                                   static_cast<uint16_t>(1 + (seed >> 12) % 28), static_cast<uint16_t>((seed >> 16) % 24),
                                   static_cast<uint16_t>((seed >> 20) % 60), static_cast<uint16_t>((seed >> 26) % 60), 0});
    }
    return v;
  }();
  return times;
}

// "01.02.2021 13:05:09", as the locale writes them.
const std::vector<std::u16string>& Texts() {
  static const std::vector<std::u16string> texts = [] {
    std::vector<std::u16string> v;
    for (const plat::SystemTime& t : Times())
      v.emplace_back(zx::WriteLocaleDateTime(kGerman, &t, zx::kWriteDate | zx::kWriteTime).View());
    return v;
  }();
  return texts;
}

std::unique_ptr<icu::SimpleDateFormat> IcuFormat() {
  UErrorCode err = U_ZERO_ERROR;
  auto f = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("dd.MM.yyyy HH:mm:ss"), icu::Locale("de_DE"), err);
  f->setTimeZone(*icu::TimeZone::getGMT());
  return f;
}

void BM_Read_Ours(benchmark::State& state) {
  const auto& texts = Texts();
  plat::SystemTime t;
  size_t i = 0;
  for (auto _ : state) {
    zx::ReadLocaleDateTime(kGerman, texts[i++ & 4095], &t, 0);
    benchmark::DoNotOptimize(t);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Read_Ours);

void BM_Read_Icu(benchmark::State& state) {
  std::vector<icu::UnicodeString> texts;
  for (const std::u16string& s : Texts()) texts.emplace_back(s.data(), static_cast<int32_t>(s.size()));
  auto f = IcuFormat();
  size_t i = 0;
  for (auto _ : state) {
    UErrorCode err = U_ZERO_ERROR;
    benchmark::DoNotOptimize(f->parse(texts[i++ & 4095], err));
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Read_Icu);

void BM_Write_Ours(benchmark::State& state) {
  const auto& times = Times();
  size_t i = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(zx::WriteLocaleDateTime(kGerman, &times[i++ & 4095], zx::kWriteDate | zx::kWriteTime));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Write_Ours);

void BM_Write_Icu(benchmark::State& state) {
  std::vector<UDate> dates;
  for (const std::u16string& s : Texts()) {
    UErrorCode err = U_ZERO_ERROR;
    dates.push_back(IcuFormat()->parse(icu::UnicodeString(s.data(), static_cast<int32_t>(s.size())), err));
  }
  auto f = IcuFormat();
  size_t i = 0;
  for (auto _ : state) {
    icu::UnicodeString out;
    benchmark::DoNotOptimize(f->format(dates[i++ & 4095], out));
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
}
BENCHMARK(BM_Write_Icu);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const char* name : {"BM_Read_Ours", "BM_Write_Ours"}) {
    if (const zxbench::RunTimes* t = reporter.Find(name)) {
      const double perSecond = 1e9 / t->cpu;   // the run's unit is nanoseconds
      std::printf("%s: %.2f million a second (cpu)  goal >= 1: %s\n", name, perSecond / 1e6,
                  perSecond >= 1e6 ? "met" : "not met");
    }
  }
  reporter.PrintSpeed("read: ours vs ICU SimpleDateFormat::parse", "BM_Read_Ours", "BM_Read_Icu");
  reporter.PrintSpeed("write: ours vs ICU SimpleDateFormat::format", "BM_Write_Ours", "BM_Write_Icu");
  benchmark::Shutdown();
  return 0;
}
