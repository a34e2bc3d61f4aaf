// Time zones under wine: the process's zone comes from TZ at its start (ctest runs
// this program once a zone, tests/CMakeLists.txt), and python's zoneinfo on the
// build machine has written what the zone must give (ZXUT_ZONE_ORACLE). Where the
// system's answers differ from zoneinfo's:
// - the system has one rule a zone, the current one: daylight-saving dates are
//   compared from 2008 on, after the last rule changes of the zones tested; and
//   where the rule holds absolute dates (wine makes them for a zone it has no
//   recurring rule of, such as Lord Howe), only for the year it names;
// - a local time that the spring change skips reads with the daylight offset
//   (zoneinfo's fold 1), on Linux with the offset before the change (fold 0).
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/time_zone.h"
#include "support/support_test_util.h"
#include "text_test_util.h"
#include "zxUT22.h"

namespace {

TEST(SystemZone, AsZoneinfoHasIt) {
  const char* oracle = std::getenv("ZXUT_ZONE_ORACLE");
  const char* zone = std::getenv("ZXUT_ZONE");
  if (!oracle || !zone) GTEST_SKIP() << "run by ctest once a zone (text_zone_*)";
  const std::string text = zxsupport::ReadBytes(oracle);
  ASSERT_FALSE(text.empty()) << oracle;
  // A rule of absolute dates holds for its own year only, conversions included.
  plat::TimeZoneRule rule;
  plat::TimeZoneRuleForYear(2026, &rule);
  const int onlyYear = rule.daylightDate.year;
  if (onlyYear)
    std::printf("[ info ] %s: the system's rule is for %d alone (bias %d, daylight bias %d)\n", zone, onlyYear,
                static_cast<int>(rule.bias), static_cast<int>(rule.daylightBias));
  const std::vector<texttest::ZoneLine> lines = texttest::ParseZoneOracle(text);
  // The zone's daylight saving, from zoneinfo's offsets: wine makes a rule of 60
  // minutes for a zone it does not know, also for Lord Howe's 30; then only the
  // daylight-saving dates can be compared.
  int lowest = 24 * 60, highest = -24 * 60;
  for (const texttest::ZoneLine& l : lines) {
    if (l.zone != zone || l.kind != "u2l" || l.v[6] != l.v[1]) continue;   // within a month
    const int offset = ((l.v[7] - l.v[2]) * 24 + l.v[8] - l.v[3]) * 60 + l.v[9] - l.v[4];
    lowest = std::min(lowest, offset);
    highest = std::max(highest, offset);
  }
  const bool savingDiffers = onlyYear && -rule.daylightBias != highest - lowest;
  if (savingDiffers)
    std::printf("[ info ] %s: the system saves %d minutes, the zone %d: conversions not compared\n", zone,
                static_cast<int>(-rule.daylightBias), highest - lowest);
  int checked = 0;
  for (const texttest::ZoneLine& l : lines) {
    if (l.zone != zone) continue;
    if ((l.kind == "dst" ? l.year : l.v[0]) != onlyYear && onlyYear) continue;
    if (l.kind != "dst" && savingDiffers) continue;
    if (l.kind == "dst") {
      if (l.year < 2008) continue;
      SYSTEMTIME s, e;
      ASSERT_EQ(UtilLocGetDSTStartAndEndInUTC(l.year, &s, &e), 0);
      const int got[10] = {s.wYear, s.wMonth, s.wDay, s.wHour, s.wMinute, e.wYear, e.wMonth, e.wDay, e.wHour, e.wMinute};
      for (int k = 0; k < 10; ++k) ASSERT_EQ(got[k], l.v[k]) << zone << " " << l.year << " field " << k;
    } else {
      SYSTEMTIME t{static_cast<WORD>(l.v[0]), static_cast<WORD>(l.v[1]), 0, static_cast<WORD>(l.v[2]),
                   static_cast<WORD>(l.v[3]), static_cast<WORD>(l.v[4]), 0, 0};
      ASSERT_EQ(l.kind == "u2l" ? UtilLocConvertUTCTimeToLocalTime(&t) : UtilLocConvertLocalTimeToUTCTime(&t), 0);
      const int got[5] = {t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute};
      const int* want = l.v + (l.kind == "l2g" ? 10 : 5);
      for (int k = 0; k < 5; ++k)
        ASSERT_EQ(got[k], want[k]) << l.kind << " " << zone << " " << l.v[0] << "-" << l.v[1] << "-" << l.v[2]
                                      << " " << l.v[3] << ":" << l.v[4];
    }
    ++checked;
  }
  EXPECT_GT(checked, savingDiffers ? 0 : onlyYear ? 1000 / 8 : 1000) << zone;
}

}  // namespace
