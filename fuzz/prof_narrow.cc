// The narrow (A) profile exports with arbitrary path and value bytes under a
// fuzzed default code page (ProfSetOption), including code pages the system does
// not have.
//
// Checks: an A export finds what the W export finds for the path converted in the
// default code page (same list handle, same value length); ProfGetStringA writes
// nothing at or behind `size` bytes, terminates within them and returns the value's
// full length; what it delivers is the narrow form of the wide value cut to
// size - 1 units, itself cut to size - 1 bytes; ProfEnumA hands out terminated names and values; a job opened
// with any narrow name comes back.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_util.h"
#include "core/strings/CharsetConversion.h"
#include "core/strings/String.h"
#include "zxUT22.h"

namespace {

class Input : public fuzzutil::ByteReader {
 public:
  using ByteReader::ByteReader;
  // Bytes of a path or value: '/' and '.' are frequent, and any byte may come;
  // a zero byte ends the text as the callee sees it.
  std::string Text() {
    static const char kCommon[] = "ab/./..\xC3\xA9\x81\x40\xE9";
    std::string t;
    for (size_t n = Byte() % 16; n > 0; --n) {
      const uint8_t b = Byte();
      t += b < 128 ? kCommon[b % (sizeof kCommon - 1)] : static_cast<char>(Byte());
    }
    return t;
  }
};

std::u16string Widen(const std::string& narrow) {
  const zx::String s = zx::StringFromNarrow(narrow.c_str(), static_cast<int64_t>(narrow.size()), 0);
  return std::u16string(s.View());
}

LPCWSTR W(const std::u16string& s) { return reinterpret_cast<LPCWSTR>(s.c_str()); }

BOOL ZXUT_API EnumCheck(HPROFJOB, LPCSTR name, LPCSTR value, HPROFLIST, void* count) {
  // Reading them through is the check: ASan faults an unterminated text.
  *static_cast<size_t*>(count) += std::strlen(name) + (value ? std::strlen(value) : 0);
  return 1;
}

void CheckPath(HPROFJOB job, const std::string& path) {
  const std::u16string wide = Widen(path);
  FUZZ_CHECK(ProfGetListA(job, nullptr, path.c_str()) == ProfGetListW(job, nullptr, W(wide)));
  const LONG length = ProfGetStringLengthA(job, nullptr, path.c_str());
  FUZZ_CHECK(length == ProfGetStringLengthW(job, nullptr, W(wide)));
  if (length < 0) return;
  // The value's narrow form, as the wide export delivers it.
  std::u16string value(static_cast<size_t>(length) + 1, u'\0');
  FUZZ_CHECK(ProfGetStringW(job, nullptr, W(wide), reinterpret_cast<LPWSTR>(value.data()), length + 1, nullptr) ==
        length);
  value.resize(static_cast<size_t>(length));
  for (int size : {1, 2, 3, 7, 64}) {
    // The export fills a wide work buffer of `size` units and narrows that: the value
    // is cut to size - 1 units first (a pair of surrogates may be split), and its
    // narrow form then to size - 1 bytes.
    zx::clsCharsetConversionString form(value.substr(0, static_cast<size_t>(size) - 1).c_str());
    const std::string narrow = form.narrow();
    char buffer[80];
    std::memset(buffer, 0x5A, sizeof buffer);
    FUZZ_CHECK(ProfGetStringA(job, nullptr, path.c_str(), buffer, size, "") == length);
    for (size_t i = static_cast<size_t>(size); i < sizeof buffer; ++i) FUZZ_CHECK(buffer[i] == 0x5A);
    const size_t got = strnlen(buffer, static_cast<size_t>(size));
    FUZZ_CHECK(got < static_cast<size_t>(size));
    FUZZ_CHECK(narrow.compare(0, got, buffer, got) == 0);
    FUZZ_CHECK(got == std::min(narrow.size(), static_cast<size_t>(size) - 1));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const uint16_t kCodePages[] = {0, 1252, 65001, 932, 936, 949, 950, 1251, 1253, 437, 850, 28591, 20127, 54936};
  Input in(data, size);
  const uint8_t c = in.Byte();
  const uint16_t cp = c < 224 ? kCodePages[c % 14] : static_cast<uint16_t>(in.Byte() | in.Byte() << 8);
  ProfSetOption(PROF_OPTION_CODEPAGE, cp);
  FUZZ_CHECK(ProfGetOption(PROF_OPTION_CODEPAGE) == cp);
  HPROFJOB job = ProfJobOpenW(nullptr);
  FUZZ_CHECK(job != nullptr);
  for (int steps = 0; in.More() && steps < 64; ++steps) {
    const std::string path = in.Text();
    switch (in.Byte() % 8) {
      case 0: case 1: case 2:
        ProfSetStringA(job, nullptr, path.c_str(), in.Text().c_str());
        break;
      case 3:
        ProfAppendStringA(job, nullptr, path.c_str(), in.Text().c_str());
        break;
      case 4:
        ProfCreateListA(job, nullptr, path.c_str());
        break;
      case 5:
        ProfDeleteItemA(job, nullptr, path.c_str());
        break;
      case 6: {
        size_t count = 0;
        ProfEnumA(job, ProfGetListA(job, nullptr, path.c_str()), &EnumCheck, &count);
        break;
      }
      case 7: {   // a job of that name: it always comes back
        HPROFJOB other = ProfJobOpenA(path.c_str());
        FUZZ_CHECK(other != nullptr);
        ProfGetError(other);
        ProfJobClose(other);
        break;
      }
    }
    CheckPath(job, path);
  }
  ProfJobClose(job);
  ProfSetOption(PROF_OPTION_CODEPAGE, 0);
  return 0;
}
