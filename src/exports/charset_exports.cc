// The charset export.
#include "core/charset/CharsetGuess.h"
#include "zxUT22.h"

ZXUT_EXPORT int ZXUT_API UtilGetLikelyCharsetFromString(LPCWSTR text) {
  return zx::GuessLikelyCharset(reinterpret_cast<const char16_t*>(text));
}
