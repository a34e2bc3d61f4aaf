// Code pages beyond 1252/65001/42 on Windows: the system's own converters.
#include <windows.h>

#include "platform/codepage.h"
#include "platform/internal/codepage_system.h"

namespace plat {

uint32_t AnsiCodePage() { return ::GetACP(); }
uint32_t OemCodePage() { return ::GetOEMCP(); }

namespace detail {

bool SystemHasCodePage(uint32_t codePage) { return ::IsValidCodePage(codePage) != FALSE; }

int SystemMultiByteToWide(uint32_t codePage, uint32_t flags, const char* src, int srcLen,
                          char16_t* dst, int dstLen) {
  return ::MultiByteToWideChar(codePage, flags, src, srcLen, reinterpret_cast<wchar_t*>(dst),
                               dstLen);
}

int SystemWideToMultiByte(uint32_t codePage, uint32_t flags, const char16_t* src, int srcLen,
                          char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
  BOOL used = FALSE;
  int n = ::WideCharToMultiByte(codePage, flags, reinterpret_cast<const wchar_t*>(src), srcLen,
                                dst, dstLen, defaultChar, usedDefault ? &used : nullptr);
  if (usedDefault) *usedDefault = used != FALSE;
  return n;
}

}  // namespace detail
}  // namespace plat
