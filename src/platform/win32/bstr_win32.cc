#include <windows.h>
#include <oleauto.h>

#include "platform/bstr.h"

namespace plat {
namespace {
const OLECHAR* W(const char16_t* p) { return reinterpret_cast<const OLECHAR*>(p); }
BSTR B(Bstr p) { return reinterpret_cast<BSTR>(p); }
}  // namespace

Bstr SysAllocLen(const char16_t* text, uint32_t len) {
  return reinterpret_cast<Bstr>(::SysAllocStringLen(W(text), len));
}
Bstr SysAlloc(const char16_t* text) {
  return reinterpret_cast<Bstr>(::SysAllocString(W(text)));
}
bool SysReAllocLen(Bstr* bstr, const char16_t* text, uint32_t len) {
  if (!bstr) return false;
  return ::SysReAllocStringLen(reinterpret_cast<BSTR*>(bstr), W(text), len) != FALSE;
}
void SysFree(Bstr bstr) { ::SysFreeString(B(bstr)); }
uint32_t SysLen(Bstr bstr) { return ::SysStringLen(B(bstr)); }
uint32_t SysByteLen(Bstr bstr) { return ::SysStringByteLen(B(bstr)); }

}  // namespace plat
