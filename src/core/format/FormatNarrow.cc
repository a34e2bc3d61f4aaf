#include "core/format/FormatNarrow.h"

#include <atomic>
#include <climits>

#include "core/format/Format.h"
#include "platform/codepage.h"

namespace zx {
namespace {

uint32_t SystemCodePage() { return plat::AnsiCodePage(); }

std::atomic<CodePageSource> g_codePageSource{&SystemCodePage};

}  // namespace

CodePageSource SetFormatCodePageSource(CodePageSource source) {
  return g_codePageSource.exchange(source ? source : &SystemCodePage, std::memory_order_acq_rel);
}

uint32_t FormatCodePage() { return g_codePageSource.load(std::memory_order_acquire)(); }

namespace fmt {

size_t NarrowPrefix(const char* s, size_t maxChars, uint32_t codePage) {
  size_t i = 0;
  if (codePage != plat::kCpUtf8) {
    while (i < maxChars && s[i]) ++i;
    return i;
  }
  for (size_t chars = 0; chars < maxChars && s[i]; ++chars) {
    ++i;
    while ((static_cast<unsigned char>(s[i]) & 0xC0) == 0x80) ++i;
  }
  return i;
}

long Widen(const char* s, size_t count, uint32_t codePage, char16_t* dst, size_t cap) {
  if (count == 0) return 0;
  if (codePage == 0) {
    if (!dst) return static_cast<long>(count);
    if (cap < count) return -1;
    for (size_t i = 0; i < count; ++i) dst[i] = static_cast<unsigned char>(s[i]);
    return static_cast<long>(count);
  }
  if (count > INT_MAX || cap > INT_MAX) return -1;
  int n = plat::MultiByteToWide(codePage, 0, s, static_cast<int>(count), dst,
                                dst ? static_cast<int>(cap) : 0);
  return n > 0 ? n : -1;
}

int NarrowChar(const char16_t* units, int n, uint32_t codePage, char* dst) {
  if (codePage == 0) {
    if (n != 1 || units[0] > 0xFF) return 0;
    dst[0] = static_cast<char>(units[0]);
    return 1;
  }
  return plat::WideToMultiByte(codePage, 0, units, n, dst, 8);
}

}  // namespace fmt
}  // namespace zx
