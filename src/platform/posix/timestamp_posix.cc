// Linux: local time from CLOCK_REALTIME and the time zone; the counter is CLOCK_MONOTONIC
// in nanoseconds.
#include "platform/timestamp.h"

#include <time.h>

namespace plat {
namespace {

void FromTm(const struct tm& t, uint16_t milliseconds, SystemTime* out) {
  out->year = static_cast<uint16_t>(t.tm_year + 1900);
  out->month = static_cast<uint16_t>(t.tm_mon + 1);
  out->dayOfWeek = static_cast<uint16_t>(t.tm_wday);
  out->day = static_cast<uint16_t>(t.tm_mday);
  out->hour = static_cast<uint16_t>(t.tm_hour);
  out->minute = static_cast<uint16_t>(t.tm_min);
  out->second = static_cast<uint16_t>(t.tm_sec > 59 ? 59 : t.tm_sec);   // no leap second
  out->milliseconds = milliseconds;
}

}  // namespace

// Every debug line asks the local time: the time zone's conversion is made once a
// second per thread, and within that second only the milliseconds change.
void LocalTimeNow(SystemTime* out) {
  timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  thread_local time_t cachedSecond = -1;
  thread_local SystemTime cached{};
  if (ts.tv_sec != cachedSecond) {
    struct tm t;
    time_t secs = ts.tv_sec;
    localtime_r(&secs, &t);
    FromTm(t, 0, &cached);
    cachedSecond = ts.tv_sec;
  }
  *out = cached;
  out->milliseconds = static_cast<uint16_t>(ts.tv_nsec / 1000000);
}

bool FileTimeToLocal(uint64_t fileTime, SystemTime* out) {
  constexpr uint64_t kPerSecond = 10000000;
  constexpr int64_t kEpochDelta = 11644473600;   // 1601-01-01 to 1970-01-01 in seconds
  const time_t secs = static_cast<time_t>(static_cast<int64_t>(fileTime / kPerSecond) - kEpochDelta);
  struct tm t;
  const bool local = localtime_r(&secs, &t) != nullptr;
  if (!local && !gmtime_r(&secs, &t)) return false;
  FromTm(t, static_cast<uint16_t>(fileTime % kPerSecond / 10000), out);
  return local;
}

bool PerformanceCounter(int64_t* value) {
  timespec ts;
  if (clock_gettime(CLOCK_MONOTONIC, &ts) != 0) return false;
  *value = static_cast<int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
  return true;
}

bool PerformanceFrequency(int64_t* frequency) {
  *frequency = 1000000000;
  return true;
}

}  // namespace plat
