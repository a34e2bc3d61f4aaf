// The locale date and time exports.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "platform/bstr.h"
#include "platform/errors.h"
#include "platform/time_zone.h"
#include "platform/variant.h"
#include "text/LocaleDate.h"
#include "zxUT22.h"

namespace {

constexpr HRESULT kInvalidArg = static_cast<HRESULT>(0x80070057);

plat::SystemTime* St(SYSTEMTIME* t) { return reinterpret_cast<plat::SystemTime*>(t); }
const plat::SystemTime* St(const SYSTEMTIME* t) { return reinterpret_cast<const plat::SystemTime*>(t); }

std::u16string_view View(LPCWSTR text) {
  return text ? std::u16string_view(reinterpret_cast<const char16_t*>(text)) : std::u16string_view();
}

// The text and terminator into out when it fits.
BOOL CopyOut(const zx::String& text, LPWSTR out, UINT outSize) {
  if (!out || outSize == 0 || static_cast<uint64_t>(text.Length()) >= outSize) return 0;
  std::memcpy(out, text.wchar(), static_cast<size_t>(text.Length()) * sizeof(WCHAR));
  out[text.Length()] = 0;
  return 1;
}

}  // namespace

ZXUT_EXPORT LONG ZXUT_API UtilLocSystemTimeFromLocaleString(LCID lcid, BSTR text, SYSTEMTIME* pTime, DWORD flags) {
  const auto* t = reinterpret_cast<const char16_t*>(text);
  const std::u16string_view view = t ? std::u16string_view(t, plat::SysLen(reinterpret_cast<plat::Bstr>(text)))
                                     : std::u16string_view();
  return zx::ReadLocaleDateTime(lcid, view, St(pTime), flags);
}

ZXUT_EXPORT LONG ZXUT_API UtilLocLocaleStringFromSystemTimeEx(LCID lcid, const SYSTEMTIME* pTime, VARIANT* pResult,
                                                             DWORD flags) {
  if (!pResult) return 0;
  const zx::String text = zx::WriteLocaleDateTime(lcid, St(pTime), flags);
  plat::VariantClear(pResult);
  plat::SetBstr(*pResult, plat::SysAllocLen(text.wchar(), static_cast<uint32_t>(text.Length())));
  return 0;
}

ZXUT_EXPORT LONG ZXUT_API UtilLocLocaleStringFromSystemTime(LCID lcid, const SYSTEMTIME* pTime, VARIANT* pResult) {
  return UtilLocLocaleStringFromSystemTimeEx(lcid, pTime, pResult, zx::kWriteTime | zx::kWriteDate);
}

ZXUT_EXPORT BOOL ZXUT_API UtilDateTimeToLocaleString(LPCWSTR compact, LPWSTR out, UINT outSize) {
  if (out && outSize) out[0] = 0;
  const zx::String text = zx::CompactToLocale(View(compact));
  if (text.IsEmpty()) return 1;
  return CopyOut(text, out, outSize);
}

ZXUT_EXPORT BOOL ZXUT_API UtilDateTimeFromLocaleString(LPCWSTR text, LPWSTR out, UINT outSize, DWORD flags) {
  if (out && outSize) out[0] = 0;
  if (!text) return 0;
  zx::String compact;
  if (!zx::CompactFromLocale(View(text), flags, compact)) return 0;
  if (out && outSize) {   // cut to the buffer
    const size_t n = std::min<size_t>(static_cast<size_t>(compact.Length()), outSize - 1);
    std::memcpy(out, compact.wchar(), n * sizeof(WCHAR));
    out[n] = 0;
  }
  return 1;
}

ZXUT_EXPORT LONG ZXUT_API UtilLocDateTimeToSYSTEMTIME(LPCWSTR text, SYSTEMTIME* pTime) {
  zx::DateTimeFromText(View(text), St(pTime));
  return 0;
}

ZXUT_EXPORT HRESULT ZXUT_API UtilLocConvertLocalTimeToUTCTime(SYSTEMTIME* pTime) {
  if (!pTime || pTime->wYear == 0) return kInvalidArg;
  plat::SystemTime utc;
  if (!plat::LocalTimeToUtc(St(pTime), &utc)) return kInvalidArg;
  *St(pTime) = utc;
  return 0;
}

ZXUT_EXPORT HRESULT ZXUT_API UtilLocConvertUTCTimeToLocalTime(SYSTEMTIME* pTime) {
  if (!pTime || pTime->wYear == 0) return kInvalidArg;
  plat::SystemTime local;
  if (!plat::UtcToLocalTime(St(pTime), &local)) return kInvalidArg;
  *St(pTime) = local;
  return 0;
}

ZXUT_EXPORT LONG ZXUT_API UtilLocGetDSTStartAndEndInUTC(UINT year, SYSTEMTIME* pStart, SYSTEMTIME* pEnd) {
  zx::DaylightSavingInUtc(year, St(pStart), St(pEnd));
  return 0;
}
