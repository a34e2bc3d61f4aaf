// Linux: the date formatter against ICU's own formatting of the same date and
// time, for every locale of the table (Gregorian calendar, Latin digits, as the
// formatter asks; a two-digit year widened to four, as the formatter writes it;
// flexible day periods as AM and PM, the only marks of the system's pictures).
#include <gtest/gtest.h>
#include <unicode/smpdtfmt.h>

#include <memory>
#include <string>

#include "platform/date_format.h"
#include "support/support_test_util.h"
#include "text_test_util.h"

namespace {

// ICU's text for a pattern style, with the year in full and plain spaces.
std::u16string IcuText(const char* name, bool date, const plat::SystemTime& t) {
  const icu::Locale loc((std::string(name) + "@calendar=gregorian;numbers=latn").c_str());
  std::unique_ptr<icu::DateFormat> f(date ? icu::DateFormat::createDateInstance(icu::DateFormat::kShort, loc)
                                          : icu::DateFormat::createTimeInstance(icu::DateFormat::kMedium, loc));
  auto* simple = dynamic_cast<icu::SimpleDateFormat*>(f.get());
  if (!simple) return u"<no ICU format>";
  icu::UnicodeString pattern;
  simple->toPattern(pattern);
  pattern.findAndReplace("yy", "y");   // the short year in full
  pattern.findAndReplace("B", "a");    // the system's pictures know AM and PM, no other day periods
  simple->applyPattern(pattern);
  UErrorCode err = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> cal(icu::Calendar::createInstance(icu::TimeZone::getGMT()->clone(), loc, err));
  cal->clear();
  cal->set(t.year, t.month - 1, t.day, t.hour, t.minute, t.second);
  simple->setTimeZone(*icu::TimeZone::getGMT());
  icu::UnicodeString out;
  simple->format(cal->getTime(err), out);
  std::u16string text(reinterpret_cast<const char16_t*>(out.getBuffer()), static_cast<size_t>(out.length()));
  std::u16string plain;
  for (char16_t c : text) {
    if (c == 0x200E || c == 0x200F || c == 0x061C) continue;
    plain += (c == 0x202F || c == 0x00A0) ? u' ' : c;
  }
  return plain;
}

TEST(DateFormatter, AsIcuFormatsTheSameDate) {
  for (const plat::SystemTime& t : {plat::SystemTime{2021, 2, 0, 1, 13, 5, 9, 0},
                                    plat::SystemTime{1999, 12, 0, 31, 0, 59, 1, 0},
                                    plat::SystemTime{2024, 2, 0, 29, 11, 30, 0, 0}}) {
    for (const texttest::LocaleCase& c : texttest::kLocales) {
      char16_t date[40], time[40];
      ASSERT_GT(plat::FormatShortDate(c.lcid, &t, date, 40), 1) << c.name;
      ASSERT_GT(plat::FormatTime(c.lcid, 0, &t, time, 40), 1) << c.name;
      EXPECT_EQ(std::u16string(date), IcuText(c.name, true, t)) << c.name;
      EXPECT_EQ(std::u16string(time), IcuText(c.name, false, t)) << c.name;
    }
  }
}

}  // namespace
