// The time conversions of the document list: a file's FILETIME into the UTC
// system time the documents keep, and a kept UTC time into the local date value
// (variant type 7) a caller receives.
// Errors: the return values. Threads: any thread.
//
//   plat::SystemTime utc; FileTimeToUtc(ft, &utc);
//   VARIANT v; UtcToLocalDateVariant(utc, &v);   // VT_DATE, local, with milliseconds
#pragma once
#include <cstdint>

#include "platform/timestamp.h"
#include "platform/variant.h"

namespace zx {

// FileTimeToSystemTime: 100-ns units since 1601-01-01 UTC. False from 2^63 on
// (the largest value is in the year 30828).
bool FileTimeToUtc(uint64_t fileTime, plat::SystemTime* out);
// SystemTimeToFileTime: false for a field out of range (the unset time among them).
bool SystemTimeToFileTimeValue(const plat::SystemTime& t, uint64_t* out);
// SystemTimeToVariantTime (milliseconds ignored): days since 1899-12-30, the time
// of day as the fraction (before that day the fraction still counts forward from
// the day's start). False for a field out of range or a year outside 100..9999.
bool SystemTimeToDate(const plat::SystemTime& t, double* out);

// The date value handed out for a kept UTC time: the local time of the system's
// zone, through a file time back to a system time, to a date value without the
// milliseconds, and the milliseconds added as a fraction of a day. A step that
// fails leaves zeros behind it, so the unset time comes out as the date of file
// time 0 (1601-01-01, -109205).
void UtcToLocalDateVariant(const plat::SystemTime& utc, VARIANT* out);

}  // namespace zx
