// Code-page conversion with the outcomes of the system's MultiByteToWideChar and
// WideCharToMultiByte. 1252, 65001 and the symbol page 42 use our own tables and
// decoder on every OS; other code pages go through the system (ICU on Linux, NLS
// on Windows).
// Errors: the converters return 0 and set plat::LastError (see below).
// Threads: any thread; no state beyond tables built once.
//
//   int n = plat::MultiByteToWide(plat::kCpUtf8, 0, "abc", -1, nullptr, 0);   // 4
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace plat {

constexpr uint32_t kCpAcp = 0;        // the process's ANSI code page
constexpr uint32_t kCpOemCp = 1;      // the process's OEM code page
constexpr uint32_t kCpMacCp = 2;
constexpr uint32_t kCpThreadAcp = 3;
constexpr uint32_t kCpSymbol = 42;
constexpr uint32_t kCp1252 = 1252;
constexpr uint32_t kCpUtf8 = 65001;

// MultiByteToWideChar flags.
constexpr uint32_t kMbPrecomposed = 1;
constexpr uint32_t kMbComposite = 2;
constexpr uint32_t kMbUseGlyphChars = 4;
constexpr uint32_t kMbErrInvalidChars = 8;
// WideCharToMultiByte flags.
constexpr uint32_t kWcCompositeCheck = 0x200;
constexpr uint32_t kWcDiscardNs = 0x10;
constexpr uint32_t kWcSepChars = 0x20;
constexpr uint32_t kWcDefaultChar = 0x40;
constexpr uint32_t kWcErrInvalidChars = 0x80;
constexpr uint32_t kWcNoBestFitChars = 0x400;

// The system's ANSI code page: 1252 on Linux.
uint32_t AnsiCodePage();
// The OEM code page: 437 on Linux.
uint32_t OemCodePage();
bool IsValidCodePage(uint32_t codePage);

// srcLen -1 means "up to and including the terminator". dst null and dstLen 0 asks
// for the size. Returns units written (or needed); 0 on failure with the thread's
// error number set (122 buffer too small, 87 bad argument or unknown code page,
// 1004 bad flags, 1113 invalid input with kMbErrInvalidChars/kWcErrInvalidChars).
// As on Windows, a too-small buffer is filled as far as it goes before failing.
int MultiByteToWide(uint32_t codePage, uint32_t flags, const char* src, int srcLen,
                    char16_t* dst, int dstLen);
int WideToMultiByte(uint32_t codePage, uint32_t flags, const char16_t* src, int srcLen,
                    char* dst, int dstLen, const char* defaultChar = nullptr,
                    bool* usedDefault = nullptr);

// Lossless-where-possible helpers for the platform layer's own UTF-8 boundaries
// (file names, environment, files of the registry store): invalid input becomes
// U+FFFD, as the converters above do it.
std::string Utf16ToUtf8(std::u16string_view text);
std::u16string Utf8ToUtf16(std::string_view text);

}  // namespace plat
