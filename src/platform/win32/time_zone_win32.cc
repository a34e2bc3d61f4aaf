// The system's time zone: GetTimeZoneInformation (the recurring rule of the zone,
// whatever the year) and the zone-specific conversions.
#include <windows.h>

#include <cstring>

#include "platform/time_zone.h"

namespace plat {
namespace {

SystemTime Of(const SYSTEMTIME& st) {
  SystemTime t;
  std::memcpy(&t, &st, sizeof t);
  return t;
}

}  // namespace

uint32_t TimeZoneRuleForYear(uint16_t, TimeZoneRule* rule) {
  if (!rule) return kTimeZoneIdInvalid;
  TIME_ZONE_INFORMATION info;
  const DWORD id = ::GetTimeZoneInformation(&info);
  rule->bias = info.Bias;
  rule->standardDate = Of(info.StandardDate);
  rule->standardBias = info.StandardBias;
  rule->daylightDate = Of(info.DaylightDate);
  rule->daylightBias = info.DaylightBias;
  return id;
}

bool UtcToLocalTime(const SystemTime* utc, SystemTime* local) {
  if (!utc || !local) return false;
  return ::SystemTimeToTzSpecificLocalTime(nullptr, reinterpret_cast<const SYSTEMTIME*>(utc),
                                           reinterpret_cast<SYSTEMTIME*>(local)) != FALSE;
}

bool LocalTimeToUtc(const SystemTime* local, SystemTime* utc) {
  if (!local || !utc) return false;
  return ::TzSpecificLocalTimeToSystemTime(nullptr, reinterpret_cast<const SYSTEMTIME*>(local),
                                           reinterpret_cast<SYSTEMTIME*>(utc)) != FALSE;
}

bool PinTimeZoneForTests(const char*) { return false; }

}  // namespace plat
