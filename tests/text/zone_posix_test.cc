// Time zones on Linux, pinned through the platform's seam: UTC <-> local time and
// the daylight-saving dates of several zones, judged by python's zoneinfo. The
// seam pins the zone of this program's copy of the library's code, so the tests
// call that code, not the shared library's exports.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/time_zone.h"
#include "support/support_test_util.h"
#include "text/LocaleDate.h"

namespace {

const char* const kZones[] = {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Asia/Kolkata",
                              "Asia/Tokyo", "UTC"};

// Python's answers, one line each:
//   dst ZONE YEAR sY sM sD sh sm eY eM eD eh em    (zeros without daylight-saving time)
//   u2l ZONE y M d h m -> y M d h m                (UTC to local)
//   l2u ZONE y M d h m -> y M d h m                (local to UTC, fold 0)
constexpr char kOracle[] = R"PY(
import datetime as dt, zoneinfo
U = dt.timezone.utc
def changes(z, year):
    tz = zoneinfo.ZoneInfo(z)
    t = dt.datetime(year, 1, 1, tzinfo=U) - dt.timedelta(days=1)
    end = dt.datetime(year + 1, 1, 1, tzinfo=U) + dt.timedelta(days=1)
    out = []
    prev = t.astimezone(tz).dst()
    while t < end:
        n = t + dt.timedelta(hours=6)
        if n.astimezone(tz).dst() != prev:
            lo, hi = t, n
            while hi - lo > dt.timedelta(minutes=1):
                mid = lo + (hi - lo) / 2
                mid = mid.replace(second=0, microsecond=0)
                if mid <= lo: mid = lo + dt.timedelta(minutes=1)
                if mid.astimezone(tz).dst() == prev: lo = mid
                else: hi = mid
            out.append((hi, bool(hi.astimezone(tz).dst())))
            prev = n.astimezone(tz).dst()
        t = n
    return out
for z in ZONES:
    tz = zoneinfo.ZoneInfo(z)
    for year in range(2000, 2031):
        ch = changes(z, year)
        def local_year(when):
            before = (when - dt.timedelta(minutes=1)).astimezone(tz)
            return (before + dt.timedelta(minutes=1)).year
        start = [w for w, on in ch if on and local_year(w) == year]
        stop = [w for w, on in ch if not on and local_year(w) == year]
        if start and stop:
            s, e = start[0], stop[0]
            print("dst", z, year, s.year, s.month, s.day, s.hour, s.minute, e.year, e.month, e.day, e.hour, e.minute)
        else:
            print("dst", z, year, *([0] * 10))
    t = dt.datetime(2019, 1, 1, tzinfo=U)
    while t.year < 2026:
        l = t.astimezone(tz)
        print("u2l", z, t.year, t.month, t.day, t.hour, t.minute, l.year, l.month, l.day, l.hour, l.minute)
        naive = dt.datetime(t.year, t.month, t.day, t.hour, t.minute, tzinfo=tz)
        u = naive.astimezone(U)
        print("l2u", z, t.year, t.month, t.day, t.hour, t.minute, u.year, u.month, u.day, u.hour, u.minute)
        t += dt.timedelta(hours=7, minutes=13)
)PY";

std::string Oracle() {
  std::string zones = "ZONES = [";
  for (const char* z : kZones) zones += std::string("'") + z + "',";
  zones += "]\n";
  std::string out;
  const std::string script = std::string(kOracle);
  // The script goes through standard input: no quoting.
  if (!zxsupport::RunFilter("python3 -", zones + script, out)) return {};
  return out;
}

struct Pinned {
  explicit Pinned(const char* zone) { plat::PinTimeZoneForTests(zone); }
  ~Pinned() { plat::PinTimeZoneForTests(nullptr); }
};

TEST(TimeZones, AsZoneinfoHasThem) {
  std::string probe;
  if (!zxsupport::RunFilter("python3 -c 'import zoneinfo; zoneinfo.ZoneInfo(\"Europe/Berlin\")'", "", probe))
    GTEST_SKIP() << "no python zoneinfo here";
  const std::string oracle = Oracle();
  ASSERT_FALSE(oracle.empty());
  std::istringstream in(oracle);
  std::string kind, zone, current;
  int checked = 0, dstYears = 0;
  std::unique_ptr<Pinned> pin;
  while (in >> kind >> zone) {
    if (zone != current) {
      pin.reset();
      pin = std::make_unique<Pinned>(zone.c_str());
      current = zone;
    }
    if (kind == "dst") {
      int year, v[10];
      in >> year;
      for (int& x : v) in >> x;
      plat::SystemTime s, e;
      zx::DaylightSavingInUtc(year, &s, &e);
      const int got[10] = {s.year, s.month, s.day, s.hour, s.minute, e.year, e.month, e.day, e.hour, e.minute};
      for (int k = 0; k < 10; ++k) ASSERT_EQ(got[k], v[k]) << zone << " " << year << " field " << k;
      dstYears += v[0] != 0;
    } else {
      int a[5], b[5];
      std::string arrow;
      for (int& x : a) in >> x;
      for (int& x : b) in >> x;
      const plat::SystemTime from{static_cast<uint16_t>(a[0]), static_cast<uint16_t>(a[1]), 0,
                                static_cast<uint16_t>(a[2]), static_cast<uint16_t>(a[3]),
                                static_cast<uint16_t>(a[4]), 0, 0};
      plat::SystemTime t;
      ASSERT_TRUE(kind == "u2l" ? plat::UtcToLocalTime(&from, &t) : plat::LocalTimeToUtc(&from, &t));
      const int got[5] = {t.year, t.month, t.day, t.hour, t.minute};
      for (int k = 0; k < 5; ++k)
        ASSERT_EQ(got[k], b[k]) << kind << " " << zone << " " << a[0] << "-" << a[1] << "-" << a[2] << " " << a[3]
                                << ":" << a[4];
    }
    ++checked;
  }
  EXPECT_GT(checked, 40000);
  EXPECT_GT(dstYears, 3 * 25);   // Berlin, New York and Lord Howe every year
}

TEST(TimeZones, TheSystemZoneComesFromTz) {
  // TZ names the zone; a fresh pin with no name reads it again.
  setenv("TZ", ":Australia/Lord_Howe", 1);
  plat::PinTimeZoneForTests(nullptr);
  plat::TimeZoneRule rule;
  EXPECT_NE(plat::TimeZoneRuleForYear(2024, &rule), plat::kTimeZoneIdUnknown);
  EXPECT_EQ(rule.bias, -630);
  EXPECT_EQ(rule.daylightBias, -30);
  setenv("TZ", "Asia/Kolkata", 1);
  plat::PinTimeZoneForTests(nullptr);
  EXPECT_EQ(plat::TimeZoneRuleForYear(2024, &rule), plat::kTimeZoneIdUnknown);
  EXPECT_EQ(rule.bias, -330);
  setenv("TZ", "No/Such_Zone", 1);   // an unknown name is UTC
  plat::PinTimeZoneForTests(nullptr);
  EXPECT_EQ(plat::TimeZoneRuleForYear(2024, &rule), plat::kTimeZoneIdUnknown);
  EXPECT_EQ(rule.bias, 0);
  unsetenv("TZ");
  plat::PinTimeZoneForTests(nullptr);
}

}  // namespace
