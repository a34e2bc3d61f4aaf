// clsFile against the system's own calls on the same 256 MB: sequential writes
// and reads in 1 MiB pieces (write(2), read(2), fread), and CopyFrom against
// copy_file_range. Files live in /tmp and are removed at the end; the last lines
// print the speeds as peer time / our time.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "file/File.h"
#include "ratio.h"

namespace {

constexpr size_t kTotal = 256u << 20;
constexpr size_t kPiece = 1u << 20;

std::string PathOf(const char* leaf) { return std::string("/tmp/zxut_bench_file_") + std::to_string(getpid()) + leaf; }
zx::String Wide(const std::string& s) { return zx::String(s.c_str()); }

std::vector<char>& Piece() {
  static std::vector<char> data = [] {
    std::vector<char> d(kPiece);
    for (size_t i = 0; i < d.size(); ++i) d[i] = static_cast<char>(i * 31 + 7);
    return d;
  }();
  return data;
}

void MakeSource() {
  const std::string path = PathOf("_src");
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  for (size_t done = 0; done < kTotal; done += kPiece)
    if (::write(fd, Piece().data(), kPiece) != static_cast<ssize_t>(kPiece)) std::abort();
  ::close(fd);
}

void BM_Write_clsFile(benchmark::State& state) {
  const zx::String name = Wide(PathOf("_w1"));
  for (auto _ : state) {
    zx::clsFileRW f(name, 2, 2, 0, 0x102);
    for (size_t done = 0; done < kTotal; done += kPiece)
      if (f.Write(Piece().data(), kPiece) != kPiece) state.SkipWithError("short write");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void BM_Write_write2(benchmark::State& state) {
  const std::string path = PathOf("_w2");
  for (auto _ : state) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    for (size_t done = 0; done < kTotal; done += kPiece)
      if (::write(fd, Piece().data(), kPiece) != static_cast<ssize_t>(kPiece)) state.SkipWithError("short write");
    ::close(fd);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void BM_Read_clsFile(benchmark::State& state) {
  const zx::String name = Wide(PathOf("_src"));
  std::vector<char> buf(kPiece);
  for (auto _ : state) {
    zx::clsFileRO f(name, 0, 0, 2, 0x102);
    size_t total = 0;
    while (uint32_t n = f.Read(buf.data(), kPiece)) total += n;
    if (total != kTotal) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void BM_Read_read2(benchmark::State& state) {
  const std::string path = PathOf("_src");
  std::vector<char> buf(kPiece);
  for (auto _ : state) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    size_t total = 0;
    ssize_t n;
    while ((n = ::read(fd, buf.data(), kPiece)) > 0) total += static_cast<size_t>(n);
    ::close(fd);
    if (total != kTotal) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void BM_Read_fread(benchmark::State& state) {
  const std::string path = PathOf("_src");
  std::vector<char> buf(kPiece);
  for (auto _ : state) {
    FILE* f = std::fopen(path.c_str(), "rb");
    size_t total = 0, n;
    while ((n = std::fread(buf.data(), 1, kPiece, f)) > 0) total += n;
    std::fclose(f);
    if (total != kTotal) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void BM_Copy_CopyFrom(benchmark::State& state) {
  const zx::String src = Wide(PathOf("_src"));
  const zx::String dst = Wide(PathOf("_c1"));
  for (auto _ : state) {
    zx::clsFileRO in(src, 0, 0, 2, 0x102);
    zx::clsFileRW out(dst, 2, 2, 0, 0x102);
    if (!out.CopyFrom(in)) state.SkipWithError("copy failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

void BM_Copy_copy_file_range(benchmark::State& state) {
  const std::string src = PathOf("_src"), dst = PathOf("_c2");
  for (auto _ : state) {
    const int in = ::open(src.c_str(), O_RDONLY | O_CLOEXEC);
    const int out = ::open(dst.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    size_t total = 0;
    ssize_t n;
    while (total < kTotal && (n = ::copy_file_range(in, nullptr, out, nullptr, kTotal - total, 0)) > 0)
      total += static_cast<size_t>(n);
    ::close(in);
    ::close(out);
    if (total != kTotal) state.SkipWithError("short copy");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kTotal));
}

BENCHMARK(BM_Write_clsFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Write_write2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_clsFile)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_read2)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_fread)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Copy_CopyFrom)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Copy_copy_file_range)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  MakeSource();
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintSpeed("sequential write 256 MB, vs write(2)", "BM_Write_clsFile", "BM_Write_write2", 0.95);
  reporter.PrintSpeed("sequential read 256 MB, vs read(2)", "BM_Read_clsFile", "BM_Read_read2", 0.95);
  reporter.PrintSpeed("sequential read 256 MB, vs fread", "BM_Read_clsFile", "BM_Read_fread", 0.95);
  reporter.PrintSpeed("CopyFrom 256 MB, vs copy_file_range", "BM_Copy_CopyFrom", "BM_Copy_copy_file_range");
  for (const char* leaf : {"_src", "_w1", "_w2", "_c1", "_c2"}) std::remove(PathOf(leaf).c_str());
  benchmark::Shutdown();
  return 0;
}
