#include <cstdint>

#include "core/regex/RegEx.h"
#include "docinfo/Docu.h"
#include "docinfo/Mail.h"
#include "text/Date.h"

namespace zx {
namespace {

constexpr int64_t kMsPerDay = 86'400'000;

// A decimal field, saturated so that a number too large for the time's 16 bits
// fails the range check instead of wrapping into it.
uint16_t Number(const String& digits) {
  uint32_t v = 0;
  for (char16_t c : digits.View()) {
    if (c < u'0' || c > u'9') break;
    v = v * 10 + (c - u'0');
    if (v >= 0xFFFF) return 0xFFFF;
  }
  return static_cast<uint16_t>(v);
}

int MonthOf(const String& name) {
  static constexpr const char16_t* kMonths[] = {u"jan", u"feb", u"mar", u"apr", u"may", u"jun",
                                                u"jul", u"aug", u"sep", u"oct", u"nov", u"dec"};
  const IString n(name);
  for (int m = 0; m < 12; ++m) {
    if (n.Compare(kMonths[m]) == 0) return m + 1;
  }
  return 0;
}

// SystemTimeToFileTime, a shift in milliseconds, FileTimeToSystemTime: false
// where either conversion would fail (an impossible date, a year outside 1601
// to 30827, a result before 1601).
bool ShiftByMilliseconds(plat::SystemTime& t, int64_t ms) {
  const clsDate date(t.year, t.month, t.day);
  if (t.year < 1601 || t.year > 30827 || !date.IsValid() || t.hour > 23 || t.minute > 59 || t.second > 59 ||
      t.milliseconds > 999)
    return false;
  static const int64_t kEpochDay = clsDate::DayNumberOf(1601, 1, 1);
  int64_t total = (date.DayNumber() - kEpochDay) * kMsPerDay + t.hour * 3'600'000LL + t.minute * 60'000LL +
                  t.second * 1000LL + t.milliseconds + ms;
  if (total < 0) return false;
  const clsDate shifted(kEpochDay + total / kMsPerDay);
  if (shifted.Year() > 30827) return false;
  total %= kMsPerDay;
  t.year = static_cast<uint16_t>(shifted.Year());
  t.month = static_cast<uint16_t>(shifted.Month());
  t.day = static_cast<uint16_t>(shifted.Day());
  t.dayOfWeek = static_cast<uint16_t>(shifted.DayOfWeek());
  t.hour = static_cast<uint16_t>(total / 3'600'000);
  t.minute = static_cast<uint16_t>(total / 60'000 % 60);
  t.second = static_cast<uint16_t>(total / 1000 % 60);
  t.milliseconds = static_cast<uint16_t>(total % 1000);
  return true;
}

void Shift(plat::SystemTime& t, int64_t ms) {
  if (!ShiftByMilliseconds(t, ms)) t = kUnsetSystemTime;
}

}  // namespace

void ParseMailDate(const String& text, plat::SystemTime* time) {
  clsRegEx date(String(
      u"(?:\\w{3},\\s+)?(\\d+)\\s+(\\w{3})\\s+(\\d{4})\\s+(\\d+):(\\d+):(\\d+)"
      u"(\\s+(?:[+-]\\d{4}|GMT|EST|EDT|CST|CDT|MST|MDT|PST|PDT|UT))?"));
  clsRegExMatchList m;
  if (!date.Match(text, &m) || m.entries() < 7) return;
  plat::SystemTime& t = *time;
  t.day = Number(m.find(1).text);
  t.month = static_cast<uint16_t>(MonthOf(m.find(2).text));
  t.year = Number(m.find(3).text);
  t.hour = Number(m.find(4).text);
  t.minute = Number(m.find(5).text);
  t.second = Number(m.find(6).text);
  t.dayOfWeek = 0xFFFF;
  t.milliseconds = 0;
  if (m.entries() < 8 || m.find(7).offset < 0) return;
  const String zone = m.find(7).text;
  clsRegEx numeric(String(u"\\s+([+-])(\\d{2})(\\d{2})"));
  clsRegExMatchList z;
  if (numeric.Match(zone, &z)) {
    const int64_t sign = z.find(1).text == u"+" ? -1 : 1;
    Shift(t, Number(z.find(2).text) * sign * 3'600'000);
    if (!IsUnsetTime(t)) Shift(t, Number(z.find(3).text) * sign * 60'000);
    return;
  }
  // The named zones are compared with the capture as it stands, which begins
  // with white space: no row ever matches, so a named zone leaves the time as
  // written ("GMT" has no row at all). Kept so, since the dates read so far
  // depend on it.
  static constexpr struct {
    const char16_t* name;
    int64_t ms;
  } kZones[] = {{u"UT", 0},          {u"EST", 18000000}, {u"EST", 18000000}, {u"EDT", 14400000},
                {u"CST", 21600000},  {u"CDT", 18000000}, {u"MST", 25200000}, {u"MDT", 21600000},
                {u"PST", 28800000},  {u"PDT", 25200000}};
  for (const auto& row : kZones) {
    if (zone == row.name) {
      Shift(t, row.ms);
      return;
    }
  }
}

bool MailDateInRange(const plat::SystemTime& t) {
  return t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= 31 && t.hour <= 24 && t.minute <= 59 &&
         t.second <= 59;
}

}  // namespace zx
