// Code pages beyond 1252/65001/42 on Linux: ICU converters under the Windows
// numbers ("windows-NNNN", else "ibm-NNN"/"cpNNN"), with the system's substitution
// rules: undecodable input becomes the page's default character, unmappable text
// the caller's default character ('?' unless given), best-fit fallbacks unless
// WC_NO_BEST_FIT_CHARS.
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <cstdio>
#include <cstring>
#include <unordered_map>

#include "platform/codepage.h"
#include "platform/internal/codepage_system.h"
#include "platform/errors.h"

namespace plat {

uint32_t AnsiCodePage() { return kCp1252; }
uint32_t OemCodePage() { return 437; }

namespace detail {
namespace {

// Numbers whose ICU converter has another name than windows-N.
const char* SpecialName(uint32_t cp) {
  switch (cp) {
    case 20932:
    case 51932: return "EUC-JP";
    case 50220:
    case 50221:
    case 50222: return "ISO-2022-JP";
    case 50225: return "ISO-2022-KR";
    case 51949: return "EUC-KR";
    case 51936: return "GB2312";
    case 52936: return "HZ";
    default: return nullptr;
  }
}

// UTF-16/32 pages exist only for managed code: MultiByteToWideChar refuses them.
bool Refused(uint32_t cp) { return cp == 1200 || cp == 1201 || cp == 12000 || cp == 12001; }

UConverter* OpenConverter(uint32_t cp) {
  if (Refused(cp)) return nullptr;
  UErrorCode err = U_ZERO_ERROR;
  if (const char* special = SpecialName(cp)) {
    UConverter* c = ucnv_open(special, &err);
    return U_SUCCESS(err) ? c : nullptr;
  }
  static const char* const kPatterns[] = {"windows-%u", "ibm-%u", "cp%u"};
  for (const char* pattern : kPatterns) {
    char name[32];
    std::snprintf(name, sizeof name, pattern, cp);
    err = U_ZERO_ERROR;
    UConverter* c = ucnv_open(name, &err);
    if (U_SUCCESS(err)) return c;
    if (c) ucnv_close(c);
  }
  return nullptr;
}

// One converter per code page and thread: ICU converters are not shared.
class ConverterCache {
 public:
  ~ConverterCache() {
    for (auto& e : map_)
      if (e.second) ucnv_close(e.second);
  }
  UConverter* Get(uint32_t cp) {
    auto it = map_.find(cp);
    if (it == map_.end()) it = map_.emplace(cp, OpenConverter(cp)).first;
    if (it->second) ucnv_reset(it->second);
    return it->second;
  }
 private:
  std::unordered_map<uint32_t, UConverter*> map_;
};

UConverter* Converter(uint32_t cp) {
  thread_local ConverterCache cache;
  return cache.Get(cp);
}

// Pages whose flags must be 0 (or only the error flag where it applies).
bool StrictFlags(uint32_t cp) {
  return cp == 50220 || cp == 50221 || cp == 50222 || cp == 50225 || cp == 50227 ||
         cp == 50229 || cp == 52936 || cp == 54936 || (cp >= 57002 && cp <= 57011) ||
         cp == 65000;
}

struct ToUContext {
  UChar defaultUnit;
  bool stop;
  bool invalid = false;
};

void ToUCallback(const void* context, UConverterToUnicodeArgs* args, const char*, int32_t,
                 UConverterCallbackReason reason, UErrorCode* err) {
  if (reason > UCNV_IRREGULAR) return;  // reset, close, clone
  auto* c = static_cast<ToUContext*>(const_cast<void*>(context));
  c->invalid = true;
  if (c->stop) return;  // leaves the error: the conversion stops
  *err = U_ZERO_ERROR;
  ucnv_cbToUWriteUChars(args, &c->defaultUnit, 1, 0, err);
}

struct FromUContext {
  const char* bytes;
  int32_t length;
  bool used = false;
};

void FromUCallback(const void* context, UConverterFromUnicodeArgs* args, const UChar*, int32_t,
                   UChar32, UConverterCallbackReason reason, UErrorCode* err) {
  if (reason > UCNV_IRREGULAR) return;
  auto* c = static_cast<FromUContext*>(const_cast<void*>(context));
  c->used = true;
  *err = U_ZERO_ERROR;
  ucnv_cbFromUWriteBytes(args, c->bytes, c->length, 0, err);
}

// Runs a whole conversion into dst (or only counts, dst null), filling dst as far
// as it goes. Returns the units produced or needed, -1 with `err` on failure.
template <typename Out, typename In, typename Step>
int Drive(Out* dst, int dstLen, const In* src, int srcLen, Step step, bool& overflow,
          UErrorCode& err) {
  Out scratch[256];
  const In* s = src;
  const In* sEnd = src + srcLen;
  int total = 0;
  overflow = false;
  for (;;) {
    Out* base = dst ? dst + total : scratch;
    Out* limit = dst ? dst + dstLen : scratch + 256;
    Out* t = base;
    err = U_ZERO_ERROR;
    step(&t, limit, &s, sEnd, &err);
    total += static_cast<int>(t - base);
    if (err == U_BUFFER_OVERFLOW_ERROR) {
      if (dst) {
        overflow = true;
        return total;
      }
      continue;  // counting: reuse the scratch block
    }
    if (U_FAILURE(err)) return -1;
    return total;
  }
}

}  // namespace

bool SystemHasCodePage(uint32_t codePage) { return Converter(codePage) != nullptr; }

int SystemMultiByteToWide(uint32_t codePage, uint32_t flags, const char* src, int srcLen,
                          char16_t* dst, int dstLen) {
  if (StrictFlags(codePage) ? (flags & ~(codePage == 54936 ? kMbErrInvalidChars : 0u)) != 0
                            : ((flags & ~(kMbPrecomposed | kMbComposite | kMbUseGlyphChars |
                                          kMbErrInvalidChars)) != 0 ||
                               (flags & 3) == 3)) {
    SetLastError(kErrInvalidFlags);
    return 0;
  }
  UConverter* conv = Converter(codePage);
  if (!conv) {
    SetLastError(kErrInvalidParameter);
    return 0;
  }
  // The default character of the Japanese page is the katakana middle dot.
  ToUContext ctx{codePage == 932 ? UChar(0x30FB) : UChar('?'),
                 (flags & kMbErrInvalidChars) != 0};
  UErrorCode err = U_ZERO_ERROR;
  ucnv_setToUCallBack(conv, ToUCallback, &ctx, nullptr, nullptr, &err);
  bool overflow;
  int n = Drive(
      dst, dstLen, src, srcLen,
      [conv](char16_t** t, char16_t* limit, const char** s, const char* sEnd, UErrorCode* e) {
        UChar* ut = reinterpret_cast<UChar*>(*t);
        ucnv_toUnicode(conv, &ut, reinterpret_cast<UChar*>(limit), s, sEnd, nullptr, true, e);
        *t = reinterpret_cast<char16_t*>(ut);
      },
      overflow, err);
  if (overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  if (n < 0 || (ctx.invalid && ctx.stop)) {
    SetLastError(kErrNoUnicodeTranslation);
    return 0;
  }
  return n;
}

int SystemWideToMultiByte(uint32_t codePage, uint32_t flags, const char16_t* src, int srcLen,
                          char* dst, int dstLen, const char* defaultChar, bool* usedDefault) {
  if (StrictFlags(codePage)) {
    if (flags & ~(codePage == 54936 ? kWcErrInvalidChars : 0u)) {
      SetLastError(kErrInvalidFlags);
      return 0;
    }
    if (defaultChar || usedDefault) {
      SetLastError(kErrInvalidParameter);
      return 0;
    }
  } else if (flags & ~(kWcCompositeCheck | kWcDiscardNs | kWcSepChars | kWcDefaultChar |
                       kWcNoBestFitChars)) {
    SetLastError(kErrInvalidFlags);
    return 0;
  }
  UConverter* conv = Converter(codePage);
  if (!conv) {
    SetLastError(kErrInvalidParameter);
    return 0;
  }
  FromUContext ctx{defaultChar ? defaultChar : "?",
                   defaultChar ? static_cast<int32_t>(strnlen(defaultChar, 2)) : 1};
  if (ctx.length == 0) ctx.length = 1;  // an empty default still stands for one byte
  UErrorCode err = U_ZERO_ERROR;
  ucnv_setFromUCallBack(conv, FromUCallback, &ctx, nullptr, nullptr, &err);
  ucnv_setFallback(conv, (flags & kWcNoBestFitChars) == 0);
  bool overflow;
  int n = Drive(
      dst, dstLen, src, srcLen,
      [conv](char** t, char* limit, const char16_t** s, const char16_t* sEnd, UErrorCode* e) {
        const UChar* us = reinterpret_cast<const UChar*>(*s);
        ucnv_fromUnicode(conv, t, limit, &us, reinterpret_cast<const UChar*>(sEnd), nullptr,
                         true, e);
        *s = reinterpret_cast<const char16_t*>(us);
      },
      overflow, err);
  if (usedDefault) *usedDefault = ctx.used;
  if (overflow) {
    SetLastError(kErrInsufficientBuffer);
    return 0;
  }
  if (n < 0) {
    SetLastError(kErrNoUnicodeTranslation);
    return 0;
  }
  return n;
}

}  // namespace detail
}  // namespace plat
