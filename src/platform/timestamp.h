// Time stamps for log lines: the local wall-clock time with milliseconds
// (GetLocalTime) and the high-resolution counter (QueryPerformanceCounter).
// Errors: the counter calls return false when there is no working counter.
// Threads: any thread.
//
//   plat::SystemTime now; plat::LocalTimeNow(&now);
#pragma once
#include <cstdint>

namespace plat {

// SYSTEMTIME, field for field.
struct SystemTime {
  uint16_t year;
  uint16_t month;
  uint16_t dayOfWeek;
  uint16_t day;
  uint16_t hour;
  uint16_t minute;
  uint16_t second;
  uint16_t milliseconds;
};
static_assert(sizeof(SystemTime) == 16, "SYSTEMTIME is 16 bytes");

void LocalTimeNow(SystemTime* out);
// A FILETIME value (UTC) as local time (FileTimeToSystemTime, then
// SystemTimeToTzSpecificLocalTime). False when the time cannot be had, or when the
// local conversion failed: then *out holds the UTC time.
bool FileTimeToLocal(uint64_t fileTime, SystemTime* out);

// False when the system has no working counter.
bool PerformanceCounter(int64_t* value);
bool PerformanceFrequency(int64_t* frequency);

}  // namespace plat
