// The start and end of daylight-saving time of a year, in UTC, from the zone's
// rule: absolute dates, or the n-th weekday of a month (5 the last).
#include "platform/time_zone.h"
#include "text/Date.h"
#include "text/LocaleDate.h"

namespace zx {

namespace {

// A rule date of the zone as a date of `year`; false when the rule has none.
bool RuleDate(const plat::SystemTime& rule, uint32_t year, clsDate& date) {
  if (rule.month == 0) return false;
  if (rule.year != 0) date = clsDate(year, rule.month, rule.day);
  else date = clsDate::NthWeekday(year, rule.month, rule.dayOfWeek, rule.day);
  return true;
}

// The rule's date and time plus `minutes`, as UTC; file times cover 1601 to 30827.
bool ToUtc(const clsDate& date, const plat::SystemTime& rule, int64_t minutes, plat::SystemTime& out) {
  const int64_t ms = (((date.DayNumber() * 24 + rule.hour) * 60 + rule.minute + minutes) * 60 + rule.second) * 1000 +
                     rule.milliseconds;
  const int64_t day = ms / 86400000;
  const int64_t rest = ms % 86400000;
  if (ms < 0) return false;
  const clsDate d(day);
  if (d.Year() < 1601 || d.Year() > 30827) return false;
  out.year = static_cast<uint16_t>(d.Year());
  out.month = static_cast<uint16_t>(d.Month());
  out.day = static_cast<uint16_t>(d.Day());
  out.dayOfWeek = static_cast<uint16_t>(d.DayOfWeek());
  out.hour = static_cast<uint16_t>(rest / 3600000);
  out.minute = static_cast<uint16_t>(rest / 60000 % 60);
  out.second = static_cast<uint16_t>(rest / 1000 % 60);
  out.milliseconds = static_cast<uint16_t>(rest % 1000);
  return true;
}

}  // namespace

bool DaylightSavingInUtc(uint32_t year, plat::SystemTime* start, plat::SystemTime* end) {
  plat::SystemTime s{}, e{};
  if (start) *start = s;
  if (end) *end = e;
  if (year < 1601 || year > 30827) return false;
  plat::TimeZoneRule rule;
  const uint32_t id = plat::TimeZoneRuleForYear(static_cast<uint16_t>(year), &rule);
  if (id == plat::kTimeZoneIdUnknown || id == plat::kTimeZoneIdInvalid) return false;
  clsDate date;
  if (RuleDate(rule.daylightDate, year, date)) ToUtc(date, rule.daylightDate, rule.bias, s);
  if (RuleDate(rule.standardDate, year, date)) ToUtc(date, rule.standardDate, rule.bias + rule.daylightBias, e);
  if (start) *start = s;
  if (end) *end = e;
  return true;
}

}  // namespace zx
