// Locale-aware comparison, case mapping and locale data with the outcomes of
// CompareStringW, LCMapStringW/Ex and GetLocaleInfoW. ICU on Linux, NLS on Windows.
//
// Linux: the user's locale comes from the environment (LC_ALL, then LANG; for the
// UI language LC_ALL, LC_MESSAGES, LANG), "de_DE.UTF-8" -> 0x0407; "C", "POSIX" or
// nothing -> en-US (0x0409).
// Errors: the comparison, mapping and locale-data calls return 0 on failure with
// plat::LastError set; MapStringLocaleEx returns -1 where the system lacks it.
// Threads: any thread.
//
//   int r = plat::CompareStringLocale(plat::kLocaleUserDefault, plat::kNormIgnoreCase, a, -1, b, -1);
#pragma once
#include <cstdint>

namespace plat {

constexpr uint32_t kLocaleNeutral = 0x0000;
constexpr uint32_t kLocaleUserDefault = 0x0400;   // 1024
constexpr uint32_t kLocaleSystemDefault = 0x0800;
constexpr uint32_t kLocaleInvariant = 0x007F;     // 127

// CompareStringW flags.
constexpr uint32_t kNormIgnoreCase = 0x00000001;
constexpr uint32_t kNormIgnoreNonSpace = 0x00000002;
constexpr uint32_t kNormIgnoreSymbols = 0x00000004;
constexpr uint32_t kSortDigitsAsNumbers = 0x00000008;
constexpr uint32_t kLinguisticIgnoreCase = 0x00000010;
constexpr uint32_t kLinguisticIgnoreDiacritic = 0x00000020;
constexpr uint32_t kSortStringSort = 0x00001000;
constexpr uint32_t kNormIgnoreKanaType = 0x00010000;
constexpr uint32_t kNormIgnoreWidth = 0x00020000;
constexpr uint32_t kNormLinguisticCasing = 0x08000000;
// LCMapStringW flags.
constexpr uint32_t kLcMapLowercase = 0x00000100;
constexpr uint32_t kLcMapUppercase = 0x00000200;
constexpr uint32_t kLcMapLinguisticCasing = 0x01000000;

// GetLocaleInfoW types that both OSes answer.
constexpr uint32_t kLocaleILanguage = 0x0001;            // "0407"
constexpr uint32_t kLocaleSLanguage = 0x0002;            // "German (Germany)", in the UI language
constexpr uint32_t kLocaleSNativeLangName = 0x0004;      // "Deutsch"
constexpr uint32_t kLocaleSCountry = 0x0006;             // "Germany", in the UI language
constexpr uint32_t kLocaleSNativeCtryName = 0x0008;      // "Deutschland"
constexpr uint32_t kLocaleIDefaultCodePage = 0x000B;     // OEM code page, "850"
constexpr uint32_t kLocaleSDecimal = 0x000E;             // ","
constexpr uint32_t kLocaleSThousand = 0x000F;            // "."
constexpr uint32_t kLocaleSIso639LangName = 0x0059;      // "de"
constexpr uint32_t kLocaleSIso3166CtryName = 0x005A;     // "DE"
constexpr uint32_t kLocaleSName = 0x005C;                // "de-DE"
constexpr uint32_t kLocaleSEngLanguage = 0x1001;         // "German"
constexpr uint32_t kLocaleSEngCountry = 0x1002;          // "Germany"
constexpr uint32_t kLocaleIDefaultAnsiCodePage = 0x1004; // "1252"
// Date and time (Linux: from ICU's short date and medium time patterns of the
// Gregorian calendar, as the system's pictures; see date_format.h).
constexpr uint32_t kLocaleSDate = 0x001D;                // date separator, "."
constexpr uint32_t kLocaleSTime = 0x001E;                // time separator, ":"
constexpr uint32_t kLocaleSShortDate = 0x001F;           // short-date picture, "dd.MM.yyyy"
constexpr uint32_t kLocaleIDate = 0x0021;                // "0" M-D-Y, "1" D-M-Y, "2" Y-M-D
constexpr uint32_t kLocaleITime = 0x0023;                // "0" 12-hour, "1" 24-hour
constexpr uint32_t kLocaleS1159 = 0x0028;                // AM mark
constexpr uint32_t kLocaleS2359 = 0x0029;                // PM mark
constexpr uint32_t kLocaleSTimeFormat = 0x1003;          // time picture, "HH:mm:ss"
constexpr uint32_t kLocaleNoUserOverride = 0x80000000;
constexpr uint32_t kLocaleReturnNumber = 0x20000000;     // I* types as a 32-bit number

uint16_t UserDefaultUILanguage();
uint16_t UserDefaultLangID();

// Returns 1 (less), 2 (equal), 3 (greater), or 0 on failure (87 null text, 1004
// unknown flags). Lengths of -1 (any negative) mean zero-terminated. Linux:
// NORM_IGNORECASE/LINGUISTIC_IGNORECASE compare at secondary strength,
// NORM_IGNORENONSPACE/LINGUISTIC_IGNOREDIACRITIC at primary (with the case level
// unless case is ignored too), NORM_IGNORESYMBOLS shifts punctuation and symbols out,
// SORT_DIGITSASNUMBERS compares numbers by value; width and kana flags are accepted
// and have no effect.
int CompareStringLocale(uint32_t lcid, uint32_t flags, const char16_t* a, int aLen,
                        const char16_t* b, int bLen);

// LCMapStringW for case mapping: LCMAP_UPPERCASE or LCMAP_LOWERCASE, optionally with
// LCMAP_LINGUISTIC_CASING. One unit in, one unit out (as the system maps case, "ß"
// stays "ß"); with linguistic casing a Turkish or Azeri locale maps the dotted and
// dotless i. dst may equal src. dstLen 0 asks for the size (in units, including the
// terminator when srcLen is -1). Returns units written or needed; 0 on failure with
// the thread's error number set (87, 122, 1004 for other flags on Linux).
int MapStringLocale(uint32_t lcid, uint32_t flags, const char16_t* src, int srcLen,
                    char16_t* dst, int dstLen);
// LCMapStringEx with a locale name ("" invariant, "de-DE", null the user's locale).
// Returns -1 when the system lacks the function (HasMapStringLocaleEx false).
bool HasMapStringLocaleEx();
int MapStringLocaleEx(const char16_t* localeName, uint32_t flags, const char16_t* src,
                      int srcLen, char16_t* dst, int dstLen);

// GetLocaleInfoW for the types above: units written including the terminator (or
// needed, dstLen 0), or 0 with 87/122/1004 (an unknown type on Linux).
int LocaleInfo(uint32_t lcid, uint32_t lcType, char16_t* dst, int dstLen);

// The system's version as major << 8 | minor (0x0601 for 6.1); Linux answers 0x0A00.
uint32_t SystemVersion();

}  // namespace plat
