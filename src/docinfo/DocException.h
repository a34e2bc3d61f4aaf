// clsException: how a document reader gives up. It carries a formatted message;
// the reader's top level catches it, prints "EXCEPTION '%s'" to the debug output
// and keeps what it had found. It never leaves a reader.
//
//   throw clsException(u"no xref compressed(%s)", filter.wchar());
#pragma once
#include <cstdarg>

#include "core/strings/String.h"

namespace zx {

class clsException {
 public:
  explicit clsException(const char16_t* format, ...) {
    va_list args;
    va_start(args, format);
    message.VFormat(format, args);
    va_end(args);
  }
  const String& Message() const { return message; }

 private:
  String message;
};

}  // namespace zx
