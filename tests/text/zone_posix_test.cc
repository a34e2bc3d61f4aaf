// Time zones on Linux, pinned through the platform's seam: UTC <-> local time and
// the daylight-saving dates of several zones, judged by python's zoneinfo. The
// seam pins the zone of this program's copy of the library's code, so the tests
// call that code, not the shared library's exports.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/time_zone.h"
#include "support/support_test_util.h"
#include "text_test_util.h"
#include "text/LocaleDate.h"

namespace {

const char* const kZones[] = {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Asia/Kolkata",
                              "Asia/Tokyo", "UTC"};

// Python's answers (tests/text/zone_oracle.py says what the lines hold).
std::string Oracle() {
  std::string command = std::string("python3 ") + ZXUT_SOURCE_DIR + "/tests/text/zone_oracle.py";
  for (const char* z : kZones) command += std::string(" ") + z;
  std::string out;
  return zxsupport::RunFilter(command, "", out) ? out : std::string();
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
  std::string current;
  int checked = 0, dstYears = 0;
  std::unique_ptr<Pinned> pin;
  for (const texttest::ZoneLine& l : texttest::ParseZoneOracle(oracle)) {
    if (l.zone != current) {
      pin.reset();
      pin = std::make_unique<Pinned>(l.zone.c_str());
      current = l.zone;
    }
    if (l.kind == "dst") {
      plat::SystemTime s, e;
      zx::DaylightSavingInUtc(l.year, &s, &e);
      const int got[10] = {s.year, s.month, s.day, s.hour, s.minute, e.year, e.month, e.day, e.hour, e.minute};
      for (int k = 0; k < 10; ++k) ASSERT_EQ(got[k], l.v[k]) << l.zone << " " << l.year << " field " << k;
      dstYears += l.v[0] != 0;
    } else {
      const plat::SystemTime from{static_cast<uint16_t>(l.v[0]), static_cast<uint16_t>(l.v[1]), 0,
                                  static_cast<uint16_t>(l.v[2]), static_cast<uint16_t>(l.v[3]),
                                  static_cast<uint16_t>(l.v[4]), 0, 0};
      plat::SystemTime t;
      ASSERT_TRUE(l.kind == "u2l" ? plat::UtcToLocalTime(&from, &t) : plat::LocalTimeToUtc(&from, &t));
      const int got[5] = {t.year, t.month, t.day, t.hour, t.minute};
      for (int k = 0; k < 5; ++k)
        ASSERT_EQ(got[k], l.v[5 + k]) << l.kind << " " << l.zone << " " << l.v[0] << "-" << l.v[1] << "-" << l.v[2]
                                      << " " << l.v[3] << ":" << l.v[4];
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
