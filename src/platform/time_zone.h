// The system's time zone: its rule for a year (GetTimeZoneInformation) and the
// conversions between UTC and local time (SystemTimeToTzSpecificLocalTime,
// TzSpecificLocalTimeToSystemTime).
//
// Linux: the zone is the one named by TZ (":Europe/Berlin", "Europe/Berlin", a
// path under a zoneinfo folder), else the link /etc/localtime, else /etc/timezone,
// else UTC; ICU's rules of that zone answer. The rule of a year is given with
// absolute dates of that year (the system gives the recurring rule, wYear 0). A
// local time that a change skips or repeats is read with the offset in force
// before the change.
// Errors: the conversions return false for a field out of range.
// Threads: any thread; PinTimeZoneForTests only while no other thread asks.
//
//   plat::TimeZoneRule r;
//   if (plat::TimeZoneRuleForYear(2024, &r) == plat::kTimeZoneIdUnknown) ... no daylight-saving time
#pragma once
#include <cstdint>

#include "platform/timestamp.h"

namespace plat {

constexpr uint32_t kTimeZoneIdUnknown = 0;     // the zone has no daylight-saving time
constexpr uint32_t kTimeZoneIdStandard = 1;
constexpr uint32_t kTimeZoneIdDaylight = 2;
constexpr uint32_t kTimeZoneIdInvalid = 0xFFFFFFFF;

// TIME_ZONE_INFORMATION without the names. UTC = local + bias (minutes);
// daylightDate is the local standard time at which daylight time begins,
// standardDate the local daylight time at which it ends.
struct TimeZoneRule {
  int32_t bias;
  SystemTime standardDate;
  int32_t standardBias;
  SystemTime daylightDate;
  int32_t daylightBias;
};

// Unknown (no daylight-saving time in the year), standard or daylight (which is in
// force now), or invalid.
uint32_t TimeZoneRuleForYear(uint16_t year, TimeZoneRule* rule);
bool UtcToLocalTime(const SystemTime* utc, SystemTime* local);
bool LocalTimeToUtc(const SystemTime* local, SystemTime* utc);

// Tests: the zone of that IANA name from now on (null: the system's again). False
// where the system cannot pin a zone for one process (Windows: set TZ before wine
// starts the process instead).
bool PinTimeZoneForTests(const char* ianaName);

}  // namespace plat
