// Time zones under wine: the process's zone comes from TZ at its start (ctest runs
// this program once a zone, tests/CMakeLists.txt), and python's zoneinfo on the
// build machine has written what the zone must give (ZXUT_ZONE_ORACLE). The system
// has one recurring rule a zone, the current one: daylight-saving dates are
// compared from 2008 on, after the last rule changes of the zones tested.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

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
  int checked = 0;
  for (const texttest::ZoneLine& l : texttest::ParseZoneOracle(text)) {
    if (l.zone != zone) continue;
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
      for (int k = 0; k < 5; ++k)
        ASSERT_EQ(got[k], l.v[5 + k]) << l.kind << " " << zone << " " << l.v[0] << "-" << l.v[1] << "-" << l.v[2]
                                      << " " << l.v[3] << ":" << l.v[4];
    }
    ++checked;
  }
  EXPECT_GT(checked, 1000) << zone;
}

}  // namespace
