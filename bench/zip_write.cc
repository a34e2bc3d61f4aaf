// The ZIP writer against its peers, side by side: one large file of mixed text
// and binary (ZXUT_BENCH_ZIP_MB megabytes, 200 by default) and a tree of 3,000
// small files, each written to a new archive by our writer, by raw zlib deflate
// at the same level (the least any writer must do), by `zip -6` and by libzip.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#ifdef ZXUT_BENCH_LIBZIP
#include ZXUT_BENCH_LIBZIP
#endif

#include "ratio.h"
#include "zxUT22.h"

namespace {

namespace fs = std::filesystem;

const fs::path& Work() {
  static const fs::path dir = [] {
    fs::path d = fs::temp_directory_path() / ("zxut_bench_zip_" + std::to_string(getpid()));
    fs::create_directories(d);
    return d;
  }();
  return dir;
}

// Text lines with runs of binary in between, as logs with embedded dumps are.
void WriteMixed(const fs::path& p, size_t size, uint32_t seed) {
  static const char* const kWords[] = {"report ", "page ", "total ", "1234 ", "customer ", "invoice ",
                                       "\n", "amount ", "2026-11-24 ", "Zarnik ", "sum ", "x "};
  std::string out;
  out.reserve(size + 64);
  while (out.size() < size) {
    seed = seed * 1103515245u + 12345u;
    if ((seed >> 24) < 20) {
      for (int i = 0; i < 64; ++i) {
        seed = seed * 1664525u + 1013904223u;
        out += static_cast<char>(seed >> 24);
      }
    } else {
      out += kWords[(seed >> 16) % 12];
    }
  }
  out.resize(size);
  std::ofstream(p, std::ios::binary).write(out.data(), static_cast<std::streamsize>(out.size()));
}

size_t BigSize() {
  const char* mb = std::getenv("ZXUT_BENCH_ZIP_MB");
  return static_cast<size_t>(mb ? std::atoi(mb) : 200) << 20;
}

const fs::path& BigFile() {
  static const fs::path p = [] {
    fs::path f = Work() / "big.dat";
    WriteMixed(f, BigSize(), 42);
    return f;
  }();
  return p;
}

const fs::path& SmallTree() {
  static const fs::path root = [] {
    fs::path r = Work() / "tree";
    for (int i = 0; i < 3000; ++i) {
      const fs::path dir = r / ("d" + std::to_string(i % 30)) / ("e" + std::to_string(i % 7));
      fs::create_directories(dir);
      WriteMixed(dir / ("f" + std::to_string(i) + ".txt"), 200 + (i * 7919) % 20000, i);
    }
    return r;
  }();
  return root;
}

std::u16string Wide(const fs::path& p) { return p.u16string(); }
LPCWSTR W(const std::u16string& s) { return reinterpret_cast<LPCWSTR>(s.c_str()); }

void Run(benchmark::State& state, const std::string& command) {
  for (auto _ : state)
    if (std::system(command.c_str()) != 0) state.SkipWithError(("failed: " + command).c_str());
}

// ---- one large file

void BM_Big_Ours(benchmark::State& state) {
  const std::u16string src = Wide(BigFile()), out = Wide(Work() / "ours.zip");
  for (auto _ : state) {
    HZIPFILE zip = UtilZIPCreate(W(out), nullptr);
    if (UtilZIPAppend(zip, W(src), nullptr, W(u"big.dat")) != 0 || UtilZIPClose(zip) != 0)
      state.SkipWithError("the writer failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * BigSize()));
}
BENCHMARK(BM_Big_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

// Read, CRC and raw deflate at the default level, written to a file: the work of
// any writer without its archive around it.
void BM_Big_Zlib(benchmark::State& state) {
  std::vector<unsigned char> in(1 << 20), out(1 << 20);
  for (auto _ : state) {
    FILE* f = std::fopen(BigFile().c_str(), "rb");
    FILE* o = std::fopen((Work() / "zlib.raw").c_str(), "wb");
    z_stream z{};
    deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    uLong crc = crc32(0, Z_NULL, 0);
    int flush = Z_NO_FLUSH;
    while (flush != Z_FINISH) {
      const size_t n = std::fread(in.data(), 1, in.size(), f);
      flush = n < in.size() ? Z_FINISH : Z_NO_FLUSH;
      crc = crc32(crc, in.data(), static_cast<uInt>(n));
      z.next_in = in.data();
      z.avail_in = static_cast<uInt>(n);
      do {
        z.next_out = out.data();
        z.avail_out = static_cast<uInt>(out.size());
        deflate(&z, flush);
        std::fwrite(out.data(), 1, out.size() - z.avail_out, o);
      } while (z.avail_out == 0);
    }
    deflateEnd(&z);
    std::fclose(f);
    std::fclose(o);
    benchmark::DoNotOptimize(crc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * BigSize()));
}
BENCHMARK(BM_Big_Zlib)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Big_ZipCmd(benchmark::State& state) {
  const fs::path out = Work() / "cmd.zip";
  Run(state, "rm -f '" + out.string() + "' && cd '" + Work().string() + "' && zip -6 -q '" + out.string() + "' big.dat");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * BigSize()));
}
BENCHMARK(BM_Big_ZipCmd)->Unit(benchmark::kMillisecond)->UseRealTime();

#ifdef ZXUT_BENCH_LIBZIP
bool LibzipAdd(zip_t* z, const fs::path& file, const std::string& name) {
  zip_source_t* s = zip_source_file(z, file.c_str(), 0, -1);
  if (!s) return false;
  const zip_int64_t i = zip_file_add(z, name.c_str(), s, ZIP_FL_OVERWRITE);
  if (i < 0) {
    zip_source_free(s);
    return false;
  }
  return zip_set_file_compression(z, static_cast<zip_uint64_t>(i), ZIP_CM_DEFLATE, 6) == 0;
}

void BM_Big_Libzip(benchmark::State& state) {
  const std::string out = (Work() / "libzip.zip").string();
  for (auto _ : state) {
    int err = 0;
    zip_t* z = zip_open(out.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &err);
    if (!z || !LibzipAdd(z, BigFile(), "big.dat") || zip_close(z) != 0) state.SkipWithError("libzip failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * BigSize()));
}
BENCHMARK(BM_Big_Libzip)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

// ---- 3,000 small files

void BM_Small_Ours(benchmark::State& state) {
  const std::u16string root = Wide(SmallTree()), out = Wide(Work() / "small_ours.zip");
  for (auto _ : state) {
    HZIPFILE zip = UtilZIPCreate(W(out), nullptr);
    UtilZIPAppendList(zip, W(root), nullptr, ZXUT_ZIP_RECURSE);
    if (UtilZIPClose(zip) != 0) state.SkipWithError("the writer failed");
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * 3000));
}
BENCHMARK(BM_Small_Ours)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Small_ZipCmd(benchmark::State& state) {
  const fs::path out = Work() / "small_cmd.zip";
  Run(state, "rm -f '" + out.string() + "' && cd '" + SmallTree().string() + "' && zip -6 -r -q '" + out.string() + "' .");
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * 3000));
}
BENCHMARK(BM_Small_ZipCmd)->Unit(benchmark::kMillisecond)->UseRealTime();

#ifdef ZXUT_BENCH_LIBZIP
void BM_Small_Libzip(benchmark::State& state) {
  const std::string out = (Work() / "small_libzip.zip").string();
  for (auto _ : state) {
    int err = 0;
    zip_t* z = zip_open(out.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &err);
    bool ok = z != nullptr;
    for (const auto& e : fs::recursive_directory_iterator(SmallTree())) {
      const std::string name = fs::relative(e.path(), SmallTree()).generic_string();
      if (e.is_directory()) ok = ok && zip_dir_add(z, name.c_str(), 0) >= 0;
      else ok = ok && LibzipAdd(z, e.path(), name);
    }
    if (!ok || zip_close(z) != 0) state.SkipWithError("libzip failed");
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * 3000));
}
BENCHMARK(BM_Small_Libzip)->Unit(benchmark::kMillisecond)->UseRealTime();
#endif

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeedWall("large file: ours vs raw zlib deflate", "BM_Big_Ours/real_time", "BM_Big_Zlib/real_time", 0.95);
  reporter.PrintSpeedWall("large file: ours vs zip -6", "BM_Big_Ours/real_time", "BM_Big_ZipCmd/real_time", 1.0);
  reporter.PrintSpeedWall("large file: ours vs libzip", "BM_Big_Ours/real_time", "BM_Big_Libzip/real_time", 1.0);
  reporter.PrintSpeedWall("3,000 files: ours vs zip -6 -r", "BM_Small_Ours/real_time", "BM_Small_ZipCmd/real_time", 1.0);
  reporter.PrintSpeedWall("3,000 files: ours vs libzip", "BM_Small_Ours/real_time", "BM_Small_Libzip/real_time", 1.0);
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove_all(Work(), ec);
  return 0;
}
