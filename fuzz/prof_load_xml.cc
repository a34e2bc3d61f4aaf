// Arbitrary lines behind the XML header of a profile, as UTF-16LE (each input
// byte one unit, so tags and entities are easy to reach) or as raw units; see
// prof_load_fuzz_util.h for the checks. What loads must come back through an
// XML save.
#include <cstddef>
#include <cstdint>
#include <string>

#include "prof_load_fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > (1u << 20)) return 0;
  static const char kHeader[] = "<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"yes\"?>\r\n";
  std::string text = kHeader;
  if (data[0] & 1) text += "<profile>\r\n";
  std::string bytes = "\xFF\xFE";
  for (char c : text) bytes += {c, '\0'};
  if (data[0] & 2) {
    bytes.append(reinterpret_cast<const char*>(data + 1), size - 1);  // raw units
  } else {
    for (size_t i = 1; i < size; ++i) bytes += {static_cast<char>(data[i]), '\0'};
  }
  profloadfuzz::LoadAndCheck(bytes, zx::prof::kFormatXml);
  return 0;
}
