// clsDate: a Gregorian calendar date and its day number (days since 0001-01-01,
// proleptic, so dates before 1601 work as well). A date is valid when the day
// number gives back the same year, month and day.
#pragma once
#include <cstdint>

#include "platform/timestamp.h"

namespace zx {

class clsDate {
 public:
  clsDate() = default;
  // Any numbers: 31 February gives the day number of 3 March, and is not valid.
  clsDate(int64_t year, int64_t month, int64_t day);
  explicit clsDate(int64_t dayNumber) { SetDayNumber(dayNumber); }
  virtual ~clsDate() = default;

  void SetDayNumber(int64_t dayNumber);
  int64_t DayNumber() const { return m_dayNumber; }
  int64_t Year() const { return m_year; }
  int Month() const { return m_month; }
  int Day() const { return m_day; }
  bool IsValid() const { return m_valid; }
  int DayOfWeek() const;   // 0 Sunday .. 6 Saturday

  // The date of the n-th `weekday` (0 Sunday) of a month; n of 5 or more is the last.
  static clsDate NthWeekday(int64_t year, int month, int weekday, int n);
  static int64_t DayNumberOf(int64_t year, int64_t month, int64_t day);

 private:
  int64_t m_year = 1;
  int m_month = 1;
  int m_day = 1;
  int64_t m_dayNumber = 0;
  bool m_valid = true;
};

// Moves a time by whole minutes across days, months and years; the day of the
// week follows. Seconds and milliseconds stay.
void AddMinutesToTime(plat::SystemTime& t, int64_t minutes);

}  // namespace zx
