// GetLocalTime and the performance counter.
#include "platform/timestamp.h"

#include <windows.h>

namespace plat {

namespace {
void Copy(const SYSTEMTIME& st, SystemTime* out) {
  out->year = st.wYear;
  out->month = st.wMonth;
  out->dayOfWeek = st.wDayOfWeek;
  out->day = st.wDay;
  out->hour = st.wHour;
  out->minute = st.wMinute;
  out->second = st.wSecond;
  out->milliseconds = st.wMilliseconds;
}
}  // namespace

void LocalTimeNow(SystemTime* out) {
  SYSTEMTIME st;
  GetLocalTime(&st);
  Copy(st, out);
}

bool FileTimeToLocal(uint64_t fileTime, SystemTime* out) {
  FILETIME ft;
  ft.dwLowDateTime = static_cast<DWORD>(fileTime);
  ft.dwHighDateTime = static_cast<DWORD>(fileTime >> 32);
  SYSTEMTIME utc, local;
  if (!FileTimeToSystemTime(&ft, &utc)) return false;
  const bool ok = SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local) != FALSE;
  Copy(ok ? local : utc, out);
  return ok;
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
