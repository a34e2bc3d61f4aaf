// OLE strings: a 4-byte byte-length prefix before the text, terminated. On Windows
// the system's SysAllocString family, elsewhere our own with the same layout.
#pragma once
#include <cstdint>

namespace plat {

using Bstr = char16_t*;

Bstr SysAllocLen(const char16_t* text, uint32_t len);   // text may be null
bool SysReAllocLen(Bstr* bstr, const char16_t* text, uint32_t len);
void SysFree(Bstr bstr);
uint32_t SysLen(Bstr bstr);   // characters

}  // namespace plat
