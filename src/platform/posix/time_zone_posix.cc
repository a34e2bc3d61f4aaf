// Linux: the system's time zone by name (TZ, /etc/localtime, /etc/timezone), its
// rules and offsets from ICU.
#include <unicode/basictz.h>
#include <unicode/calendar.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>
#include <unicode/tzrule.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>

#include "platform/time_zone.h"

namespace plat {
namespace {

constexpr double kMsPerDay = 86400000.0;

// "…/zoneinfo/Europe/Berlin" -> "Europe/Berlin"; anything else as it is.
std::string ZoneFromPath(const std::string& path) {
  const size_t at = path.find("zoneinfo/");
  return at == std::string::npos ? path : path.substr(at + 9);
}

std::string SystemZoneName() {
  if (const char* tz = std::getenv("TZ"); tz && *tz) {
    std::string name(tz[0] == ':' ? tz + 1 : tz);
    if (!name.empty()) return ZoneFromPath(name);
  }
  char link[4096];
  const ssize_t n = readlink("/etc/localtime", link, sizeof link - 1);
  if (n > 0) return ZoneFromPath(std::string(link, static_cast<size_t>(n)));
  std::ifstream file("/etc/timezone");
  std::string name;
  if (std::getline(file, name) && !name.empty()) return name;
  return "UTC";
}

std::unique_ptr<icu::BasicTimeZone> MakeZone(const std::string& name) {
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
  if (!zone || *zone == icu::TimeZone::getUnknown()) zone.reset(icu::TimeZone::createTimeZone("UTC"));
  return std::unique_ptr<icu::BasicTimeZone>(dynamic_cast<icu::BasicTimeZone*>(zone.release()));
}

std::mutex& ZoneLock() {
  static std::mutex* lock = new std::mutex;
  return *lock;
}

// Made at first use; replaced only by the test seam. Never destroyed, so that a
// call during exit still finds it.
std::shared_ptr<icu::BasicTimeZone>& ZoneSlot() {
  static auto* slot = new std::shared_ptr<icu::BasicTimeZone>;
  return *slot;
}

std::shared_ptr<icu::BasicTimeZone> Zone() {
  std::lock_guard<std::mutex> hold(ZoneLock());
  auto& slot = ZoneSlot();
  if (!slot) slot = MakeZone(SystemZoneName());
  return slot;
}

// Days since 1970-01-01 of a Gregorian date, and back.
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<int64_t>(doe) - 719468;
}

void CivilFromDays(int64_t z, int64_t& y, unsigned& m, unsigned& d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = doy - (153 * mp + 2) / 5 + 1;
  m = mp < 10 ? mp + 3 : mp - 9;
  y = static_cast<int64_t>(yoe) + era * 400 + (m <= 2);
}

bool Valid(const SystemTime& t) {
  if (t.year < 1601 || t.year > 30827 || t.month < 1 || t.month > 12 || t.day < 1) return false;
  if (t.hour > 23 || t.minute > 59 || t.second > 59 || t.milliseconds > 999) return false;
  int64_t y;
  unsigned m, d;
  CivilFromDays(DaysFromCivil(t.year, t.month, t.day), y, m, d);
  return m == t.month && d == t.day;
}

double ToMs(const SystemTime& t) {
  return static_cast<double>(DaysFromCivil(t.year, t.month, t.day)) * kMsPerDay +
         ((t.hour * 60.0 + t.minute) * 60.0 + t.second) * 1000.0 + t.milliseconds;
}

SystemTime FromMs(double ms) {
  const int64_t total = static_cast<int64_t>(ms);
  int64_t days = total / 86400000, rest = total % 86400000;
  if (rest < 0) {
    rest += 86400000;
    --days;
  }
  int64_t y;
  unsigned m, d;
  CivilFromDays(days, y, m, d);
  SystemTime t;
  t.year = static_cast<uint16_t>(y);
  t.month = static_cast<uint16_t>(m);
  t.day = static_cast<uint16_t>(d);
  t.dayOfWeek = static_cast<uint16_t>(((days % 7) + 11) % 7);   // 1970-01-01 was a Thursday
  t.hour = static_cast<uint16_t>(rest / 3600000);
  t.minute = static_cast<uint16_t>(rest / 60000 % 60);
  t.second = static_cast<uint16_t>(rest / 1000 % 60);
  t.milliseconds = static_cast<uint16_t>(rest % 1000);
  return t;
}

}  // namespace

uint32_t TimeZoneRuleForYear(uint16_t year, TimeZoneRule* rule) {
  if (!rule) return kTimeZoneIdInvalid;
  *rule = TimeZoneRule{};
  const auto zone = Zone();
  const double yearStart = static_cast<double>(DaysFromCivil(year, 1, 1)) * kMsPerDay;
  const double yearEnd = static_cast<double>(DaysFromCivil(year + 1, 1, 1)) * kMsPerDay;
  UErrorCode err = U_ZERO_ERROR;
  int32_t raw = 0, dst = 0;
  zone->getOffset(yearStart, false, raw, dst, err);
  rule->bias = -raw / 60000;
  // The changes into and out of daylight-saving time within the year (a day of
  // slack on both sides for the local dates at the year's edges).
  icu::TimeZoneTransition tr;
  double from = yearStart - kMsPerDay;
  bool haveStart = false, haveEnd = false;
  while (zone->getNextTransition(from, false, tr) && tr.getTime() < yearEnd + kMsPerDay) {
    from = tr.getTime();
    const icu::TimeZoneRule* before = tr.getFrom();
    const icu::TimeZoneRule* after = tr.getTo();
    if (!before || !after) continue;
    const double localBefore = from + before->getRawOffset() + before->getDSTSavings();
    if (localBefore < yearStart || localBefore >= yearEnd) continue;
    if (before->getDSTSavings() == 0 && after->getDSTSavings() != 0 && !haveStart) {
      rule->daylightDate = FromMs(localBefore);   // local standard time
      rule->daylightBias = -after->getDSTSavings() / 60000;
      rule->bias = -before->getRawOffset() / 60000;
      haveStart = true;
    } else if (before->getDSTSavings() != 0 && after->getDSTSavings() == 0 && !haveEnd) {
      rule->standardDate = FromMs(localBefore);   // local daylight time
      rule->daylightBias = -before->getDSTSavings() / 60000;
      haveEnd = true;
    }
  }
  if (!haveStart || !haveEnd) {
    rule->daylightDate = rule->standardDate = SystemTime{};
    rule->daylightBias = 0;
    return kTimeZoneIdUnknown;
  }
  return zone->inDaylightTime(icu::Calendar::getNow(), err) ? kTimeZoneIdDaylight : kTimeZoneIdStandard;
}

bool UtcToLocalTime(const SystemTime* utc, SystemTime* local) {
  if (!utc || !local || !Valid(*utc)) return false;
  const double ms = ToMs(*utc);
  UErrorCode err = U_ZERO_ERROR;
  int32_t raw = 0, dst = 0;
  Zone()->getOffset(ms, false, raw, dst, err);
  if (U_FAILURE(err)) return false;
  *local = FromMs(ms + raw + dst);
  return true;
}

bool LocalTimeToUtc(const SystemTime* local, SystemTime* utc) {
  if (!local || !utc || !Valid(*local)) return false;
  const double ms = ToMs(*local);
  UErrorCode err = U_ZERO_ERROR;
  int32_t raw = 0, dst = 0;
  Zone()->getOffsetFromLocal(ms, UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_FORMER, raw, dst, err);
  if (U_FAILURE(err)) return false;
  *utc = FromMs(ms - raw - dst);
  return true;
}

bool PinTimeZoneForTests(const char* ianaName) {
  std::lock_guard<std::mutex> hold(ZoneLock());
  ZoneSlot() = MakeZone(ianaName ? std::string(ianaName) : SystemZoneName());
  return true;
}

}  // namespace plat
