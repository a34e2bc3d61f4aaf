// Dates and times as a locale writes them: GetDateFormatW with DATE_SHORTDATE and
// GetTimeFormatW, and the user's default locale identifier. The locale's pictures
// and marks come from plat::LocaleInfo (locale.h).
//
// Linux: ICU supplies the pictures (its short date and medium time patterns of the
// Gregorian calendar, written as the system's pictures: a year of one or two
// letters becomes "yyyy", as the system's short dates show four digits), the month
// and day names and the AM and PM marks; numbers are always Latin digits and the
// calendar always Gregorian, so that what is written reads back. Bidirectional
// marks of the patterns are left out, and no-break spaces become plain ones.
// Errors: 0 with plat::LastError 87 for a date before 1601 or a field out of range,
// 122 for a short buffer, as the system's functions.
// Threads: any thread.
//
//   char16_t buf[40];
//   plat::FormatShortDate(0x0407, &st, buf, 40);   // "01.02.2021"
#pragma once
#include <cstdint>

#include "platform/timestamp.h"

namespace plat {

constexpr uint32_t kTimeNoSeconds = 0x2;            // TIME_NOSECONDS
constexpr uint32_t kTimeForce24Hour = 0x8;          // TIME_FORCE24HOURFORMAT

uint32_t UserDefaultLCID();

// Characters written including the terminator (or needed, with dstLen 0); 0 on
// failure. A null time means now (local).
int FormatShortDate(uint32_t lcid, const SystemTime* time, char16_t* dst, int dstLen);
// TIME_NOSECONDS drops the seconds and the separator in front of them;
// TIME_FORCE24HOURFORMAT writes 24-hour hours (Linux: without the AM/PM mark).
int FormatTime(uint32_t lcid, uint32_t flags, const SystemTime* time, char16_t* dst, int dstLen);

}  // namespace plat
