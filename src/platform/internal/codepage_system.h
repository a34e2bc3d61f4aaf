// Internal seam between the shared converter front end (codepage.cc) and the code
// pages the OS provides (ICU on Linux, NLS on Windows). Arguments are validated and
// the code page is resolved (0..3 -> a real page) before these are called.
#pragma once
#include <cstdint>

namespace plat::detail {

// Same contract as MultiByteToWide/WideToMultiByte; srcLen is already > 0.
int SystemMultiByteToWide(uint32_t codePage, uint32_t flags, const char* src, int srcLen,
                          char16_t* dst, int dstLen);
int SystemWideToMultiByte(uint32_t codePage, uint32_t flags, const char16_t* src, int srcLen,
                          char* dst, int dstLen, const char* defaultChar, bool* usedDefault);
bool SystemHasCodePage(uint32_t codePage);

}  // namespace plat::detail
