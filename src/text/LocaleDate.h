// Dates and times as people type them in a locale, the compact form of 8 or 14
// digits in which the product stores dates, and the time-zone conversions.
// Threads: any thread (the reader keeps its compiled expressions per thread).
#pragma once
#include <cstdint>
#include <string_view>

#include "core/strings/String.h"
#include "platform/timestamp.h"

namespace zx {

constexpr uint16_t kNoValue = 65535;   // a field the text did not give
constexpr int kDateError = -52;

// Reader flags.
enum : uint32_t {
  kReadCompleteYear = 0x1,    // 0..29 -> 2000..2029, 30..99 -> 1930..1999
  kReadNeedDate = 0x2,        // a date part the text lacks gives -52 (still filled in)
  kReadMissingIsZero = 0x4,   // lacking parts stay 0 instead of today's
  kReadTimeAlone = 0x8,       // a time without a date is accepted
  kReadNoSeconds = 0x10,      // without a time, only the seconds become 65535
};
// Writer flags.
enum : uint32_t {
  kWriteNoSeconds = 0x1,
  kWriteTime = 0x2,
  kWriteDate = 0x4,
  kWrite24Hours = 0x10,
};

// The forgiving reader: expressions made of the locale's separators, tried as
// date with 24-hour time, date with 12-hour time, ISO date with 24-hour time.
// 0, or -52 for a date that is not valid (or missing, with kReadNeedDate).
// Text that fits no expression gives 0 and a zeroed *time.
int ReadLocaleDateTime(uint32_t lcid, std::u16string_view text, plat::SystemTime* time, uint32_t flags);
// The locale's short date and/or time, joined by a space; null time: now.
String WriteLocaleDateTime(uint32_t lcid, const plat::SystemTime* time, uint32_t flags);
// The short-date picture applied by hand, for dates the system will not format.
String FormatByPicture(const String& picture, const plat::SystemTime& time);

// Compact text -> the user's locale's date and time (the time left out at
// 00:00:00). Missing or non-digit places read as 0.
String CompactToLocale(std::u16string_view compact);
// Text in the user's locale (or already compact, 8 or 14 digits) -> 14 digits;
// false when the reader gives an error. A text without a date gives an empty
// result.
bool CompactFromLocale(std::u16string_view text, uint32_t flags, String& compact);
// Compact digits, a mail header date, an ISO 8601 date and time, or whatever the
// variant conversion makes of the text.
void DateTimeFromText(std::u16string_view text, plat::SystemTime* time);

// Daylight-saving time of a year in UTC; false (both zero) without it.
bool DaylightSavingInUtc(uint32_t year, plat::SystemTime* start, plat::SystemTime* end);

}  // namespace zx
