// Locale dates: the reader's rules, the same typed texts in 24 locales, the writer,
// format -> read over a whole 400-year cycle, the compact, mail and ISO forms, and
// the exports. Day numbers are judged by python's date.toordinal; on Linux the
// formatter is judged by ICU's own formatting of the same date.
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "platform/bstr.h"
#include "platform/date_format.h"
#include "platform/locale.h"
#include "platform/variant.h"
#include "support/support_test_util.h"
#include "text_test_util.h"
#include "text/Date.h"
#include "text/LocaleDate.h"
#include "zxUT22.h"

using zx::String;

namespace {

// A plat::SystemTime or a texttest::Ymdhms.
template <class Time>
std::string Show(const Time& t) {
  char b[64];
  std::snprintf(b, sizeof b, "%04d-%02d-%02d %02d:%02d:%02d", int(t.year), int(t.month), int(t.day), int(t.hour),
                int(t.minute), int(t.second));
  return b;
}

plat::SystemTime Today() {
  plat::SystemTime t;
  plat::LocalTimeNow(&t);
  return t;
}

int Read(uint32_t lcid, const char16_t* text, plat::SystemTime& t, uint32_t flags = 0) {
  return zx::ReadLocaleDateTime(lcid, text, &t, flags);
}

constexpr uint32_t kEnUs = 0x0409, kDeDe = 0x0407;

// ---- clsDate

TEST(Date, DayNumbersAsPythonCountsThem) {
  std::string out;
  if (!zxsupport::RunFilter("python3 -c pass", "", out)) GTEST_SKIP() << "no python here";
  // Every 97th day from 0001-01-01 to 9999-12-31: ordinal, weekday (0 Monday).
  ASSERT_TRUE(zxsupport::RunFilter(
      "python3 -c \"import datetime as d\nfor n in range(1, 3652059, 97):\n x=d.date.fromordinal(n); "
      "print(n, x.year, x.month, x.day, x.weekday())\"",
      "", out));
  std::istringstream in(out);
  int n, y, m, d, wd, lines = 0;
  while (in >> n >> y >> m >> d >> wd) {
    const zx::clsDate date(y, m, d);
    ASSERT_TRUE(date.IsValid()) << y << "-" << m << "-" << d;
    ASSERT_EQ(date.DayNumber(), n - 1) << y << "-" << m << "-" << d;
    ASSERT_EQ(date.DayOfWeek(), (wd + 1) % 7) << y << "-" << m << "-" << d;
    const zx::clsDate back(n - 1);
    ASSERT_EQ(back.Year(), y);
    ASSERT_EQ(back.Month(), m);
    ASSERT_EQ(back.Day(), d);
    ++lines;
  }
  EXPECT_GT(lines, 37000);
}

TEST(Date, Validity) {
  const struct {
    int y, m, d;
    bool valid;
  } cases[] = {{2021, 2, 28, true}, {2021, 2, 29, false}, {2020, 2, 29, true}, {1900, 2, 29, false},
               {2000, 2, 29, true}, {2021, 2, 31, false}, {2021, 13, 1, false}, {2021, 0, 1, false},
               {2021, 4, 31, false}, {2021, 12, 31, true}, {1500, 3, 1, true}, {1, 1, 1, true},
               {2021, 1, 0, false}, {65534, 12, 31, true}};
  for (const auto& c : cases) EXPECT_EQ(zx::clsDate(c.y, c.m, c.d).IsValid(), c.valid) << c.y << "-" << c.m << "-" << c.d;
  // The rule form of the zones: the n-th weekday, 5 the last.
  EXPECT_EQ(zx::clsDate::NthWeekday(2021, 3, 0, 5).Day(), 28);    // last Sunday of March 2021
  EXPECT_EQ(zx::clsDate::NthWeekday(2021, 10, 0, 5).Day(), 31);
  EXPECT_EQ(zx::clsDate::NthWeekday(2021, 3, 0, 2).Day(), 14);    // second Sunday
  EXPECT_EQ(zx::clsDate::NthWeekday(2021, 11, 0, 1).Day(), 7);
  EXPECT_EQ(zx::clsDate::NthWeekday(2020, 2, 6, 5).Day(), 29);    // last Saturday of a leap February
}

// ---- the reader's rules

TEST(DateReader, Rules) {
  const plat::SystemTime today = Today();
  const struct {
    uint32_t lcid;
    const char16_t* text;
    uint32_t flags;
    int result;
    texttest::Ymdhms want;   // -1: today's year, month or day
  } cases[] = {
      {kDeDe, u"1.2.2021", 0, 0, {2021, 2, 1, 0, 0, 0}},
      {kEnUs, u"1/2/2021", 0, 0, {2021, 1, 2, 0, 0, 0}},
      {kDeDe, u"  1.2.2021  ", 0, 0, {2021, 2, 1, 0, 0, 0}},
      {kDeDe, u"1 . 2 . 2021 13:05:09", 0, 0, {2021, 2, 1, 13, 5, 9}},
      {kDeDe, u"1.2.2021, 13:05", 0, 0, {2021, 2, 1, 13, 5, 0}},
      {kEnUs, u"1/2/2021 1:05 pm", 0, 0, {2021, 1, 2, 13, 5, 0}},
      {kEnUs, u"1/2/2021 12:05:09AM", 0, 0, {2021, 1, 2, 0, 5, 9}},
      {kEnUs, u"1/2/2021 12:05 PM", 0, 0, {2021, 1, 2, 12, 5, 0}},
      {kDeDe, u"12:30", 0, 0, {0, 0, 0, 0, 0, 0}},                  // a time alone fits nothing ...
      {kDeDe, u"12:30", 0x8, 0, {0, 0, 0, 12, 30, 0}},             // ... unless flag 0x8
      {kEnUs, u"12:00 AM", 0x8, 0, {0, 0, 0, 0, 0, 0}},
      {kEnUs, u"12:00 PM", 0x8, 0, {0, 0, 0, 12, 0, 0}},
      {kEnUs, u"1:00 pm", 0x8, 0, {0, 0, 0, 13, 0, 0}},
      {kDeDe, u"31.02.2021", 0, -52, {2021, 2, 31, 0, 0, 0}},
      {kDeDe, u"31.02.2021", 0x4, 0, {2021, 2, 31, 0, 0, 0}},
      {kDeDe, u"5.3.", 0, 0, {-1, 3, 5, 0, 0, 0}},                 // this year
      {kDeDe, u"5.3.", 0x2, -52, {-1, 3, 5, 0, 0, 0}},
      {kDeDe, u"5.3.", 0x4, 0, {0, 3, 5, 0, 0, 0}},
      {kDeDe, u"5", 0, 0, {5, -1, -1, 0, 0, 0}},                     // a lone number is the year
      {kDeDe, u"1.2.21", 0x1, 0, {2021, 2, 1, 0, 0, 0}},
      {kDeDe, u"1.2.45", 0x1, 0, {1945, 2, 1, 0, 0, 0}},
      {kDeDe, u"1.2.29", 0x1, 0, {2029, 2, 1, 0, 0, 0}},
      {kDeDe, u"1.2.30", 0x1, 0, {1930, 2, 1, 0, 0, 0}},
      {kDeDe, u"1.2.21", 0, 0, {21, 2, 1, 0, 0, 0}},
      {kDeDe, u"1.2.2021", 0x10, 0, {2021, 2, 1, 0, 0, 65535}},
      {kDeDe, u"1.2.2021 24:00", 0, 0, {0, 0, 0, 0, 0, 0}},        // no hour 24
      {kDeDe, u"13.13.2021", 0, -52, {2021, 13, 13, 0, 0, 0}},
      {kDeDe, u"1/2/2021", 0, 0, {0, 0, 0, 0, 0, 0}},              // not the locale's separator
      // The ISO pattern: group 3 keeps its hyphen, the day's digits become the hour.
      {kDeDe, u"2021-01-02", 0, -52, {2021, 1, 65534, 2, 0, 0}},
      {kDeDe, u"2021-01-02", 0x4, 0, {2021, 1, 65534, 2, 0, 0}},
      {kDeDe, u"hello", 0, 0, {0, 0, 0, 0, 0, 0}},
  };
  for (const auto& c : cases) {
    plat::SystemTime t;
    const int r = Read(c.lcid, c.text, t, c.flags);
    texttest::Ymdhms want = c.want;
    if (want.year == -1) want.year = today.year;
    if (want.month == -1) want.month = today.month;
    if (want.day == -1) want.day = today.day;
    EXPECT_EQ(r, c.result) << zxsupport::Ascii(c.text) << " flags " << c.flags;
    EXPECT_EQ(Show(t), Show(want)) << zxsupport::Ascii(c.text) << " flags " << c.flags;
  }
}

TEST(DateReader, EmptyTextIsNow) {
  plat::SystemTime t;
  const plat::SystemTime before = Today();
  EXPECT_EQ(Read(kDeDe, u"   ", t), 0);
  EXPECT_EQ(t.year, before.year);
  EXPECT_EQ(t.month, before.month);
  EXPECT_NE(t.day, 0);
}

// ---- 24 locales: what a person types there, judged by what the person means

TEST(DateLocales, TypedTexts) {
  for (const texttest::LocaleCase& c : texttest::kLocales) {
    // The reader's fields of the locale; where the system's differ from ICU's, the
    // difference is named and the text typed for ICU's data is not judged.
    std::string differs;
    const struct {
      uint32_t type;
      const char* field;
      const char16_t* icu;
    } fields[] = {{plat::kLocaleIDate, "IDATE", c.iDate}, {plat::kLocaleSDate, "SDATE", c.sDate},
                  {plat::kLocaleSTime, "STIME", c.sTime}};
    for (const auto& f : fields) {
      char16_t buffer[16];
      const int n = plat::LocaleInfo(c.lcid, f.type, buffer, 16);
      std::u16string value = n > 1 ? std::u16string(buffer, n - 1) : std::u16string();
      std::erase(value, u' ');
      if (value != f.icu) differs += std::string(" ") + f.field + " '" + zxsupport::Ascii(value) + "' (ICU '" + zxsupport::Ascii(f.icu) + "')";
    }
    if (!differs.empty()) {
      EXPECT_TRUE(zxsupport::UnderWine()) << c.name << ":" << differs;   // on Linux the data are ICU's
      std::printf("[ info ] %s: the system's data differ:%s%s%s\n", c.name, differs.c_str(), c.why ? "; " : "",
                  c.why ? c.why : "");
      continue;
    }
    plat::SystemTime t;
    EXPECT_EQ(Read(c.lcid, c.typed, t), 0) << c.name;
    EXPECT_EQ(Show(t), Show(c.want)) << c.name << ": " << zxsupport::Ascii(c.typed);
  }
}

// What the writer gives reads back, every day of a 400-year cycle, with a time in
// the locale's own 12- or 24-hour form. (With the 24-hour flag the system keeps
// the AM/PM mark, "15:39:33 PM", which no expression reads; on Linux the mark goes.)
TEST(DateLocales, FourHundredYearsRoundTrip) {
  for (uint32_t lcid : {0x0409u, 0x0407u, 0x0411u, 0x040Bu, 0x0413u}) {
    const int64_t first = zx::clsDate::DayNumberOf(2000, 1, 1);
    int failures = 0;
    for (int64_t n = first; n < first + 146097 && failures < 5; ++n) {
      const zx::clsDate d(n);
      plat::SystemTime t{static_cast<uint16_t>(d.Year()), static_cast<uint16_t>(d.Month()), 0,
                         static_cast<uint16_t>(d.Day()), static_cast<uint16_t>(n % 24),
                         static_cast<uint16_t>(n % 60), static_cast<uint16_t>((n * 7) % 60), 0};
      const String text = zx::WriteLocaleDateTime(lcid, &t, zx::kWriteDate | zx::kWriteTime);
      plat::SystemTime back;
      const int r = zx::ReadLocaleDateTime(lcid, text.View(), &back, 0);
      if (r != 0 || Show(back) != Show(t)) {
        ADD_FAILURE() << std::hex << lcid << std::dec << ": " << Show(t) << " -> '" << zxsupport::Ascii(text.View())
                      << "' -> " << Show(back) << " (" << r << ")";
        ++failures;
      }
    }
  }
}

// Hungarian and Korean short dates end with a dot, for which the reader's
// expressions have no place: what the writer gives is not read back.
TEST(DateLocales, ClosingSeparatorIsNotRead) {
  for (uint32_t lcid : {0x040Eu, 0x0412u}) {
    plat::SystemTime t{2021, 2, 0, 1, 0, 0, 0, 0}, back;
    const String text = zx::WriteLocaleDateTime(lcid, &t, zx::kWriteDate);
    if (text.View().empty() || text.View().back() != u'.') continue;   // the system's data has none
    EXPECT_EQ(zx::ReadLocaleDateTime(lcid, text.View(), &back, 0), 0);
    EXPECT_EQ(back.year, 0) << zxsupport::Ascii(text.View());
  }
}

// ---- the writer

TEST(DateWriter, Flags) {
  const plat::SystemTime t{2021, 2, 0, 1, 13, 5, 9, 0};
  char16_t date[40], full[40], noSec[40], h24[40];
  ASSERT_GT(plat::FormatShortDate(kEnUs, &t, date, 40), 1);
  ASSERT_GT(plat::FormatTime(kEnUs, 0, &t, full, 40), 1);
  ASSERT_GT(plat::FormatTime(kEnUs, plat::kTimeNoSeconds, &t, noSec, 40), 1);
  ASSERT_GT(plat::FormatTime(kEnUs, plat::kTimeForce24Hour, &t, h24, 40), 1);
  const std::u16string d(date), f(full), n(noSec), h(h24);
  EXPECT_EQ(d, u"2/1/2021");
  EXPECT_NE(f.find(u"1:05:09"), std::u16string::npos);
  EXPECT_NE(f.find(u"PM"), std::u16string::npos);
  EXPECT_EQ(n.find(u":09"), std::u16string::npos);
  EXPECT_NE(h.find(u"13:05:09"), std::u16string::npos);
  const struct {
    uint32_t flags;
    std::u16string want;
  } cases[] = {{0x4, d}, {0x2, f}, {0x6, d + u" " + f}, {0x1, n}, {0x5, d + u" " + n}, {0x12, h}, {0x13, n}, {0, u""}};
  for (const auto& c : cases) {
    EXPECT_EQ(std::u16string(zx::WriteLocaleDateTime(kEnUs, &t, c.flags).View()), c.want) << c.flags;
  }
  // Midnight has no time; a year before 1601 goes by the picture.
  const plat::SystemTime midnight{2021, 2, 0, 1, 0, 0, 0, 0};
  EXPECT_EQ(std::u16string(zx::WriteLocaleDateTime(kEnUs, &midnight, 6).View()), d);
  const plat::SystemTime early{1500, 3, 0, 1, 0, 0, 0, 0};
  EXPECT_EQ(std::u16string(zx::WriteLocaleDateTime(kEnUs, &early, 6).View()), u"03/01/1500");
  EXPECT_EQ(std::u16string(zx::WriteLocaleDateTime(kDeDe, &early, 4).View()), u"01.03.1500");
  // No time: today.
  char16_t now[40];
  ASSERT_GT(plat::FormatShortDate(kEnUs, nullptr, now, 40), 1);
  EXPECT_EQ(std::u16string(zx::WriteLocaleDateTime(kEnUs, nullptr, 4).View()), std::u16string(now));
}

TEST(DateWriter, PictureByHand) {
  const plat::SystemTime t{1500, 3, 0, 1, 0, 0, 0, 0};
  const struct {
    const char16_t* picture;
    const char16_t* want;
  } cases[] = {{u"dd.MM.yyyy", u"01.03.1500"}, {u"d/M/yy", u"01/03/00"}, {u"MMM d, yyyyy", u"03 01, 1500"},
               {u"yyyy-MM-dd \"x\"", u"1500-03-01 x"}, {u"dd.MM.yyyy 'r.'", u"01.03.1500 r."}};
  for (const auto& c : cases) EXPECT_EQ(std::u16string(zx::FormatByPicture(String(c.picture), t).View()), c.want);
}

// ---- compact, mail and ISO forms

std::u16string UserShortDate(const plat::SystemTime& t) {
  char16_t b[40];
  return plat::FormatShortDate(plat::UserDefaultLCID(), &t, b, 40) > 1 ? std::u16string(b) : std::u16string();
}

TEST(CompactDates, FromAndToLocale) {
  WCHAR out[32];
  EXPECT_EQ(UtilDateTimeFromLocaleString(reinterpret_cast<LPCWSTR>(u"20210102"), out, 32, 0), 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(out)), u"20210102000000");
  EXPECT_EQ(UtilDateTimeFromLocaleString(reinterpret_cast<LPCWSTR>(u"20210102133000"), out, 32, 0), 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(out)), u"20210102133000");
  EXPECT_EQ(UtilDateTimeFromLocaleString(reinterpret_cast<LPCWSTR>(u"20210102"), out, 5, 0), 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(out)), u"2021");   // cut to the buffer
  EXPECT_EQ(UtilDateTimeFromLocaleString(nullptr, out, 32, 0), 0);
  // The user's own short date reads back.
  const plat::SystemTime t{2021, 2, 0, 1, 0, 0, 0, 0};
  const std::u16string typed = UserShortDate(t);
  ASSERT_FALSE(typed.empty());
  EXPECT_EQ(UtilDateTimeFromLocaleString(reinterpret_cast<LPCWSTR>(typed.c_str()), out, 32, 0), 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(out)), u"20210201000000") << zxsupport::Ascii(typed);
  EXPECT_EQ(UtilDateTimeFromLocaleString(reinterpret_cast<LPCWSTR>(u"no date"), out, 32, 0), 1);
  EXPECT_EQ(out[0], 0);

  EXPECT_EQ(UtilDateTimeToLocaleString(reinterpret_cast<LPCWSTR>(u"20210201000000"), out, 32), 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(out)), typed);   // no time at midnight
  EXPECT_EQ(UtilDateTimeToLocaleString(reinterpret_cast<LPCWSTR>(u" 20210201 "), out, 32), 1);
  EXPECT_EQ(std::u16string(reinterpret_cast<char16_t*>(out)), typed);
  EXPECT_EQ(UtilDateTimeToLocaleString(reinterpret_cast<LPCWSTR>(u"20210201"), out, 3), 0);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(UtilDateTimeToLocaleString(reinterpret_cast<LPCWSTR>(u"  "), out, 32), 1);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(UtilDateTimeToLocaleString(reinterpret_cast<LPCWSTR>(u"20210201133005"), out, 32), 1);
  EXPECT_NE(std::u16string(reinterpret_cast<char16_t*>(out)).find(typed + u" "), std::u16string::npos);
}

TEST(CompactDates, StoredForms) {
  const struct {
    const char16_t* text;
    texttest::Ymdhms want;
    int milliseconds;
  } cases[] = {
      {u"20210102", {2021, 1, 2, 0, 0, 0}, 0},
      {u"202101021304", {2021, 1, 2, 13, 4, 0}, 0},
      {u"20210102130405", {2021, 1, 2, 13, 4, 5}, 0},
      {u"Tue, 2 Mar 2021 10:00:00 +0100", {2021, 3, 2, 9, 0, 0}, 0},
      {u"2 Mar 2021 23:30:00 -0200", {2021, 3, 3, 1, 30, 0}, 0},
      {u"Wed, 31 Dec 2025 22:00:00 EST", {2026, 1, 1, 3, 0, 0}, 0},
      {u"Mon, 1 Mar 2021 00:10:00 PDT", {2021, 3, 1, 7, 10, 0}, 0},
      {u"1 mar 2021 00:10:00 GMT", {2021, 3, 1, 0, 10, 0}, 0},
      {u"Date: 1 Feb 2021 08:00:00", {2021, 2, 1, 8, 0, 0}, 0},
      {u"2021-03-02T10:00:00Z", {2021, 3, 2, 10, 0, 0}, 0},
      {u"2021\u20103\u20102T10:00:00.5+01:00", {2021, 3, 2, 9, 0, 0}, 500},
      {u"2021-03-02T23:00:00,25\u221202:00", {2021, 3, 3, 1, 0, 0}, 250},
      {u"2021-03-02T10:00", {2021, 3, 2, 10, 0, 0}, 0},
      {u"hello world", {0, 0, 0, 0, 0, 0}, 0},
      {u"1 Foo 2021 10:00:00", {0, 0, 0, 0, 0, 0}, 0},
  };
  for (const auto& c : cases) {
    SYSTEMTIME st;
    std::memset(&st, 0x55, sizeof st);
    EXPECT_EQ(UtilLocDateTimeToSYSTEMTIME(reinterpret_cast<LPCWSTR>(c.text), &st), 0);
    plat::SystemTime t;
    std::memcpy(&t, &st, sizeof t);
    EXPECT_EQ(Show(t), Show(c.want)) << zxsupport::Ascii(c.text);
    EXPECT_EQ(t.milliseconds, c.milliseconds) << zxsupport::Ascii(c.text);
  }
  SYSTEMTIME now;
  UtilLocDateTimeToSYSTEMTIME(reinterpret_cast<LPCWSTR>(u""), &now);
  EXPECT_EQ(now.wYear, Today().year);
}

// ---- the exports' arguments

TEST(DateExports, Arguments) {
  plat::Bstr text = plat::SysAlloc(u"1.2.2021 13:05");
  SYSTEMTIME st;
  EXPECT_EQ(UtilLocSystemTimeFromLocaleString(kDeDe, reinterpret_cast<BSTR>(text), &st, 0), 0);
  EXPECT_EQ(st.wYear, 2021);
  EXPECT_EQ(st.wMonth, 2);
  EXPECT_EQ(st.wDayOfWeek, 1);   // a Monday
  EXPECT_EQ(UtilLocSystemTimeFromLocaleString(kDeDe, reinterpret_cast<BSTR>(text), nullptr, 0), -52);
  plat::SysFree(text);
  EXPECT_EQ(UtilLocSystemTimeFromLocaleString(kDeDe, nullptr, &st, 0), 0);   // null: now
  EXPECT_EQ(st.wYear, Today().year);

  VARIANT v;
  plat::VariantInit(&v);
  const SYSTEMTIME when{2021, 2, 1, 1, 13, 5, 9, 0};
  char16_t date[40], time[40];
  ASSERT_GT(plat::FormatShortDate(kDeDe, reinterpret_cast<const plat::SystemTime*>(&when), date, 40), 1);
  ASSERT_GT(plat::FormatTime(kDeDe, 0, reinterpret_cast<const plat::SystemTime*>(&when), time, 40), 1);
  EXPECT_EQ(UtilLocLocaleStringFromSystemTime(kDeDe, &when, &v), 0);
  ASSERT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(plat::BstrOf(v)), std::u16string(date) + u" " + time);   // "01.02.2021 13:05:09"
  EXPECT_EQ(std::u16string(time), u"13:05:09");
  EXPECT_EQ(UtilLocLocaleStringFromSystemTimeEx(kDeDe, &when, &v, 1), 0);   // replaces the old text
  EXPECT_EQ(std::u16string(plat::BstrOf(v)), u"13:05");
  EXPECT_EQ(UtilLocLocaleStringFromSystemTimeEx(kDeDe, &when, nullptr, 6), 0);
  plat::VariantClear(&v);

  EXPECT_EQ(UtilLocConvertLocalTimeToUTCTime(nullptr), static_cast<HRESULT>(0x80070057));
  SYSTEMTIME zero{};
  EXPECT_EQ(UtilLocConvertLocalTimeToUTCTime(&zero), static_cast<HRESULT>(0x80070057));
  EXPECT_EQ(UtilLocConvertUTCTimeToLocalTime(&zero), static_cast<HRESULT>(0x80070057));
  SYSTEMTIME bad{2021, 13, 0, 1, 0, 0, 0, 0};
  EXPECT_EQ(UtilLocConvertUTCTimeToLocalTime(&bad), static_cast<HRESULT>(0x80070057));
  SYSTEMTIME s, e;
  EXPECT_EQ(UtilLocGetDSTStartAndEndInUTC(1200, &s, &e), 0);   // before file times: none
  EXPECT_EQ(s.wYear, 0);
  EXPECT_EQ(e.wYear, 0);
  EXPECT_EQ(UtilLocGetDSTStartAndEndInUTC(2021, nullptr, nullptr), 0);
}

}  // namespace
