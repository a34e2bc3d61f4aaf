// Fuzzes the formatter and the scanner with fuzzed format text and fuzzed input.
//
// Input: UTF-16LE units; the first 0xFFFF unit separates the format from the
// scanner's input text. Arguments are safe whatever a conversion reads: the
// formatter gets only pointers to one block that is at once an empty-ish wide
// string, a narrow string and a counted string (%Z), and whose pointer bits are
// harmless as integers and doubles, plus eight doubles; the scanner gets pointers into a buffer large
// enough for any field the input can fill. Formats that could read more
// arguments than are passed are skipped.
//
// Checks: a cut-short buffer holds a prefix of the whole output; the sink sees
// the same text and length; the scanner never assigns more fields than the
// format has conversions; TextToDouble ends inside its text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/format/Format.h"

namespace {

struct SafeBlock {
  uint16_t length = 6;         // %Z: bytes in buffer
  uint16_t maximumLength = 8;
  uint32_t zero = 0;           // ends the block read as a wide or narrow string
  const void* buffer = u"xyz";
  char16_t tail[8] = {};
};

SafeBlock g_block;

constexpr int kMaxConsumers = 24;  // '%' and '*' in a format; 64 arguments are passed

#define ARGS8(p) p, p, p, p, p, p, p, p
#define ARGS64(p) ARGS8(p), ARGS8(p), ARGS8(p), ARGS8(p), ARGS8(p), ARGS8(p), ARGS8(p), ARGS8(p)
// Eight doubles fill the floating-point registers of the x86-64 calling
// convention, so %f and friends read fixed values first and then pointer bits.
#define DOUBLES8 1.5, -0.0, 1e300, 5e-324, 123.456, 0.1, 2.5, -7.0
#define FORMAT_ARGS(p) ARGS64(p), DOUBLES8

struct Collected {
  std::vector<char16_t> text;
};

void Collect(void* context, const char16_t* text, size_t count) {
  auto* c = static_cast<Collected*>(context);
  c->text.insert(c->text.end(), text, text + count);
}

int ToSink(Collected& c, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = zx::VFormatToSink(&Collect, &c, 1 << 20, format, ap);
  va_end(ap);
  return n;
}

void FuzzFormat(const char16_t* format) {
  void* p = &g_block;
  // Huge widths are counted, not written; measure first to keep the run short.
  const int n = zx::FormatTo(nullptr, 0, format, FORMAT_ARGS(p));
  if (n < 0) {
    char16_t small[4];
    if (zx::FormatTo(small, 4, format, FORMAT_ARGS(p)) != -1 || small[0] != 0) abort();
    return;
  }
  if (n > (1 << 20)) return;
  std::vector<char16_t> full(static_cast<size_t>(n) + 1);
  if (zx::FormatTo(full.data(), full.size(), format, FORMAT_ARGS(p)) != n) abort();
  if (full[static_cast<size_t>(n)] != 0) abort();
  char16_t cut[17];
  if (zx::FormatTo(cut, 17, format, FORMAT_ARGS(p)) != n) abort();
  const size_t kept = n < 16 ? static_cast<size_t>(n) : 16;
  if (std::memcmp(cut, full.data(), kept * sizeof(char16_t)) != 0 || cut[kept] != 0) abort();
  Collected sink;
  if (ToSink(sink, format, FORMAT_ARGS(p)) != n) abort();
  if (sink.text.size() != static_cast<size_t>(n)) abort();
  if (n > 0 && std::memcmp(sink.text.data(), full.data(), sink.text.size() * sizeof(char16_t)) != 0)
    abort();
}

void FuzzScan(const char16_t* text, size_t textLength, const char16_t* format, int conversions) {
  // A field stores at most 8 bytes per input unit (narrow targets), plus a terminator.
  std::vector<uint64_t> target(textLength + 2);
  void* p = target.data();
  const int n = zx::Scan(text, format, ARGS64(p));
  if (n < -1 || n > conversions) abort();
  const char16_t* end = nullptr;
  zx::TextToDouble(text, &end);
  if (end < text || end > text + textLength) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  std::vector<char16_t> units(size / 2 + 2);
  for (size_t i = 0; i + 1 < size; i += 2) units[i / 2] = static_cast<char16_t>(data[i] | data[i + 1] << 8);
  const size_t count = size / 2;
  size_t split = 0;
  while (split < count && units[split] != 0xFFFF) ++split;
  std::vector<char16_t> format(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(split));
  format.push_back(0);
  std::vector<char16_t> text;
  if (split < count) text.assign(units.begin() + static_cast<std::ptrdiff_t>(split) + 1, units.begin() + static_cast<std::ptrdiff_t>(count));
  text.push_back(0);

  int consumers = 0, percents = 0;
  for (const char16_t* f = format.data(); *f; ++f) {
    if (*f == u'%') ++percents;
    if (*f == u'%' || *f == u'*') ++consumers;
  }
  if (consumers > kMaxConsumers) return 0;
  FuzzFormat(format.data());
  size_t textLength = 0;
  while (text[textLength]) ++textLength;
  FuzzScan(text.data(), textLength, format.data(), percents);
  return 0;
}
