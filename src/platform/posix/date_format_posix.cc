// Linux: dates and times by locale. ICU's short date and medium time patterns of
// the Gregorian calendar become the system's pictures; one picture formatter
// writes them with ICU's names and marks, as GetDateFormatW and GetTimeFormatW do.
#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/codepage.h"
#include "platform/date_format.h"
#include "platform/errors.h"
#include "platform/internal/date_pictures.h"
#include "platform/locale.h"

namespace plat {
namespace {

int Fail(uint32_t error) {
  SetLastError(error);
  return 0;
}

bool IsBidiMark(char16_t c) { return c == 0x200E || c == 0x200F || c == 0x061C; }
bool IsPatternLetter(char16_t c) { return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'); }

// An ICU pattern as the system's picture: d, M, y, g, h, H, m, s, t, and 'text'.
std::u16string PictureOf(const icu::UnicodeString& pattern) {
  std::u16string out;
  const int32_t n = pattern.length();
  for (int32_t i = 0; i < n;) {
    const char16_t c = pattern.charAt(i);
    if (c == u'\'') {   // quoted text, '' a quote
      int32_t j = i + 1;
      std::u16string literal;
      for (; j < n; ++j) {
        if (pattern.charAt(j) != u'\'') { literal += pattern.charAt(j); continue; }
        if (j + 1 < n && pattern.charAt(j + 1) == u'\'') { literal += u'\''; ++j; continue; }
        break;
      }
      if (j == i + 1 && j < n) literal = u"''";   // a lone '' is one quote
      else literal = u"'" + literal + u"'";
      out += literal;
      i = j + 1;
      continue;
    }
    if (!IsPatternLetter(c)) {
      // The system's pictures have plain spaces where ICU has no-break ones.
      if (!IsBidiMark(c)) out += (c == 0x202F || c == 0x00A0) ? u' ' : c;
      ++i;
      continue;
    }
    int32_t count = 1;
    while (i + count < n && pattern.charAt(i + count) == c) ++count;
    i += count;
    auto repeat = [&](char16_t letter, int32_t k) { out.append(static_cast<size_t>(k), letter); };
    switch (c) {
      case u'd': repeat(u'd', std::min(count, 2)); break;
      case u'M': case u'L': repeat(u'M', std::min(count, 4)); break;
      case u'y': case u'u': case u'U': out += u"yyyy"; break;   // four digits, as the system's
      case u'E': case u'c': case u'e': repeat(u'd', count >= 4 ? 4 : 3); break;
      case u'G': out += u"g"; break;
      case u'H': case u'k': repeat(u'H', std::min(count, 2)); break;
      case u'h': case u'K': repeat(u'h', std::min(count, 2)); break;
      case u'm': repeat(u'm', std::min(count, 2)); break;
      case u's': repeat(u's', std::min(count, 2)); break;
      case u'a': case u'b': case u'B': out += u"tt"; break;
      default: break;   // zones, fractions, week numbers: the pictures have none
    }
  }
  // Fields dropped at either end leave their separators behind.
  while (!out.empty() && out.back() == u' ') out.pop_back();
  while (!out.empty() && out.front() == u' ') out.erase(0, 1);
  return out;
}

struct scLocaleDates {
  std::u16string shortDate, timeFormat;
  std::u16string am, pm;
  std::u16string months[12], monthsShort[12], days[7], daysShort[7], era;
};

std::u16string Text(const icu::UnicodeString& s) {
  return std::u16string(reinterpret_cast<const char16_t*>(s.getBuffer()), static_cast<size_t>(s.length()));
}

scLocaleDates Build(const std::string& locale) {
  scLocaleDates d;
  if (locale.empty()) {   // the invariant locale, as the system has it
    d.shortDate = u"MM/dd/yyyy";
    d.timeFormat = u"HH:mm:ss";
  }
  const std::string name = (locale.empty() ? std::string("en_US_POSIX") : locale) + "@calendar=gregorian;numbers=latn";
  const icu::Locale loc(name.c_str());
  std::unique_ptr<icu::DateFormat> date(icu::DateFormat::createDateInstance(icu::DateFormat::kShort, loc));
  std::unique_ptr<icu::DateFormat> time(icu::DateFormat::createTimeInstance(icu::DateFormat::kMedium, loc));
  icu::UnicodeString pattern;
  if (d.shortDate.empty() && date) d.shortDate = PictureOf(static_cast<icu::SimpleDateFormat*>(date.get())->toPattern(pattern));
  if (d.timeFormat.empty() && time) d.timeFormat = PictureOf(static_cast<icu::SimpleDateFormat*>(time.get())->toPattern(pattern));
  UErrorCode err = U_ZERO_ERROR;
  icu::DateFormatSymbols symbols(loc, err);
  if (U_FAILURE(err)) return d;
  int32_t count = 0;
  const icu::UnicodeString* marks = symbols.getAmPmStrings(count);
  if (count >= 2) {
    d.am = Text(marks[0]);
    d.pm = Text(marks[1]);
  }
  const icu::UnicodeString* m = symbols.getMonths(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::WIDE);
  for (int32_t k = 0; k < 12 && k < count; ++k) d.months[k] = Text(m[k]);
  m = symbols.getMonths(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::ABBREVIATED);
  for (int32_t k = 0; k < 12 && k < count; ++k) d.monthsShort[k] = Text(m[k]);
  m = symbols.getWeekdays(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::WIDE);
  for (int32_t k = 1; k <= 7 && k < count; ++k) d.days[k - 1] = Text(m[k]);   // 1 is Sunday
  m = symbols.getWeekdays(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::ABBREVIATED);
  for (int32_t k = 1; k <= 7 && k < count; ++k) d.daysShort[k - 1] = Text(m[k]);
  m = symbols.getEras(count);
  if (count >= 2) d.era = Text(m[1]);
  return d;
}

// One entry a locale, made at first use and never changed.
const scLocaleDates& DatesOf(const std::string& locale) {
  static std::mutex* mutex = new std::mutex;
  static auto* cache = new std::map<std::string, std::unique_ptr<scLocaleDates>>;
  std::lock_guard<std::mutex> hold(*mutex);
  auto& slot = (*cache)[locale];
  if (!slot) slot = std::make_unique<scLocaleDates>(Build(locale));
  return *slot;
}

// The separator between the first two fields of a picture.
std::u16string SeparatorAfterFirstField(const std::u16string& picture, const char16_t* fields) {
  size_t i = picture.find_first_of(fields);
  if (i == std::u16string::npos) return {};
  const char16_t first = picture[i];
  while (i < picture.size() && picture[i] == first) ++i;
  const size_t next = picture.find_first_of(fields, i);
  if (next == std::u16string::npos) return {};
  std::u16string sep = picture.substr(i, next - i);
  std::erase(sep, u'\'');
  return sep;
}

void AppendNumber(std::u16string& out, unsigned value, int width) {
  std::u16string digits;
  do {
    digits.insert(digits.begin(), static_cast<char16_t>(u'0' + value % 10));
    value /= 10;
  } while (value);
  while (static_cast<int>(digits.size()) < width) digits.insert(digits.begin(), u'0');
  out += digits;
}

// The day of the week of a Gregorian date, 0 for Sunday.
int DayOfWeek(int y, int m, int d) {
  static const int t[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
  if (m < 3) y -= 1;
  return (y + y / 4 - y / 100 + y / 400 + t[m - 1] + d) % 7;
}

bool IsLeap(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }
int DaysInMonth(int y, int m) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return m == 2 && IsLeap(y) ? 29 : days[m - 1];
}

// The system's picture language: d dd ddd dddd, M MM MMM MMMM, y yy yyyy, g, h hh
// H HH m mm s ss, t tt, 'text'.
std::u16string Render(const std::u16string& picture, const scLocaleDates& names, const SystemTime& t) {
  std::u16string out;
  for (size_t i = 0; i < picture.size();) {
    const char16_t c = picture[i];
    if (c == u'\'') {
      size_t j = i + 1;
      if (j < picture.size() && picture[j] == u'\'') { out += u'\''; i += 2; continue; }
      while (j < picture.size() && picture[j] != u'\'') out += picture[j++];
      i = j + 1;
      continue;
    }
    size_t count = 1;
    while (i + count < picture.size() && picture[i + count] == c) ++count;
    i += count;
    const int n = static_cast<int>(count);
    switch (c) {
      case u'd':
        if (n <= 2) AppendNumber(out, t.day, n);
        else out += (n == 3 ? names.daysShort : names.days)[DayOfWeek(t.year, t.month, t.day)];
        break;
      case u'M':
        if (n <= 2) AppendNumber(out, t.month, n);
        else out += (n == 3 ? names.monthsShort : names.months)[t.month - 1];
        break;
      case u'y':
        if (n <= 2) AppendNumber(out, t.year % 100, n);
        else AppendNumber(out, t.year, 4);
        break;
      case u'g': out += names.era; break;
      case u'h': AppendNumber(out, t.hour % 12 == 0 ? 12 : t.hour % 12, std::min(n, 2)); break;
      case u'H': AppendNumber(out, t.hour, std::min(n, 2)); break;
      case u'm': AppendNumber(out, t.minute, std::min(n, 2)); break;
      case u's': AppendNumber(out, t.second, std::min(n, 2)); break;
      case u't': {
        const std::u16string& mark = t.hour < 12 ? names.am : names.pm;
        out += n == 1 ? mark.substr(0, 1) : mark;
        break;
      }
      default: out.append(count, c); break;
    }
  }
  return out;
}

// Drops a field and what joins it to the field before it (seconds), or the AM/PM
// mark with the spaces around it.
std::u16string WithoutField(const std::u16string& picture, char16_t field) {
  const size_t at = picture.find(field);
  if (at == std::u16string::npos) return picture;
  size_t end = at;
  while (end < picture.size() && picture[end] == field) ++end;
  size_t start = at;
  if (field == u't') {   // the spaces behind it, or else those in front
    const size_t behind = end;
    while (end < picture.size() && picture[end] == u' ') ++end;
    if (end == behind)
      while (start > 0 && picture[start - 1] == u' ') --start;
  } else {
    while (start > 0 && !IsPatternLetter(picture[start - 1])) --start;
  }
  return picture.substr(0, start) + picture.substr(end);
}

int Put(const std::u16string& text, char16_t* dst, int dstLen) {
  const int n = static_cast<int>(text.size()) + 1;
  if (dstLen == 0) return n;
  if (!dst || dstLen < n) return Fail(kErrInsufficientBuffer);
  text.copy(dst, text.size());
  dst[n - 1] = 0;
  return n;
}

bool Resolve(uint32_t lcid, const SystemTime* time, SystemTime& t, std::string& locale) {
  if (!IcuLocaleOfLcid(lcid, locale)) return false;
  if (time) t = *time;
  else LocalTimeNow(&t);
  return true;
}

}  // namespace

bool DateLocaleText(const std::string& locale, uint32_t lcType, std::u16string& out) {
  const scLocaleDates& d = DatesOf(locale);
  switch (lcType) {
    case kLocaleSShortDate: out = d.shortDate; return true;
    case kLocaleSTimeFormat: out = d.timeFormat; return true;
    case kLocaleSDate: out = SeparatorAfterFirstField(d.shortDate, u"dMy"); return true;
    case kLocaleSTime: out = SeparatorAfterFirstField(d.timeFormat, u"hHms"); return true;
    case kLocaleS1159: out = locale.empty() ? u"AM" : d.am; return true;
    case kLocaleS2359: out = locale.empty() ? u"PM" : d.pm; return true;
    case kLocaleITime: out = d.timeFormat.find(u'H') != std::u16string::npos ? u"1" : u"0"; return true;
    case kLocaleIDate: {
      const size_t at = d.shortDate.find_first_of(u"dMy");
      const char16_t first = at == std::u16string::npos ? u'M' : d.shortDate[at];
      out = first == u'M' ? u"0" : first == u'd' ? u"1" : u"2";
      return true;
    }
    default: return false;
  }
}

uint32_t UserDefaultLCID() { return UserDefaultLangID(); }

int FormatShortDate(uint32_t lcid, const SystemTime* time, char16_t* dst, int dstLen) {
  if (dstLen < 0 || (!dst && dstLen)) return Fail(kErrInvalidParameter);
  SystemTime t;
  std::string locale;
  if (!Resolve(lcid, time, t, locale)) return Fail(kErrInvalidParameter);
  if (t.year < 1601 || t.year > 30827 || t.month < 1 || t.month > 12 || t.day < 1 ||
      t.day > DaysInMonth(t.year, t.month))
    return Fail(kErrInvalidParameter);
  const scLocaleDates& d = DatesOf(locale);
  return Put(Render(d.shortDate, d, t), dst, dstLen);
}

int FormatTime(uint32_t lcid, uint32_t flags, const SystemTime* time, char16_t* dst, int dstLen) {
  if (dstLen < 0 || (!dst && dstLen)) return Fail(kErrInvalidParameter);
  if (flags & ~(kTimeNoSeconds | kTimeForce24Hour | kLocaleNoUserOverride)) return Fail(kErrInvalidFlags);
  SystemTime t;
  std::string locale;
  if (!Resolve(lcid, time, t, locale)) return Fail(kErrInvalidParameter);
  if (t.hour > 23 || t.minute > 59 || t.second > 59 || t.milliseconds > 999) return Fail(kErrInvalidParameter);
  const scLocaleDates& d = DatesOf(locale);
  std::u16string picture = d.timeFormat;
  if (flags & kTimeNoSeconds) picture = WithoutField(picture, u's');
  if (flags & kTimeForce24Hour) {
    picture = WithoutField(picture, u't');
    for (char16_t& c : picture)
      if (c == u'h') c = u'H';
  }
  return Put(Render(picture, d, t), dst, dstLen);
}

}  // namespace plat
