// The compressed profile form and embedded files against zlib alone.
//   - Saving the 100,000-value profile (2,000 lists of 50) compressed with ProfSaveW
//     against deflating the same plain bytes with zlib at the same parameters
//     (raw, level 9, window 15, memory level 9); loading it with ProfJobOpenW
//     against inflating those bytes (goal: 90 % of zlib's speed; the load is
//     mostly the parse, so a plain load is shown beside it).
//     The inflate stage (compressed load less plain load) is set against zlib's
//     inflate alone and against zlib plus writing the inflated bytes to a
//     temporary file (what the load's steps cannot avoid).
//   - Embedding a file (ZXUT_BENCH_EMBED_MB, 100 by default) with ProfAppendFileW
//     against reading it, zlib's compress2 and base64 by hand. Goal: 90 % of that
//     speed; the peak memory of ours is printed against the file's size (goal 2.5x).
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "file/File.h"
#include "prof/Compressed.h"
#include "zxUT22.h"

#include "ratio.h"

namespace {

namespace fs = std::filesystem;
LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }

std::u16string Num(int i) {
  const std::string s = std::to_string(i);
  return std::u16string(s.begin(), s.end());
}

std::string ReadAll(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

struct Data {
  HPROFJOB job = ProfJobOpenW(nullptr);
  fs::path dir = fs::temp_directory_path() / ("zxut_bench_prof_compressed_" + std::to_string(getpid()));
  std::string plain, packed;
  Data() {
    fs::create_directories(dir);
    for (int l = 0; l < 2000; ++l) {
      HPROFLIST list = ProfAppendListW(job, nullptr, W((u"section" + Num(l)).c_str()));
      for (int v = 0; v < 50; ++v)
        ProfAppendStringW(job, list, W((u"value" + Num(v)).c_str()),
                          W((u"text of " + Num(l) + u" & " + Num(v) + u" <x>").c_str()));
    }
    ProfSaveW(job, W((dir / "plain.prf").u16string().c_str()), PROF_FMT_XML);
    ProfSaveW(job, W((dir / "packed.prf").u16string().c_str()), PROF_FMT_XML | PROF_SAVE_COMPRESSED);
    plain = ReadAll(dir / "plain.prf");
    packed = ReadAll(dir / "packed.prf");
  }
  ~Data() {
    ProfJobClose(job);
    std::error_code ec;
    fs::remove_all(dir, ec);
  }
};

Data& TheData() {
  static Data d;
  return d;
}

void BM_SaveCompressed(benchmark::State& state) {
  Data& d = TheData();
  const std::u16string path = (d.dir / "ours.prf").u16string();
  for (auto _ : state)
    if (ProfSaveW(d.job, W(path.c_str()), PROF_FMT_XML | PROF_SAVE_COMPRESSED) != PROF_OK)
      state.SkipWithError("save failed");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

void BM_ZlibDeflate(benchmark::State& state) {
  Data& d = TheData();
  std::string out(d.plain.size(), '\0');
  for (auto _ : state) {
    z_stream z{};
    deflateInit2(&z, 9, Z_DEFLATED, -15, 9, Z_DEFAULT_STRATEGY);
    z.next_in = reinterpret_cast<Bytef*>(d.plain.data());
    z.avail_in = static_cast<uInt>(d.plain.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    deflate(&z, Z_FINISH);
    deflateEnd(&z);
    FILE* f = std::fopen((d.dir / "peer.prf").string().c_str(), "wb");
    std::fwrite(out.data(), 1, z.total_out, f);
    std::fclose(f);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

void BM_LoadCompressed(benchmark::State& state) {
  Data& d = TheData();
  const std::u16string path = (d.dir / "packed.prf").u16string();
  for (auto _ : state) {
    HPROFJOB job = ProfJobOpenW(W(path.c_str()));
    if (ProfGetError(job) != PROF_OK) state.SkipWithError("load failed");
    ProfJobClose(job);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

// The same profile plain: what the compressed form adds to a load.
void BM_LoadPlain(benchmark::State& state) {
  Data& d = TheData();
  const std::u16string path = (d.dir / "plain.prf").u16string();
  for (auto _ : state) {
    HPROFJOB job = ProfJobOpenW(W(path.c_str()));
    if (ProfGetError(job) != PROF_OK) state.SkipWithError("load failed");
    ProfJobClose(job);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

void BM_ZlibInflate(benchmark::State& state) {
  Data& d = TheData();
  std::string out(d.plain.size() + 16, '\0');
  for (auto _ : state) {
    const std::string in = ReadAll(d.dir / "packed.prf");
    z_stream z{};
    inflateInit2(&z, -15);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data() + 4));
    z.avail_in = static_cast<uInt>(in.size() - 4);
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    inflate(&z, Z_FINISH);
    inflateEnd(&z);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

// What the steps of a compressed load force beyond inflating: the inflated bytes
// written to a fresh file in the temporary folder in 1 MiB pieces, then the file
// closed and deleted. Zlib's inflate plus this is the floor of the inflate stage.
void BM_TempFileWrite(benchmark::State& state) {
  Data& d = TheData();
  const std::string path = (d.dir / "stage.tmp").string();
  for (auto _ : state) {
    FILE* f = std::fopen(path.c_str(), "w+b");
    if (!f) {
      state.SkipWithError("no temporary file");
      break;
    }
    std::setvbuf(f, nullptr, _IONBF, 0);
    for (size_t at = 0; at < d.plain.size(); at += 1 << 20)
      std::fwrite(d.plain.data() + at, 1, std::min<size_t>(1 << 20, d.plain.size() - at), f);
    std::fclose(f);
    std::remove(path.c_str());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

// The inflate stage alone, as a compressed load runs it: the compressed file
// opened, the bytes behind the magic copied into memory, the temporary file
// "PRF…prf" made, inflated into and rewound, then closed (which deletes it).
void BM_InflateStage(benchmark::State& state) {
  Data& d = TheData();
  const zx::String path((d.dir / "packed.prf").u16string());
  for (auto _ : state) {
    zx::clsFileRO source(path, 0, 0, 2, 0x102);
    source.SetPos(4);
    zx::clsFileRWTemp inner(zx::String(u"PRF"), zx::String(u"prf"));
    if (zx::prof::InflateProfile(source, inner, zx::prof::kMaxInflatedProfile) != zx::prof::kInflateOk)
      state.SkipWithError("inflate failed");
    inner.SetPos(0);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.plain.size()));
}

// ---- embedding

size_t EmbedBytes() {
  const char* mb = std::getenv("ZXUT_BENCH_EMBED_MB");
  return static_cast<size_t>(mb ? std::atoi(mb) : 100) << 20;
}

// Text-like data: words from a small vocabulary with random numbers, so that deflate
// has work of the usual kind (neither all-random nor all-zero).
const fs::path& EmbedFile() {
  static const fs::path p = [] {
    const fs::path f = TheData().dir / "embed.bin";
    std::mt19937 rng(7);
    const char* words[] = {"alpha ", "beta ", "gamma ", "delta ", "report ", "value ", "\r\n", "0x"};
    std::string s;
    s.reserve(EmbedBytes() + 16);
    while (s.size() < EmbedBytes()) {
      s += words[rng() % 8];
      s += std::to_string(rng() % 100000);
    }
    s.resize(EmbedBytes());
    std::ofstream(f, std::ios::binary).write(s.data(), static_cast<std::streamsize>(s.size()));
    return f;
  }();
  return p;
}

// A field of /proc/self/status in KiB ("VmRSS", "VmHWM").
long StatusKb(const char* field) {
  std::ifstream in("/proc/self/status");
  std::string line;
  const std::string key = std::string(field) + ":";
  while (std::getline(in, line))
    if (line.compare(0, key.size(), key) == 0) return std::strtol(line.c_str() + key.size(), nullptr, 10);
  return 0;
}

// The peak resident size starts again from the current one (so that every
// repetition measures its own peak).
void ResetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

void BM_EmbedFile(benchmark::State& state) {
  const fs::path& f = EmbedFile();
  ResetPeak();
  const long before = StatusKb("VmRSS");
  for (auto _ : state) {
    HPROFJOB job = ProfJobOpenW(nullptr);
    ProfAppendFileW(job, nullptr, W(u"file"), nullptr, W(f.u16string().c_str()));
    ProfJobClose(job);
  }
  state.counters["peak_over_file"] = static_cast<double>(StatusKb("VmHWM") - before) * 1024.0 / EmbedBytes();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * EmbedBytes()));
}

void BM_ZlibBase64(benchmark::State& state) {
  const fs::path& f = EmbedFile();
  static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (auto _ : state) {
    const std::string in = ReadAll(f);
    uLongf size = compressBound(static_cast<uLong>(in.size()));
    std::string out(size, '\0');
    compress2(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(in.data()),
              static_cast<uLong>(in.size()), 9);
    std::u16string text;
    text.reserve((size + 2) / 3 * 4);
    for (uLongf i = 0; i < size; i += 3) {
      const uint32_t b0 = static_cast<uint8_t>(out[i]);
      const uint32_t b1 = i + 1 < size ? static_cast<uint8_t>(out[i + 1]) : 0;
      const uint32_t b2 = i + 2 < size ? static_cast<uint8_t>(out[i + 2]) : 0;
      const uint32_t v = b0 << 16 | b1 << 8 | b2;
      text += kAlphabet[v >> 18];
      text += kAlphabet[(v >> 12) & 63];
      text += i + 1 < size ? kAlphabet[(v >> 6) & 63] : '=';
      text += i + 2 < size ? kAlphabet[v & 63] : '=';
    }
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * EmbedBytes()));
}

BENCHMARK(BM_SaveCompressed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibDeflate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadCompressed)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibInflate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_TempFileWrite)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_InflateStage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_EmbedFile)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_ZlibBase64)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n");
  reporter.PrintSpeed("compressed save vs zlib deflate", "BM_SaveCompressed", "BM_ZlibDeflate", 0.9);
  reporter.PrintSpeed("compressed load vs zlib inflate", "BM_LoadCompressed", "BM_ZlibInflate", 0.9);
  // The load's time is the parse of 100,000 items; against a plain load it shows
  // what inflating through the temporary file adds.
  reporter.PrintSpeed("compressed load vs plain load", "BM_LoadCompressed", "BM_LoadPlain", 0.9);
  // The fair whole: the same text through zlib alone and then the plain load.
  reporter.Combine("zlib inflate + plain load", "BM_ZlibInflate", +1, "BM_LoadPlain");
  reporter.PrintSpeed("compressed load vs zlib inflate + plain load", "BM_LoadCompressed",
                      "zlib inflate + plain load", 0.9);
  // The stage alone: what the compressed form adds to a plain load, against zlib
  // alone, and against zlib plus the temporary file the steps write (its floor).
  reporter.Combine("inflate stage", "BM_LoadCompressed", -1, "BM_LoadPlain");
  reporter.Combine("zlib inflate + temp file", "BM_ZlibInflate", +1, "BM_TempFileWrite");
  reporter.PrintSpeed("inflate stage (compressed load - plain load) vs zlib inflate", "inflate stage",
                      "BM_ZlibInflate", 0.9);
  reporter.PrintSpeed("inflate stage vs zlib inflate + temp file write", "inflate stage",
                      "zlib inflate + temp file", 0.9);
  if (const zxbench::RunTimes* t = reporter.Find("inflate stage"))
    std::printf("inflate stage: %.2f ms (cpu), %.2f ms (real)\n", t->cpu, t->real);
  // The same stage timed on its own: steadier than a difference of two loads.
  reporter.PrintSpeed("inflate stage alone vs zlib inflate", "BM_InflateStage", "BM_ZlibInflate", 0.9);
  reporter.PrintSpeed("inflate stage alone vs zlib inflate + temp file write", "BM_InflateStage",
                      "zlib inflate + temp file", 0.9);
  reporter.PrintSpeed("embed file vs zlib + base64", "BM_EmbedFile/iterations:1", "BM_ZlibBase64/iterations:1", 0.9);
  if (const zxbench::RunTimes* t = reporter.Find("BM_EmbedFile/iterations:1"))
    std::printf("embed file peak memory: %.2fx the file (goal 2.5x)\n", t->Counter("peak_over_file"));
  benchmark::Shutdown();
  return 0;
}
