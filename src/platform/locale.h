// Locale-aware comparison and case mapping with the outcomes of CompareStringW and
// LCMapStringW/Ex. ICU on Linux, NLS on Windows.
#pragma once
#include <cstdint>

namespace plat {

constexpr uint32_t kLocaleUserDefault = 0x0400;   // 1024
constexpr uint32_t kLocaleInvariant = 0x007F;     // 127
constexpr uint32_t kNormIgnoreCase = 0x00000001;
constexpr uint32_t kLcMapLowercase = 0x00000100;
constexpr uint32_t kLcMapUppercase = 0x00000200;
constexpr uint32_t kLcMapLinguisticCasing = 0x01000000;

uint16_t UserDefaultUILanguage();
uint16_t UserDefaultLangID();

// Returns 1 (less), 2 (equal), 3 (greater), or 0 on failure. Lengths of -1 mean
// zero-terminated.
int CompareStringLocale(uint32_t lcid, uint32_t flags, const char16_t* a, int aLen,
                        const char16_t* b, int bLen);

// LCMapStringW: dstLen 0 asks for the size (in units, including the terminator when
// srcLen counts it). Returns units written or needed; 0 on failure with the
// thread's error number set.
int MapStringLocale(uint32_t lcid, uint32_t flags, const char16_t* src, int srcLen,
                    char16_t* dst, int dstLen);

// GetLocaleInfoW for the given locale: units written including the terminator, or 0.
int LocaleInfo(uint32_t lcid, uint32_t lcType, char16_t* dst, int dstLen);

// The system's version as major << 8 | minor (0x0601 for 6.1); Linux answers 0x0A00.
uint32_t SystemVersion();

}  // namespace plat
