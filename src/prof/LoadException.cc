#include "prof/LoadException.h"

#include "core/diag/Diag.h"

namespace zx {

clsLoadException::clsLoadException(uint32_t lineNumber, const char16_t* text, const String& fieldPath)
    : line(lineNumber), message(text), path(fieldPath) {
  DiagFormat(u"PROF load error line %d: '%s'", static_cast<int>(line), message.wchar());
}

}  // namespace zx
