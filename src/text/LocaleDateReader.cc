// The forgiving date reader: it does not ask the system to parse, but builds
// expressions from the locale's separators and tries them in a fixed order.
#include <map>
#include <memory>

#include "core/regex/RegEx.h"
#include "text/Date.h"
#include "text/LocaleDate.h"
#include "text/LocaleDateInfo.h"

namespace zx {

namespace {

constexpr char16_t kDate[] = u"(?:(\\d+)\\s*%s\\s*)?(?:(\\d+)\\s*%s\\s*)?(\\d+)?";
constexpr char16_t kIsoDate[] =
    u"(\\d+)\\s*-\\s*(0?[1-9]|1[012])(\\s*-\\s*(0?[1-9]|1[0-9]|2[0-9]|3[01])?)";
constexpr char16_t kTime24[] = u"([01]?[0-9]|2[0-3])%s([0-5]?[0-9])(?:%s([0-5]?[0-9]))?";
constexpr char16_t kTime12[] = u"(0?[1-9]|1[012])%s([0-5]?[0-9])(?:%s([0-5]?[0-9]))? *([AP]M)";

// A locale's data and expressions, made once and kept by the thread: building
// them costs many times a reading.
struct scReaderExpressions {
  // The user's default locale has the process's instance, made once.
  explicit scReaderExpressions(uint32_t lcid)
      : own(lcid == clsLocaleDateInfo::UserDefault().m_lcid ? nullptr : std::make_unique<clsLocaleDateInfo>(lcid)),
        info(own ? *own : clsLocaleDateInfo::UserDefault()) {}
  std::unique_ptr<clsLocaleDateInfo> own;
  const clsLocaleDateInfo& info;
  clsRegEx time12, time24;                     // a time alone
  clsRegEx date24, date12, iso24;              // in the order they are tried
};

String Fill(const char16_t* block, const String& sep) {
  String out;
  out.Format(block, sep.wchar(), sep.wchar());
  return out;
}

String Combined(const String& date, const String& time) {
  String out;
  out.Format(u"^%s(?:[ ,]+%s)?$", date.wchar(), time.wchar());
  return out;
}

String Alone(const String& time) {
  String out;
  out.Format(u"^%s$", time.wchar());
  return out;
}

std::unique_ptr<scReaderExpressions> Build(uint32_t lcid) {
  auto e = std::make_unique<scReaderExpressions>(lcid);
  const clsLocaleDateInfo& info = e->info;
  const String date = Fill(kDate, info.m_sDateSep);
  const String time24 = Fill(kTime24, info.m_sTimeSep);
  const String time12 = Fill(kTime12, info.m_sTimeSep);
  e->time12.Compile(Alone(time12), kRegExCaseless);
  e->time24.Compile(Alone(time24), kRegExCaseless);
  e->date24.Compile(Combined(date, time24), kRegExCaseless);
  e->date12.Compile(Combined(date, time12), kRegExCaseless);
  e->iso24.Compile(Combined(String(kIsoDate), time24), kRegExCaseless);
  return e;
}

scReaderExpressions& ExpressionsFor(uint32_t lcid) {
  thread_local std::map<uint32_t, std::unique_ptr<scReaderExpressions>> cache;
  constexpr size_t kMostLocales = 64;   // a caller cycling through identifiers starts over
  if (cache.size() >= kMostLocales && !cache.count(lcid)) cache.clear();
  auto& slot = cache[lcid];
  if (!slot) slot = Build(lcid);
  return *slot;
}

bool IsMissing(const clsRegExMatchList& list, int group) {
  return group >= list.entries() || list.find(group).offset < 0;
}

// The number at the start of a text as the C runtime reads it: white space, a
// sign, digits; clamped to 32 bits.
int64_t Number(const String& text) {
  const std::u16string_view s = text.View();
  size_t i = 0;
  while (i < s.size() && (s[i] == u' ' || (s[i] >= 9 && s[i] <= 13))) ++i;
  bool negative = false;
  if (i < s.size() && (s[i] == u'-' || s[i] == u'+')) negative = s[i++] == u'-';
  int64_t v = 0;
  for (; i < s.size() && s[i] >= u'0' && s[i] <= u'9'; ++i) {
    v = v * 10 + (s[i] - u'0');
    if (v > 0x7FFFFFFF) v = 0x80000000;
  }
  v = negative ? -v : v;
  return v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : v;
}

uint16_t Field(const clsRegExMatchList& list, int group, uint16_t missing) {
  return IsMissing(list, group) ? missing : static_cast<uint16_t>(Number(list.find(group).text));
}

// "12 AM" is midnight, "12 PM" noon, other PM hours add 12.
uint16_t ApplyMarker(uint16_t hour, const String& marker) {
  String upper = marker;
  upper.ToUpper();
  const bool pm = upper.Length() > 0 && upper[0] == u'P';
  if (hour == 12) return pm ? 12 : 0;
  return pm && hour < 12 ? static_cast<uint16_t>(hour + 12) : hour;
}

void Trim(std::u16string_view& text) {
  while (!text.empty() && text.front() == u' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == u' ') text.remove_suffix(1);
}

}  // namespace

int ReadLocaleDateTime(uint32_t lcid, std::u16string_view text, plat::SystemTime* time, uint32_t flags) {
  if (!time) return kDateError;
  *time = plat::SystemTime{};
  Trim(text);
  if (text.empty()) {
    plat::LocalTimeNow(time);
    return 0;
  }
  scReaderExpressions& e = ExpressionsFor(lcid);
  const clsLocaleDateInfo& info = e.info;
  const String subject(text);
  const bool zeroMissing = flags & kReadMissingIsZero;

  clsRegExMatchList list;
  if (flags & kReadTimeAlone) {
    const bool twelve = e.time12.Match(subject, &list);
    if (twelve || e.time24.Match(subject, &list)) {
      // A time alone has no date; seconds it does not give are 0.
      time->hour = Field(list, 1, 0);
      time->minute = Field(list, 2, 0);
      time->second = Field(list, 3, 0);
      if (twelve) time->hour = ApplyMarker(time->hour, list.find(4).text);
      return 0;
    }
  }

  bool twelve = false, iso = false;
  if (!e.date24.Match(subject, &list)) {
    twelve = e.date12.Match(subject, &list);
    if (!twelve) {
      iso = e.iso24.Match(subject, &list);
      if (!iso) return 0;
    }
  }
  const uint16_t missingDate = zeroMissing ? 0 : kNoValue;
  uint16_t v[6];
  for (int k = 0; k < 6; ++k) v[k] = Field(list, k + 1, k < 3 ? missingDate : kNoValue);

  uint16_t day, month, year;
  const int order = iso ? clsLocaleDateInfo::kYearMonthDay : info.m_eDateOrder;
  if (order == clsLocaleDateInfo::kMonthDayYear) {
    month = v[0], day = v[1], year = v[2];
  } else if (order == clsLocaleDateInfo::kYearMonthDay) {
    year = v[0], month = v[1], day = v[2];
  } else {
    day = v[0], month = v[1], year = v[2];
  }

  // Today's date fills what the text lacks; the clock is asked only then.
  int result = 0;
  plat::SystemTime today{};
  bool haveToday = false;
  auto deflt = [&](uint16_t& field, bool missing, uint16_t plat::SystemTime::*part) {
    if (!missing) return;
    if (!zeroMissing && !haveToday) {
      plat::LocalTimeNow(&today);
      haveToday = true;
    }
    field = zeroMissing ? 0 : today.*part;
    if (flags & kReadNeedDate) result = kDateError;
  };
  deflt(day, day == 0 || day == kNoValue, &plat::SystemTime::day);
  deflt(month, month < 1 || month > 65534, &plat::SystemTime::month);
  deflt(year, year < 1 || year > 65534, &plat::SystemTime::year);
  if ((flags & kReadCompleteYear) && year < 100) year = static_cast<uint16_t>(year < 30 ? year + 2000 : year + 1900);

  time->year = year;
  time->month = month;
  time->day = day;
  if (v[3] != kNoValue) {
    time->hour = v[3];
    time->minute = v[4] == kNoValue ? 0 : v[4];
    time->second = v[5] == kNoValue ? 0 : v[5];
  } else if (flags & kReadNoSeconds) {
    time->second = kNoValue;
  }
  if (twelve) time->hour = ApplyMarker(time->hour, list.find(list.entries() - 1).text);

  const clsDate date(year, month, day);
  if (date.IsValid()) time->dayOfWeek = static_cast<uint16_t>(date.DayOfWeek());
  else if (!zeroMissing) result = kDateError;
  return result;
}

}  // namespace zx
