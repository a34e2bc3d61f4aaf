// Dates and times by locale: the system's GetDateFormatW and GetTimeFormatW.
#include <windows.h>

#include <cstring>

#include "platform/date_format.h"

namespace plat {
namespace {

static_assert(sizeof(SYSTEMTIME) == sizeof(SystemTime), "SYSTEMTIME is 16 bytes");

const SYSTEMTIME* St(const SystemTime* t) { return reinterpret_cast<const SYSTEMTIME*>(t); }
wchar_t* W(char16_t* p) { return reinterpret_cast<wchar_t*>(p); }

}  // namespace

uint32_t UserDefaultLCID() { return ::GetUserDefaultLCID(); }

int FormatShortDate(uint32_t lcid, const SystemTime* time, char16_t* dst, int dstLen) {
  return ::GetDateFormatW(lcid, DATE_SHORTDATE, St(time), nullptr, W(dst), dstLen);
}

int FormatTime(uint32_t lcid, uint32_t flags, const SystemTime* time, char16_t* dst, int dstLen) {
  return ::GetTimeFormatW(lcid, flags, St(time), nullptr, W(dst), dstLen);
}

}  // namespace plat
