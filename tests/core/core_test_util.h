// Helpers of the charset tests: iconv as the outside judge of code-page bytes, a
// guard for String's default code page, and an allocation counter.
#pragma once
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#if !defined(_WIN32)
#include <unistd.h>
#endif


#include "core/strings/String.h"

namespace charset_test {

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

inline std::string Utf16LeBytes(std::u16string_view text) {
  std::string out;
  for (char16_t c : text) {
    out.push_back(static_cast<char>(c & 0xFF));
    out.push_back(static_cast<char>(c >> 8));
  }
  return out;
}

inline std::u16string FromUtf16LeBytes(const std::string& bytes) {
  std::u16string out;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    out.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                        static_cast<unsigned char>(bytes[i + 1]) << 8));
  }
  return out;
}

// Runs `iconv -f from -t to` over `input`; nothing when iconv is missing or fails
// (also under wine, where there is no iconv to run).
inline std::optional<std::string> Iconv(const char* from, const char* to, const std::string& input) {
#if defined(_WIN32)
  (void)from; (void)to; (void)input;
  return std::nullopt;
#else
  char path[] = "/tmp/zxut_charset_XXXXXX";
  int fd = mkstemp(path);
  if (fd < 0) return std::nullopt;
  bool written = write(fd, input.data(), input.size()) == static_cast<ssize_t>(input.size());
  close(fd);
  std::optional<std::string> result;
  if (written) {
    std::string cmd = std::string("iconv -f ") + from + " -t " + to + " " + path + " 2>/dev/null";
    if (FILE* p = popen(cmd.c_str(), "r")) {
      std::string out;
      char buf[4096];
      size_t n;
      while ((n = fread(buf, 1, sizeof buf, p)) > 0) out.append(buf, n);
      if (pclose(p) == 0) result = out;
    }
  }
  unlink(path);
  return result;
#endif
}

// Heap allocations made through operator new since the program started
// (charset_alloc_counter.cc replaces the global operator new of the test program).
long AllocationCount();

// Allocations while it lives.
class AllocationProbe {
 public:
  long Count() const { return AllocationCount() - start_; }

 private:
  long start_ = AllocationCount();
};

}  // namespace charset_test
