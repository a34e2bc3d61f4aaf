// Fuzz target for the shell link reader: any bytes as a ".lnk" file. The target
// path, when there is one, is made only of what the data holds; nothing is read
// outside the bytes given (ASan).
#include <cstddef>
#include <cstdint>
#include <vector>

#include "docinfo/ShellLink.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of exactly `size` bytes, so that a read behind it is caught.
  std::vector<uint8_t> bytes(data, data + size);
  const zx::String target = zx::ShellLinkTarget(bytes.data(), bytes.size(), zx::String(u"C:\\links"));
  // A local path joins two strings of the data (base path and common suffix, whose
  // offsets may point at the same bytes); a relative one adds the folder and a
  // separator. Either way the target is made of the data's characters.
  if (target.Length() > 2 * static_cast<int64_t>(size) + 10) __builtin_trap();
  return 0;
}
