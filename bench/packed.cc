// Packed strings (compressed, no password) against the natural peer: zlib's
// compress2 at level 9 with a plain base64 loop, and the reverse with uncompress.
// Sizes 1, 10 and 50 MB of text-like data; the last lines print ours / peer.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <cstdint>
#include <string>
#include <vector>

#include "file/File.h"
#include "packed/PackedString.h"

#include "ratio.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Words drawn at random: compresses to about a third, like a report's text.
std::string TextLike(size_t size) {
  static const char* const kWords[] = {"report ", "page ", "total ", "1234 ", "customer ", "invoice ",
                                       "\r\n", "amount ", "2026-11-24 ", "Zarnik ", "sum ", "x "};
  std::string out;
  out.reserve(size + 16);
  uint32_t seed = 12345;
  while (out.size() < size) {
    seed = seed * 1103515245u + 12345u;
    out += kWords[(seed >> 16) % 12];
  }
  out.resize(size);
  return out;
}

const std::string& Data(int64_t megabytes) {
  static std::string one = TextLike(1 << 20), ten = TextLike(10 << 20), fifty = TextLike(50 << 20);
  return megabytes == 1 ? one : megabytes == 10 ? ten : fifty;
}

void PeerEncode(const uint8_t* data, size_t size, std::u16string& out) {
  out.resize((size + 2) / 3 * 4);
  size_t o = 0, i = 0;
  for (; i + 3 <= size; i += 3) {
    const uint32_t v = uint32_t(data[i]) << 16 | uint32_t(data[i + 1]) << 8 | data[i + 2];
    out[o++] = kAlphabet[v >> 18];
    out[o++] = kAlphabet[(v >> 12) & 63];
    out[o++] = kAlphabet[(v >> 6) & 63];
    out[o++] = kAlphabet[v & 63];
  }
  if (i < size) {
    const uint32_t v = uint32_t(data[i]) << 16 | (i + 1 < size ? uint32_t(data[i + 1]) << 8 : 0);
    out[o++] = kAlphabet[v >> 18];
    out[o++] = kAlphabet[(v >> 12) & 63];
    out[o++] = i + 1 < size ? kAlphabet[(v >> 6) & 63] : u'=';
    out[o++] = u'=';
  }
}

size_t PeerDecode(const std::u16string& text, std::vector<uint8_t>& out) {
  static int8_t digit[128];
  for (int c = 0; c < 128; ++c) digit[c] = -1;
  for (int k = 0; k < 64; ++k) digit[static_cast<int>(kAlphabet[k])] = static_cast<int8_t>(k);
  digit['='] = 0;
  out.resize(text.size() / 4 * 3);
  size_t o = 0;
  for (size_t i = 0; i + 4 <= text.size(); i += 4) {
    const uint32_t v = uint32_t(digit[text[i] & 127]) << 18 | uint32_t(digit[text[i + 1] & 127]) << 12 |
                       uint32_t(digit[text[i + 2] & 127]) << 6 | uint32_t(digit[text[i + 3] & 127]);
    out[o++] = static_cast<uint8_t>(v >> 16);
    out[o++] = static_cast<uint8_t>(v >> 8);
    out[o++] = static_cast<uint8_t>(v);
  }
  if (!text.empty() && text.back() == u'=') --o;
  if (text.size() > 1 && text[text.size() - 2] == u'=') --o;
  return o;
}

void BM_Pack_Ours(benchmark::State& state) {
  const std::string& data = Data(state.range(0));
  zx::clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);
  file.Write(data.data(), static_cast<uint32_t>(data.size()));
  for (auto _ : state) benchmark::DoNotOptimize(zx::Pack(file, true, zx::String()).Length());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Pack_Ours)->Arg(1)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);

void BM_Pack_Zlib(benchmark::State& state) {
  const std::string& data = Data(state.range(0));
  for (auto _ : state) {
    std::vector<uint8_t> z(compressBound(data.size()));
    uLongf n = z.size();
    compress2(z.data(), &n, reinterpret_cast<const Bytef*>(data.data()), data.size(), 9);
    std::u16string text;
    PeerEncode(z.data(), n, text);
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Pack_Zlib)->Arg(1)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);

void BM_Unpack_Ours(benchmark::State& state) {
  const std::string& data = Data(state.range(0));
  zx::clsFileRWTempStream source, target;
  source.SetDeleteOnRelease(false);
  target.SetDeleteOnRelease(false);
  source.Write(data.data(), static_cast<uint32_t>(data.size()));
  const zx::String text = zx::Pack(source, true, zx::String());
  for (auto _ : state) benchmark::DoNotOptimize(zx::Unpack(target, text, zx::String()));
  if (target.GetSize() != data.size()) state.SkipWithError("wrong size");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Unpack_Ours)->Arg(1)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);

void BM_Unpack_Zlib(benchmark::State& state) {
  const std::string& data = Data(state.range(0));
  std::vector<uint8_t> z(compressBound(data.size()));
  uLongf n = z.size();
  compress2(z.data(), &n, reinterpret_cast<const Bytef*>(data.data()), data.size(), 9);
  std::u16string text;
  PeerEncode(z.data(), n, text);
  for (auto _ : state) {
    std::vector<uint8_t> packed, out(data.size());
    const size_t got = PeerDecode(text, packed);
    uLongf outSize = out.size();
    uncompress(out.data(), &outSize, packed.data(), got);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(BM_Unpack_Zlib)->Arg(1)->Arg(10)->Arg(50)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  zxbench::RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  for (const char* mb : {"1", "10", "50"}) {
    reporter.PrintRatio(std::string("pack ") + mb + " MB vs zlib compress2 + base64",
                        std::string("BM_Pack_Ours/") + mb, std::string("BM_Pack_Zlib/") + mb);
    reporter.PrintRatio(std::string("unpack ") + mb + " MB vs base64 + zlib uncompress",
                        std::string("BM_Unpack_Ours/") + mb, std::string("BM_Unpack_Zlib/") + mb);
  }
  benchmark::Shutdown();
  return 0;
}
