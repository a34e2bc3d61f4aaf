#include "docinfo/DocTime.h"

#include "platform/time_zone.h"
#include "text/Date.h"

namespace zx {
namespace {

constexpr uint64_t kTicksPerDay = 864000000000ull;   // 100-ns units
constexpr uint64_t kTicksPerMs = 10000ull;

bool InRange(const plat::SystemTime& t) {
  if (t.month < 1 || t.month > 12 || t.day < 1 || t.hour > 23 || t.minute > 59 || t.second > 59 ||
      t.milliseconds > 999)
    return false;
  return clsDate(t.year, t.month, t.day).IsValid();
}

}  // namespace

bool FileTimeToUtc(uint64_t fileTime, plat::SystemTime* out) {
  if (fileTime >= 0x8000000000000000ull) return false;
  const clsDate date(clsDate::DayNumberOf(1601, 1, 1) + static_cast<int64_t>(fileTime / kTicksPerDay));
  uint64_t ms = fileTime % kTicksPerDay / kTicksPerMs;
  out->year = static_cast<uint16_t>(date.Year());
  out->month = static_cast<uint16_t>(date.Month());
  out->day = static_cast<uint16_t>(date.Day());
  out->dayOfWeek = static_cast<uint16_t>(date.DayOfWeek());
  out->milliseconds = static_cast<uint16_t>(ms % 1000);
  ms /= 1000;
  out->second = static_cast<uint16_t>(ms % 60);
  out->minute = static_cast<uint16_t>(ms / 60 % 60);
  out->hour = static_cast<uint16_t>(ms / 3600);
  return true;
}

bool SystemTimeToFileTimeValue(const plat::SystemTime& t, uint64_t* out) {
  if (t.year < 1601 || t.year > 30827 || !InRange(t)) return false;
  const int64_t days = clsDate::DayNumberOf(t.year, t.month, t.day) - clsDate::DayNumberOf(1601, 1, 1);
  const uint64_t ms = ((uint64_t{t.hour} * 60 + t.minute) * 60 + t.second) * 1000 + t.milliseconds;
  *out = static_cast<uint64_t>(days) * kTicksPerDay + ms * kTicksPerMs;
  return true;
}

bool SystemTimeToDate(const plat::SystemTime& t, double* out) {
  if (t.year < 100 || t.year > 9999 || !InRange(t)) return false;
  const double day =
      static_cast<double>(clsDate::DayNumberOf(t.year, t.month, t.day) - clsDate::DayNumberOf(1899, 12, 30));
  const double fraction = ((t.hour * 60.0 + t.minute) * 60.0 + t.second) / 86400.0;
  *out = day < 0 ? day - fraction : day + fraction;
  return true;
}

void UtcToLocalDateVariant(const plat::SystemTime& utc, VARIANT* out) {
  plat::SystemTime local{};
  if (!plat::UtcToLocalTime(&utc, &local)) local = plat::SystemTime{};
  uint64_t fileTime = 0;
  if (!SystemTimeToFileTimeValue(local, &fileTime)) fileTime = 0;
  plat::SystemTime back{};
  if (!FileTimeToUtc(fileTime, &back)) back = plat::SystemTime{};
  const uint16_t ms = back.milliseconds;
  back.milliseconds = 0;
  double date = 0;
  if (!SystemTimeToDate(back, &date)) date = 0;
  plat::VariantClear(out);
  out->vt = VT_DATE;
  out->date = date + ms * 1.1574074074074074e-8;
}

}  // namespace zx
