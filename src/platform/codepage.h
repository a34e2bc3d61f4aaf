// Code-page conversion with the outcomes of the system's MultiByteToWideChar and
// WideCharToMultiByte. 1252 and 65001 use our own tables and decoder on every OS;
// other code pages go through the system (ICU on Linux, NLS on Windows).
#pragma once
#include <cstdint>

namespace plat {

constexpr uint32_t kCpAcp = 0;       // the process's ANSI code page
constexpr uint32_t kCpUtf8 = 65001;
constexpr uint32_t kMbPrecomposed = 1;
constexpr uint32_t kMbErrInvalidChars = 8;

// The system's ANSI code page: 1252 on Linux.
uint32_t AnsiCodePage();
bool IsValidCodePage(uint32_t codePage);

// srcLen -1 means "up to and including the terminator". dst null or dstLen 0 asks
// for the size. Returns units written (or needed); 0 on failure with the thread's
// error number set (122 buffer too small, 87 bad argument, 1113 no mapping).
int MultiByteToWide(uint32_t codePage, uint32_t flags, const char* src, int srcLen,
                    char16_t* dst, int dstLen);
int WideToMultiByte(uint32_t codePage, uint32_t flags, const char16_t* src, int srcLen,
                    char* dst, int dstLen, const char* defaultChar = nullptr,
                    bool* usedDefault = nullptr);

}  // namespace plat
