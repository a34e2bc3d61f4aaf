// Helpers of the core tests: iconv as the outside judge of code-page bytes, a
// guard for String's default code page, and an allocation counter.
#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "core/strings/String.h"
#include "support/support_test_util.h"

namespace core_test {

using zxsupport::FromUtf16LeBytes;
using zxsupport::Utf16LeBytes;

// Sets String's default code page for one test and restores it.
class DefaultCodePageGuard {
 public:
  explicit DefaultCodePageGuard(uint16_t cp) : saved_(zx::String::DefaultCodePage()) {
    zx::String::SetDefaultCodePage(cp);
  }
  ~DefaultCodePageGuard() { zx::String::SetDefaultCodePage(saved_); }

 private:
  uint16_t saved_;
};

// Texts with their bytes in four code pages (checked against iconv where it runs).
struct CodePageSample {
  uint32_t codePage;
  const char* iconvName;
  const char16_t* text;
  const char* knownBytes;   // a few bytes checked on every platform
};

inline const CodePageSample kSamples[] = {
    {1252, "CP1252", u"Gr\u00FC\u00DFe, \u20AC100 \u2013 \u201EZitat\u201C \u2026 \u0152uvre \u2122 \u00FF",
     "Gr\xFC\xDF" "e, \x80" "100 \x96 \x84Zitat\x93 \x85 \x8Cuvre \x99 \xFF"},
    {65001, "UTF-8", u"Gr\u00FC\u00DFe \u65E5\u672C \u20AC \U0001D11E",
     "Gr\xC3\xBC\xC3\x9F" "e \xE6\x97\xA5\xE6\x9C\xAC \xE2\x82\xAC \xF0\x9D\x84\x9E"},
    {1251, "CP1251", u"\u041F\u0440\u0438\u0432\u0435\u0442, \u043C\u0438\u0440! \u0401\u0451 \u2116",
     "\xCF\xF0\xE8\xE2\xE5\xF2, \xEC\xE8\xF0! \xA8\xB8 \xB9"},
    {932, "CP932", u"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8 \uFF71\uFF72\uFF73",
     "\x93\xFA\x96{\x8C\xEA\x82\xCC\x83" "e\x83L\x83X\x83g \xB1\xB2\xB3"},
};

// Runs `iconv -f from -t to` over `input`; nothing when iconv is missing or fails
// (also under wine, where there is no iconv to run).
inline std::optional<std::string> Iconv(const char* from, const char* to, const std::string& input) {
  std::string out;
  if (!zxsupport::RunFilter(std::string("iconv -f ") + from + " -t " + to, input, out)) return std::nullopt;
  return out;
}

// Heap allocations made through operator new since the program started
// (alloc_counter.cc replaces the global operator new of the test program).
long AllocationCount();

// Allocations while it lives.
class AllocationProbe {
 public:
  long Count() const { return AllocationCount() - start_; }

 private:
  long start_ = AllocationCount();
};

}  // namespace core_test
