// Locale services on Linux through ICU, with the calling conventions and outcomes
// of the system's NLS functions.
#include <unicode/ucol.h>
#include <unicode/uchar.h>
#include <unicode/uloc.h>
#include <unicode/unum.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include "platform/codepage.h"
#include "platform/internal/date_pictures.h"
#include "platform/errors.h"
#include "platform/locale.h"

namespace plat {
namespace {

int Fail(uint32_t error) {
  SetLastError(error);
  return 0;
}

int Length(const char16_t* s, int len) {
  if (len >= 0) return len;
  int n = 0;
  while (s[n] && n < 0x7FFFFFFE) ++n;
  return n;
}

// "de_DE.UTF-8@euro" -> "de_DE"; "C"/"POSIX"/unset -> "en_US".
std::string LocaleFromEnvironment(std::initializer_list<const char*> variables) {
  for (const char* var : variables) {
    const char* v = std::getenv(var);
    if (!v || !*v) continue;
    std::string s(v);
    s = s.substr(0, s.find_first_of(".@"));
    if (s.empty() || s == "C" || s == "POSIX") return "en_US";
    return s;
  }
  return "en_US";
}

std::string UserLocale() { return LocaleFromEnvironment({"LC_ALL", "LANG"}); }
std::string UiLocale() { return LocaleFromEnvironment({"LC_ALL", "LC_MESSAGES", "LANG"}); }

uint16_t LangIdOf(const std::string& locale) {
  uint32_t lcid = uloc_getLCID(locale.c_str());
  if (lcid && (lcid & 0xFC00) == 0) {
    // A bare language ("de"): the system always answers with a country, the
    // language's most likely one ("de" -> de-DE).
    char likely[ULOC_FULLNAME_CAPACITY];
    char lang[ULOC_LANG_CAPACITY], country[ULOC_COUNTRY_CAPACITY];
    UErrorCode err = U_ZERO_ERROR;
    uloc_addLikelySubtags(locale.c_str(), likely, sizeof likely, &err);
    uloc_getLanguage(likely, lang, sizeof lang, &err);
    uloc_getCountry(likely, country, sizeof country, &err);
    if (U_SUCCESS(err)) {
      uint32_t full = uloc_getLCID((std::string(lang) + "_" + country).c_str());
      if (full) lcid = full;
    }
  }
  return lcid ? static_cast<uint16_t>(lcid & 0xFFFF) : 0x0409;
}

// The ICU locale of an LCID; false for an LCID the system would not know.
bool IcuLocale(uint32_t lcid, std::string& out) {
  uint32_t lang = lcid & 0xFFFF;
  if (lang == kLocaleNeutral || lang == kLocaleUserDefault || lang == kLocaleSystemDefault) {
    out = UserLocale();
    return true;
  }
  if (lang == kLocaleInvariant) {
    out.clear();  // the root locale
    return true;
  }
  char name[ULOC_FULLNAME_CAPACITY];
  UErrorCode err = U_ZERO_ERROR;
  int32_t n = uloc_getLocaleForLCID(lcid, name, sizeof name, &err);
  if (U_FAILURE(err) || n <= 0) return false;
  out.assign(name, static_cast<size_t>(n));
  return true;
}

// "de-DE" -> "de_DE"; null -> the user's locale; "" -> root.
std::string IcuLocaleFromName(const char16_t* name) {
  if (!name) return UserLocale();
  std::string s = Utf16ToUtf8(name);
  for (char& c : s)
    if (c == '-') c = '_';
  return s;
}

std::string Language(const std::string& locale) {
  char lang[ULOC_LANG_CAPACITY] = {};
  UErrorCode err = U_ZERO_ERROR;
  uloc_getLanguage(locale.c_str(), lang, sizeof lang, &err);
  return U_SUCCESS(err) ? std::string(lang) : std::string();
}

// ---- comparison

constexpr uint32_t kCompareFlags =
    kNormIgnoreCase | kNormIgnoreNonSpace | kNormIgnoreSymbols | kSortDigitsAsNumbers |
    kLinguisticIgnoreCase | kLinguisticIgnoreDiacritic | kSortStringSort | kNormIgnoreKanaType |
    kNormIgnoreWidth | kNormLinguisticCasing;

// Collators are built once per locale and flag set and never changed afterwards;
// ICU allows concurrent comparisons on such a collator.
UCollator* Collator(const std::string& locale, uint32_t flags) {
  // Never destroyed: collators live as long as the process and any thread.
  static std::mutex* mutex = new std::mutex;
  static auto* cache = new std::map<std::pair<std::string, uint32_t>, UCollator*>;
  const uint32_t relevant =
      flags & (kNormIgnoreCase | kNormIgnoreNonSpace | kNormIgnoreSymbols | kSortDigitsAsNumbers |
               kLinguisticIgnoreCase | kLinguisticIgnoreDiacritic);
  auto key = std::make_pair(locale, relevant);
  // Most callers compare in one locale with one flag set: remember the last one
  // per thread and skip the lock.
  thread_local std::pair<std::string, uint32_t> lastKey;
  thread_local UCollator* last = nullptr;
  if (last && lastKey == key) return last;
  std::lock_guard<std::mutex> lock(*mutex);
  auto it = cache->find(key);
  if (it != cache->end()) {
    lastKey = key;
    return last = it->second;
  }
  UErrorCode err = U_ZERO_ERROR;
  UCollator* base = ucol_open(locale.c_str(), &err);
  if (U_FAILURE(err)) return nullptr;
  // The system compares the sharp s like "ss" but for a case-level difference;
  // the Unicode default has it differ at the accent level. Tailor it once.
  int32_t baseLen = 0;
  const UChar* baseRules = ucol_getRules(base, &baseLen);
  std::u16string rules(reinterpret_cast<const char16_t*>(baseRules), static_cast<size_t>(baseLen));
  rules += u"&ss<<<\u00DF";
  UCollator* c = ucol_openRules(reinterpret_cast<const UChar*>(rules.data()),
                                static_cast<int32_t>(rules.size()), UCOL_DEFAULT, UCOL_DEFAULT,
                                nullptr, &err);
  ucol_close(base);
  if (U_FAILURE(err)) return nullptr;
  const bool ignoreCase = relevant & (kNormIgnoreCase | kLinguisticIgnoreCase);
  const bool ignoreMarks = relevant & (kNormIgnoreNonSpace | kLinguisticIgnoreDiacritic);
  if (ignoreMarks) {
    ucol_setStrength(c, UCOL_PRIMARY);
    if (!ignoreCase) ucol_setAttribute(c, UCOL_CASE_LEVEL, UCOL_ON, &err);
  } else if (ignoreCase) {
    ucol_setStrength(c, UCOL_SECONDARY);
  } else {
    ucol_setStrength(c, UCOL_TERTIARY);
  }
  if (relevant & kNormIgnoreSymbols) ucol_setAttribute(c, UCOL_ALTERNATE_HANDLING, UCOL_SHIFTED, &err);
  if (relevant & kSortDigitsAsNumbers) ucol_setAttribute(c, UCOL_NUMERIC_COLLATION, UCOL_ON, &err);
  cache->emplace(key, c);
  lastKey = key;
  return last = c;
}

// ---- case mapping

bool TurkicCasing(const std::string& locale) {
  std::string lang = Language(locale);
  return lang == "tr" || lang == "az";
}

UChar32 MapCase(UChar32 c, bool upper, bool turkic) {
  if (turkic) {
    if (upper && c == 'i') return 0x0130;
    if (upper && c == 0x0131) return 'I';
    if (!upper && c == 'I') return 0x0131;
    if (!upper && c == 0x0130) return 'i';
  }
  UChar32 m = upper ? u_toupper(c) : u_tolower(c);
  // One unit stays one unit, a pair stays a pair.
  return ((c > 0xFFFF) == (m > 0xFFFF)) ? m : c;
}

int MapCaseCore(const std::string& locale, uint32_t flags, const char16_t* src, int srcLen,
                char16_t* dst, int dstLen) {
  if (!src || srcLen == 0 || dstLen < 0 || (!dst && dstLen)) return Fail(kErrInvalidParameter);
  const uint32_t caseBits = flags & (kLcMapUppercase | kLcMapLowercase);
  if ((flags & ~(kLcMapUppercase | kLcMapLowercase | kLcMapLinguisticCasing)) ||
      caseBits == 0 || caseBits == (kLcMapUppercase | kLcMapLowercase))
    return Fail(kErrInvalidFlags);
  const int n = srcLen < 0 ? Length(src, -1) + 1 : srcLen;
  if (dstLen == 0) return n;
  if (dstLen < n) return Fail(kErrInsufficientBuffer);
  const bool upper = caseBits == kLcMapUppercase;
  const bool turkic = (flags & kLcMapLinguisticCasing) && TurkicCasing(locale);
  for (int i = 0; i < n;) {
    char16_t u = src[i];
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < n && src[i + 1] >= 0xDC00 && src[i + 1] <= 0xDFFF) {
      UChar32 c = 0x10000 + ((u - 0xD800) << 10) + (src[i + 1] - 0xDC00);
      UChar32 m = MapCase(c, upper, turkic) - 0x10000;
      dst[i] = char16_t(0xD800 + (m >> 10));
      dst[i + 1] = char16_t(0xDC00 + (m & 0x3FF));
      i += 2;
    } else {
      dst[i] = char16_t(MapCase(u, upper, turkic));
      ++i;
    }
  }
  return n;
}

// ---- locale data

int PutText(const std::u16string& text, char16_t* dst, int dstLen) {
  int n = static_cast<int>(text.size()) + 1;
  if (dstLen == 0) return n;
  if (dstLen < n) return Fail(kErrInsufficientBuffer);
  std::memcpy(dst, text.data(), text.size() * sizeof(char16_t));
  dst[n - 1] = 0;
  return n;
}

int PutNumber(uint32_t value, bool asNumber, char16_t* dst, int dstLen) {
  if (asNumber) {
    if (dstLen == 0) return 2;
    if (dstLen < 2) return Fail(kErrInsufficientBuffer);
    std::memcpy(dst, &value, 4);
    return 2;
  }
  return PutText(Utf8ToUtf16(std::to_string(value)), dst, dstLen);
}

using DisplayFn = int32_t (*)(const char*, const char*, UChar*, int32_t, UErrorCode*);
std::u16string Display(DisplayFn fn, const std::string& locale, const std::string& in) {
  UChar buf[256];
  UErrorCode err = U_ZERO_ERROR;
  int32_t n = fn(locale.c_str(), in.c_str(), buf, 256, &err);
  if (U_FAILURE(err) || n <= 0) return {};
  return std::u16string(reinterpret_cast<const char16_t*>(buf), static_cast<size_t>(std::min(n, 255)));
}

std::u16string NumberSymbol(const std::string& locale, UNumberFormatSymbol symbol) {
  UErrorCode err = U_ZERO_ERROR;
  UNumberFormat* f = unum_open(UNUM_DECIMAL, nullptr, 0, locale.c_str(), nullptr, &err);
  if (U_FAILURE(err)) return {};
  UChar buf[16];
  int32_t n = unum_getSymbol(f, symbol, buf, 16, &err);
  unum_close(f);
  if (U_FAILURE(err) || n <= 0) return {};
  return std::u16string(reinterpret_cast<const char16_t*>(buf), static_cast<size_t>(std::min(n, 15)));
}

// The system's ANSI and OEM code pages of a language (0: a Unicode-only locale).
uint32_t AnsiCodePageOf(const std::string& locale) {
  std::string lang = Language(locale);
  char country[ULOC_COUNTRY_CAPACITY] = {};
  UErrorCode err = U_ZERO_ERROR;
  uloc_getCountry(locale.c_str(), country, sizeof country, &err);
  std::string ctry(country);
  static const std::map<std::string, uint32_t> kByLanguage = {
      {"ja", 932}, {"ko", 949}, {"th", 874}, {"vi", 1258}, {"el", 1253}, {"tr", 1254},
      {"az", 1254}, {"he", 1255}, {"ar", 1256}, {"fa", 1256}, {"ur", 1256}, {"et", 1257},
      {"lv", 1257}, {"lt", 1257}, {"cs", 1250}, {"hu", 1250}, {"pl", 1250}, {"ro", 1250},
      {"sk", 1250}, {"sl", 1250}, {"hr", 1250}, {"sq", 1250}, {"bs", 1250}, {"ru", 1251},
      {"uk", 1251}, {"be", 1251}, {"bg", 1251}, {"mk", 1251}, {"sr", 1251}, {"kk", 1251},
      {"ky", 1251}, {"tt", 1251}, {"mn", 1251}, {"hi", 0},    {"bn", 0},    {"ta", 0},
      {"te", 0},    {"mr", 0},    {"gu", 0},    {"kn", 0},    {"ml", 0},    {"pa", 0},
      {"hy", 0},    {"ka", 0}};
  if (lang == "zh") return (ctry == "TW" || ctry == "HK" || ctry == "MO") ? 950 : 936;
  auto it = kByLanguage.find(lang);
  return it != kByLanguage.end() ? it->second : 1252;
}

uint32_t OemCodePageOf(const std::string& locale) {
  switch (AnsiCodePageOf(locale)) {
    case 1250: return 852;
    case 1251: return 866;
    case 1253: return 737;
    case 1254: return 857;
    case 1255: return 862;
    case 1256: return 720;
    case 1257: return 775;
    case 1252: {
      char country[ULOC_COUNTRY_CAPACITY] = {};
      UErrorCode err = U_ZERO_ERROR;
      uloc_getCountry(locale.c_str(), country, sizeof country, &err);
      return (Language(locale) == "en" && std::strcmp(country, "US") == 0) ? 437 : 850;
    }
    case 0: return 1;
    default: return AnsiCodePageOf(locale);   // the East Asian pages and 874/1258
  }
}

}  // namespace

uint16_t UserDefaultUILanguage() { return LangIdOf(UiLocale()); }
uint16_t UserDefaultLangID() { return LangIdOf(UserLocale()); }

int CompareStringLocale(uint32_t lcid, uint32_t flags, const char16_t* a, int aLen,
                        const char16_t* b, int bLen) {
  if (!a || !b) return Fail(kErrInvalidParameter);
  if (flags & ~kCompareFlags) return Fail(kErrInvalidFlags);
  std::string locale;
  if (!IcuLocale(lcid, locale)) return Fail(kErrInvalidParameter);
  UCollator* c = Collator(locale, flags);
  if (!c) return Fail(kErrInvalidParameter);
  UCollationResult r = ucol_strcoll(c, reinterpret_cast<const UChar*>(a), Length(a, aLen),
                                    reinterpret_cast<const UChar*>(b), Length(b, bLen));
  return r == UCOL_LESS ? 1 : r == UCOL_EQUAL ? 2 : 3;
}

int MapStringLocale(uint32_t lcid, uint32_t flags, const char16_t* src, int srcLen,
                    char16_t* dst, int dstLen) {
  std::string locale;
  if (!IcuLocale(lcid, locale)) return Fail(kErrInvalidParameter);
  return MapCaseCore(locale, flags, src, srcLen, dst, dstLen);
}

bool HasMapStringLocaleEx() { return true; }

int MapStringLocaleEx(const char16_t* localeName, uint32_t flags, const char16_t* src,
                      int srcLen, char16_t* dst, int dstLen) {
  return MapCaseCore(IcuLocaleFromName(localeName), flags, src, srcLen, dst, dstLen);
}

int LocaleInfo(uint32_t lcid, uint32_t lcType, char16_t* dst, int dstLen) {
  if (dstLen < 0 || (!dst && dstLen)) return Fail(kErrInvalidParameter);
  std::string locale;
  if (!IcuLocale(lcid, locale)) return Fail(kErrInvalidParameter);
  const bool asNumber = lcType & kLocaleReturnNumber;
  const uint32_t type = lcType & ~(kLocaleReturnNumber | kLocaleNoUserOverride);
  const bool invariant = (lcid & 0xFFFF) == kLocaleInvariant;
  const std::string ui = UiLocale();
  if (asNumber && type != kLocaleILanguage && type != kLocaleIDefaultCodePage &&
      type != kLocaleIDefaultAnsiCodePage)
    return Fail(kErrInvalidFlags);
  switch (type) {
    case kLocaleILanguage: {
      uint32_t id = invariant ? kLocaleInvariant : LangIdOf(locale);
      if (asNumber) return PutNumber(id, true, dst, dstLen);
      char hex[8];
      std::snprintf(hex, sizeof hex, "%04x", id);
      return PutText(Utf8ToUtf16(hex), dst, dstLen);
    }
    case kLocaleSName: {
      std::string name = invariant ? std::string() : locale;
      for (char& ch : name)
        if (ch == '_') ch = '-';
      return PutText(Utf8ToUtf16(name), dst, dstLen);
    }
    case kLocaleSIso639LangName:
      return PutText(invariant ? u"iv" : Utf8ToUtf16(Language(locale)), dst, dstLen);
    case kLocaleSIso3166CtryName: {
      char country[ULOC_COUNTRY_CAPACITY] = {};
      UErrorCode err = U_ZERO_ERROR;
      uloc_getCountry(locale.c_str(), country, sizeof country, &err);
      return PutText(invariant ? u"IV" : Utf8ToUtf16(country), dst, dstLen);
    }
    case kLocaleSEngLanguage:
      return PutText(invariant ? u"Invariant Language" : Display(uloc_getDisplayLanguage, locale, "en"),
                     dst, dstLen);
    case kLocaleSEngCountry:
      return PutText(invariant ? u"Invariant Country" : Display(uloc_getDisplayCountry, locale, "en"),
                     dst, dstLen);
    case kLocaleSLanguage:
      return PutText(invariant ? u"Invariant Language (Invariant Country)"
                               : Display(uloc_getDisplayName, locale, ui),
                     dst, dstLen);
    case kLocaleSCountry:
      return PutText(invariant ? u"Invariant Country" : Display(uloc_getDisplayCountry, locale, ui),
                     dst, dstLen);
    case kLocaleSNativeLangName:
      return PutText(invariant ? u"Invariant Language" : Display(uloc_getDisplayLanguage, locale, locale),
                     dst, dstLen);
    case kLocaleSNativeCtryName:
      return PutText(invariant ? u"Invariant Country" : Display(uloc_getDisplayCountry, locale, locale),
                     dst, dstLen);
    case kLocaleIDefaultAnsiCodePage:
      return PutNumber(invariant ? 1252 : AnsiCodePageOf(locale), asNumber, dst, dstLen);
    case kLocaleIDefaultCodePage:
      return PutNumber(invariant ? 437 : OemCodePageOf(locale), asNumber, dst, dstLen);
    case kLocaleSDecimal:
      return PutText(invariant ? u"." : NumberSymbol(locale, UNUM_DECIMAL_SEPARATOR_SYMBOL), dst, dstLen);
    case kLocaleSThousand:
      return PutText(invariant ? u"," : NumberSymbol(locale, UNUM_GROUPING_SEPARATOR_SYMBOL), dst, dstLen);
    default: {
      std::u16string text;
      if (!DateLocaleText(invariant ? std::string() : locale, type, text)) return Fail(kErrInvalidFlags);
      return PutText(text, dst, dstLen);
    }
  }
}

bool IcuLocaleOfLcid(uint32_t lcid, std::string& out) { return IcuLocale(lcid, out); }

uint32_t SystemVersion() { return 0x0A00; }

}  // namespace plat
