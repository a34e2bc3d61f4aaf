// OLE strings: a 4-byte byte-length prefix before the text, terminated. On Windows
// the system's SysAllocString family, elsewhere our own with the same layout.
// Errors: allocation failure gives null or false; nothing sets plat::LastError.
// Threads: any thread; one string is not edited by two threads at once.
//
//   plat::Bstr b = plat::SysAlloc(u"text");   // SysLen(b) == 4
//   plat::SysFree(b);
#pragma once
#include <cstdint>

namespace plat {

using Bstr = char16_t*;

// SysAllocStringLen: `len` characters from `text`, or uninitialised ones when text
// is null; always terminated. Null on failure (or a length beyond 0x7FFFFFFA bytes).
Bstr SysAllocLen(const char16_t* text, uint32_t len);
// SysAllocString: up to the terminator; null text gives null.
Bstr SysAlloc(const char16_t* text);
// SysReAllocStringLen: replaces *bstr with a new string (text may point into the
// old one). False when bstr is null or allocation fails (then *bstr is unchanged).
bool SysReAllocLen(Bstr* bstr, const char16_t* text, uint32_t len);
void SysFree(Bstr bstr);
uint32_t SysLen(Bstr bstr);       // characters; 0 for null
uint32_t SysByteLen(Bstr bstr);   // the prefix; 0 for null

}  // namespace plat
