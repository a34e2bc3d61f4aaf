// GetLocalTime and the performance counter.
#include "platform/timestamp.h"

#include <windows.h>

namespace plat {

void LocalTimeNow(SystemTime* out) {
  SYSTEMTIME st;
  GetLocalTime(&st);
  out->year = st.wYear;
  out->month = st.wMonth;
  out->dayOfWeek = st.wDayOfWeek;
  out->day = st.wDay;
  out->hour = st.wHour;
  out->minute = st.wMinute;
  out->second = st.wSecond;
  out->milliseconds = st.wMilliseconds;
}

bool PerformanceCounter(int64_t* value) {
  LARGE_INTEGER v;
  if (!QueryPerformanceCounter(&v)) return false;
  *value = v.QuadPart;
  return true;
}

bool PerformanceFrequency(int64_t* frequency) {
  LARGE_INTEGER f;
  if (!QueryPerformanceFrequency(&f) || f.QuadPart <= 0) return false;
  *frequency = f.QuadPart;
  return true;
}

}  // namespace plat
