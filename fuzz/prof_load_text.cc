// Arbitrary bytes loaded as a profile file: byte-order marks, text, INI and the
// format detection. The first byte picks a prefix that leads into the text
// parser's deeper states; see prof_load_fuzz_util.h for the checks. What loads
// must come back through a text save.
#include <cstddef>
#include <cstdint>
#include <string>

#include "prof_load_fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > (1u << 20)) return 0;
  static const char* const kPrefixes[] = {"", "[/]\n{\n", "\xEF\xBB\xBF[/]\r\n{\r\n", "[ini]\n"};
  std::string bytes = kPrefixes[data[0] % 4];
  bytes.append(reinterpret_cast<const char*>(data + 1), size - 1);
  if (data[0] & 0x80) {
    // The same text as UTF-16LE behind its mark.
    std::string wide = "\xFF\xFE";
    for (unsigned char c : bytes) {
      wide += static_cast<char>(c);
      wide += (c & 0x80) ? '\x24' : '\0';  // high bytes become control pictures and masked names
    }
    bytes = wide;
  }
  profloadfuzz::LoadAndCheck(bytes, zx::prof::kFormatText);
  return 0;
}
