// The compact date text (YYYYMMDD or YYYYMMDDhhmmss) in which the product stores
// dates, and the other forms a stored date may come in: mail headers, ISO 8601,
// whatever the variant conversion reads.
#include <cmath>

#include "core/regex/RegEx.h"
#include "platform/date_format.h"
#include "platform/variant.h"
#include "text/Date.h"
#include "text/LocaleDate.h"
#include "variant/Variant.h"

namespace zx {

namespace {

void Trim(std::u16string_view& text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
}

bool AllDigits(std::u16string_view text) {
  for (char16_t c : text)
    if (c < u'0' || c > u'9') return false;
  return true;
}

// The number in text[at, at + count), as the C runtime reads it (0 when none;
// long digit runs stop growing at 999,999,999).
int Digits(std::u16string_view text, size_t at, size_t count) {
  if (at >= text.size()) return 0;
  const std::u16string_view s = text.substr(at, count);
  size_t i = 0;
  while (i < s.size() && s[i] == u' ') ++i;
  bool negative = false;
  if (i < s.size() && (s[i] == u'-' || s[i] == u'+')) negative = s[i++] == u'-';
  int v = 0;
  for (; i < s.size() && s[i] >= u'0' && s[i] <= u'9'; ++i) v = v > 99999999 ? 999999999 : v * 10 + (s[i] - u'0');
  return negative ? -v : v;
}

String Group(const clsRegExMatchList& list, int n) {
  return n < list.entries() ? list.find(n).text : String();
}

bool Plausible(const plat::SystemTime& t) {
  return t.month >= 1 && t.month <= 12 && t.day >= 1 && t.day <= 31 && t.hour <= 24 && t.minute <= 59 &&
         t.second <= 59;
}

// "Tue, 2 Mar 2021 10:00:00 +0100": the offsets of RFC 822's zone names, in minutes.
int NamedZoneMinutes(const String& zone) {
  static const struct { const char16_t* name; int minutes; } kZones[] = {
      {u"EDT", -240}, {u"EST", -300}, {u"CDT", -300}, {u"CST", -360},
      {u"MDT", -360}, {u"MST", -420}, {u"PDT", -420}, {u"PST", -480}};
  for (const auto& z : kZones)
    if (zone.View().find(z.name) != std::u16string_view::npos) return z.minutes;
  return 0;   // GMT, UT
}

bool FromMailHeader(const String& text, plat::SystemTime& t) {
  thread_local clsRegEx header(String(
      u"(?:\\w{3},\\s+)?(\\d+)\\s+(\\w{3})\\s+(\\d{4})\\s+(\\d+):(\\d+):(\\d+)"
      u"(\\s+(?:[+-]\\d{4}|GMT|EST|EDT|CST|CDT|MST|MDT|PST|PDT|UT))?"));
  thread_local clsRegEx offset(String(u"\\s+([+-])(\\d{2})(\\d{2})"));
  clsRegExMatchList list;
  if (!header.Match(text, &list)) return false;
  static const char16_t* const kMonths[] = {u"jan", u"feb", u"mar", u"apr", u"may", u"jun",
                                            u"jul", u"aug", u"sep", u"oct", u"nov", u"dec"};
  String month = Group(list, 2);
  month.ToLower();
  t = plat::SystemTime{};
  for (int m = 0; m < 12; ++m)
    if (month == kMonths[m]) t.month = static_cast<uint16_t>(m + 1);
  t.day = static_cast<uint16_t>(Digits(Group(list, 1).View(), 0, 10));
  t.year = static_cast<uint16_t>(Digits(Group(list, 3).View(), 0, 4));
  t.hour = static_cast<uint16_t>(Digits(Group(list, 4).View(), 0, 10));
  t.minute = static_cast<uint16_t>(Digits(Group(list, 5).View(), 0, 10));
  t.second = static_cast<uint16_t>(Digits(Group(list, 6).View(), 0, 10));
  if (!Plausible(t)) return false;
  const String zone = Group(list, 7);
  clsRegExMatchList z;
  int minutes = 0;
  if (!zone.IsEmpty() && offset.Match(zone, &z)) {
    minutes = Digits(Group(z, 2).View(), 0, 2) * 60 + Digits(Group(z, 3).View(), 0, 2);
    if (Group(z, 1) == u"-") minutes = -minutes;
  } else if (!zone.IsEmpty()) {
    minutes = NamedZoneMinutes(zone);
  }
  if (minutes) AddMinutesToTime(t, -minutes);   // local = UTC + offset
  return Plausible(t);
}

// 2021-03-02T10:00:00.5+01:00: hyphens may be U+2010, the zone's sign U+2212.
bool FromIso(const String& text, plat::SystemTime& t) {
  thread_local clsRegEx iso(String(
      u"^(\\d{4})[-\u2010](\\d{1,2})[-\u2010](\\d{1,2})[Tt](\\d{1,2}):(\\d{2})(?::(\\d{2})(?:[.,](\\d+))?)?"
      u"\\s*(?:([Zz])|([+\\-\u2010\u2212])(\\d{2}):?(\\d{2})?)?$"));
  clsRegExMatchList list;
  if (!iso.Match(text, &list)) return false;
  t = plat::SystemTime{};
  t.year = static_cast<uint16_t>(Digits(Group(list, 1).View(), 0, 4));
  t.month = static_cast<uint16_t>(Digits(Group(list, 2).View(), 0, 2));
  t.day = static_cast<uint16_t>(Digits(Group(list, 3).View(), 0, 2));
  t.hour = static_cast<uint16_t>(Digits(Group(list, 4).View(), 0, 2));
  t.minute = static_cast<uint16_t>(Digits(Group(list, 5).View(), 0, 2));
  t.second = static_cast<uint16_t>(Digits(Group(list, 6).View(), 0, 2));
  String fraction = Group(list, 7);
  while (fraction.Length() < 3) fraction.Append(u'0');
  t.milliseconds = static_cast<uint16_t>(Digits(fraction.View(), 0, 3));
  if (!Plausible(t)) return false;
  const String sign = Group(list, 9);
  if (!sign.IsEmpty()) {
    int minutes = Digits(Group(list, 10).View(), 0, 2) * 60 + Digits(Group(list, 11).View(), 0, 2);
    if (sign != u"+") minutes = -minutes;
    AddMinutesToTime(t, -minutes);
  }
  return Plausible(t);
}

// An automation date (days since 1899-12-30; before it, the fraction still counts
// forward from the day's start), to the second.
bool FromAutomationDate(double value, plat::SystemTime& t) {
  if (!(value >= -657434.0 && value < 2958466.0)) return false;
  double day = std::trunc(value);
  double seconds = std::round(std::fabs(value - day) * 86400.0);
  if (seconds >= 86400) {
    seconds -= 86400;
    day += value < 0 ? -1 : 1;
  }
  const clsDate date(clsDate::DayNumberOf(1899, 12, 30) + static_cast<int64_t>(day));
  t = plat::SystemTime{};
  t.year = static_cast<uint16_t>(date.Year());
  t.month = static_cast<uint16_t>(date.Month());
  t.day = static_cast<uint16_t>(date.Day());
  t.dayOfWeek = static_cast<uint16_t>(date.DayOfWeek());
  const int s = static_cast<int>(seconds);
  t.hour = static_cast<uint16_t>(s / 3600);
  t.minute = static_cast<uint16_t>(s / 60 % 60);
  t.second = static_cast<uint16_t>(s % 60);
  return true;
}

}  // namespace

String CompactToLocale(std::u16string_view compact) {
  Trim(compact);
  if (compact.empty()) return String();
  plat::SystemTime t{};
  t.year = static_cast<uint16_t>(Digits(compact, 0, 4));
  t.month = static_cast<uint16_t>(Digits(compact, 4, 2));
  t.day = static_cast<uint16_t>(Digits(compact, 6, 2));
  if (compact.size() >= 10) t.hour = static_cast<uint16_t>(Digits(compact, 8, 2));
  if (compact.size() >= 12) t.minute = static_cast<uint16_t>(Digits(compact, 10, 2));
  if (compact.size() >= 14) t.second = static_cast<uint16_t>(Digits(compact, 12, 2));
  return WriteLocaleDateTime(plat::UserDefaultLCID(), &t, kWriteTime | kWriteDate);
}

bool CompactFromLocale(std::u16string_view text, uint32_t flags, String& compact) {
  compact.Clear();
  if ((text.size() == 8 || text.size() == 14) && AllDigits(text)) {
    compact.Assign(text.data(), 0, static_cast<int64_t>(text.size()));
    while (compact.Length() < 14) compact.Append(u'0');
    return true;
  }
  plat::SystemTime t;
  if (ReadLocaleDateTime(plat::UserDefaultLCID(), text, &t, flags) < 0) return false;
  if (t.year != 0) {
    compact.Format(u"%04d%02d%02d%02d%02d%02d", t.year, t.month, t.day, t.hour, t.minute >= 60 ? 0 : t.minute,
                   t.second >= 60 ? 0 : t.second);
  }
  return true;
}

void DateTimeFromText(std::u16string_view text, plat::SystemTime* time) {
  if (!time) return;
  Trim(text);
  if (text.empty()) {
    plat::LocalTimeNow(time);
    return;
  }
  plat::SystemTime t{};
  if (text.size() < 15 && AllDigits(text)) {
    t.year = static_cast<uint16_t>(Digits(text, 0, 4));
    t.month = static_cast<uint16_t>(Digits(text, 4, 2));
    t.day = static_cast<uint16_t>(Digits(text, 6, 2));
    t.hour = static_cast<uint16_t>(Digits(text, 8, 2));
    t.minute = static_cast<uint16_t>(Digits(text, 10, 2));
    t.second = static_cast<uint16_t>(Digits(text, 12, 2));
    *time = t;
    return;
  }
  const String subject(text);
  if (FromMailHeader(subject, t) || FromIso(subject, t)) {
    *time = t;
    return;
  }
  // Whatever the platform's variant conversion makes of it, even nothing.
  clsVariant v;
  plat::SetBstr(v, plat::SysAllocLen(subject.wchar(), static_cast<uint32_t>(subject.Length())));
  *time = plat::SystemTime{};
  if (v.ChangeType(VT_DATE)) FromAutomationDate(v.date, *time);
}

}  // namespace zx
