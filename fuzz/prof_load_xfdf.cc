// Arbitrary lines of the XFDF form, narrow: behind the XFDF header line (the top
// level, where values are refused) or behind the XML header and an <xfdf> tag
// (level 0, where values and fields build items); see prof_load_fuzz_util.h.
#include <cstddef>
#include <cstdint>
#include <string>

#include "prof_load_fuzz_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > (1u << 20)) return 0;
  std::string bytes = (data[0] & 1)
                          ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
                          : "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-16\" standalone=\"yes\"?>\r\n<xfdf a>\r\n";
  bytes.append(reinterpret_cast<const char*>(data + 1), size - 1);
  profloadfuzz::LoadAndCheck(bytes);
  return 0;
}
