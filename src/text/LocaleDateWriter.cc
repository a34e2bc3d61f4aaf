// The writer: the locale's short date and time through the system's formatter,
// and the short-date picture by hand for years the system refuses.
#include "platform/date_format.h"
#include "platform/errors.h"
#include "platform/locale.h"
#include "text/LocaleDate.h"

namespace zx {

namespace {

constexpr int kDateRoom = 20;
constexpr int kTimeRoom = 64;

String Picture(uint32_t lcid) {
  char16_t buffer[80];
  const int n = plat::LocaleInfo(lcid, plat::kLocaleSShortDate, buffer, 80);
  return n > 1 ? String(buffer, 0, n - 1) : String();
}

void AppendTwo(String& out, unsigned value) {
  String n;
  n.Format(u"%02d", value);
  out.Append(n);
}

}  // namespace

// Quoted text is copied; d and dd are the day, M and MM the month (longer runs the
// month as well), y and yy two digits of the year, longer runs all four.
String FormatByPicture(const String& picture, const plat::SystemTime& time) {
  String out;
  const std::u16string_view p = picture.View();
  for (size_t i = 0; i < p.size();) {
    const char16_t c = p[i];
    if (c == u'"' || c == u'\'') {
      size_t j = i + 1;
      while (j < p.size() && p[j] != c) out.Append(p[j++]);
      i = j + 1;
      continue;
    }
    size_t run = 1;
    while (i + run < p.size() && p[i + run] == c) ++run;
    switch (c) {
      case u'd': AppendTwo(out, time.day); break;
      case u'M': AppendTwo(out, time.month); break;
      case u'y':
        if (run <= 2) {
          AppendTwo(out, time.year % 100);
        } else {
          String n;
          n.Format(u"%04d", time.year);
          out.Append(n);
        }
        break;
      default:
        for (size_t k = 0; k < run; ++k) out.Append(c);
        break;
    }
    i += run;
  }
  return out;
}

String WriteLocaleDateTime(uint32_t lcid, const plat::SystemTime* time, uint32_t flags) {
  String date;
  if (flags & kWriteDate) {
    char16_t buffer[kDateRoom];
    int n = plat::FormatShortDate(lcid, time, buffer, kDateRoom);
    if (n > 1) {
      date.Assign(buffer, 0, n - 1);
    } else if (time && plat::LastError() == plat::kErrInvalidParameter && time->year < 1601) {
      date = FormatByPicture(Picture(lcid), *time);
    }
    if (date.IsEmpty()) {
      n = plat::FormatShortDate(lcid, nullptr, buffer, kDateRoom);
      if (n > 1) date.Assign(buffer, 0, n - 1);
    }
  }
  String clock;
  const bool midnight = time && time->hour == 0 && time->minute == 0 && time->second == 0;
  if ((flags & (kWriteNoSeconds | kWriteTime)) && !midnight) {
    uint32_t system = 0;
    if (flags & kWriteNoSeconds) system = plat::kTimeNoSeconds;
    else if (flags & kWrite24Hours) system = plat::kTimeForce24Hour;
    char16_t buffer[kTimeRoom];
    const int n = plat::FormatTime(lcid, system, time, buffer, kTimeRoom);
    if (n > 1) clock.Assign(buffer, 0, n - 1);
  }
  if (date.IsEmpty()) return clock;
  if (!clock.IsEmpty()) {
    date.Append(u' ');
    date.Append(clock);
  }
  return date;
}

}  // namespace zx
