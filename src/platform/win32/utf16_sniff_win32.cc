// UTF-16 sniffing on Windows: the system's own test.
#include "platform/win32/pch.h"

#include "platform/utf16_sniff.h"

namespace plat {

bool LooksLikeUtf16(const void* buffer, int size, uint32_t mask) {
  INT m = static_cast<INT>(mask);
  return ::IsTextUnicode(buffer, size, &m) != FALSE;
}

}  // namespace plat
