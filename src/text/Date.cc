#include "text/Date.h"

namespace zx {

namespace {

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

}  // namespace

// Days from 0001-01-01 by the 400-year cycle of 146,097 days, months counted from
// March so that the leap day comes last; months outside 1..12 carry into the year.
int64_t clsDate::DayNumberOf(int64_t year, int64_t month, int64_t day) {
  year += FloorDiv(month - 1, 12);
  month = month - 1 - FloorDiv(month - 1, 12) * 12 + 1;
  const int64_t y = year - (month <= 2 ? 1 : 0);
  const int64_t era = FloorDiv(y, 400);
  const int64_t yoe = y - era * 400;
  const int64_t mp = (month + 9) % 12;   // March is 0
  const int64_t doy = (153 * mp + 2) / 5 + day - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 306;   // 0001-01-01 is day 0
}

clsDate::clsDate(int64_t year, int64_t month, int64_t day) {
  SetDayNumber(DayNumberOf(year, month, day));
  m_valid = m_year == year && m_month == month && m_day == day;
}

void clsDate::SetDayNumber(int64_t dayNumber) {
  m_dayNumber = dayNumber;
  const int64_t z = dayNumber + 306;
  const int64_t era = FloorDiv(z, 146097);
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  m_day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  m_month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  m_year = yoe + era * 400 + (m_month <= 2 ? 1 : 0);
  m_valid = true;
}

int clsDate::DayOfWeek() const {
  return static_cast<int>(((m_dayNumber % 7) + 7 + 1) % 7);   // 0001-01-01 was a Monday
}

clsDate clsDate::NthWeekday(int64_t year, int month, int weekday, int n) {
  const clsDate first(year, month, 1);
  int64_t day = first.DayNumber() + ((weekday - first.DayOfWeek()) % 7 + 7) % 7;
  if (n < 1) n = 1;
  day += 7 * (n - 1);
  const int64_t next = DayNumberOf(year, month + 1, 1);
  while (day >= next) day -= 7;   // the last one
  return clsDate(day);
}

void AddMinutesToTime(plat::SystemTime& t, int64_t minutes) {
  const clsDate date(t.year, t.month, t.day);
  int64_t total = (date.DayNumber() * 24 + t.hour) * 60 + t.minute + minutes;
  int64_t day = total / 1440, rest = total % 1440;
  if (rest < 0) {
    rest += 1440;
    --day;
  }
  const clsDate moved(day);
  t.year = static_cast<uint16_t>(moved.Year());
  t.month = static_cast<uint16_t>(moved.Month());
  t.day = static_cast<uint16_t>(moved.Day());
  t.dayOfWeek = static_cast<uint16_t>(moved.DayOfWeek());
  t.hour = static_cast<uint16_t>(rest / 60);
  t.minute = static_cast<uint16_t>(rest % 60);
}

}  // namespace zx
