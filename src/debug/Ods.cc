#include "debug/Ods.h"

#include <cstdarg>

#include "core/format/Format.h"
#include "platform/debugout.h"

namespace zx {

void Ods(const char16_t* format, ...) {
  char16_t buf[600];
  va_list ap;
  va_start(ap, format);
  if (VFormatTo(buf, sizeof buf / sizeof buf[0], format, ap) < 0) buf[0] = 0;
  va_end(ap);
  plat::DebugOutput(buf);
}

}  // namespace zx
