// The property block, the ISO 8601 reader and the HTML unescaping that the
// markup-based document readers share.
#include <gtest/gtest.h>

#include "docinfo/DocMarkup.h"
#include "platform/time_zone.h"

namespace zx {
namespace {

plat::SystemTime Utc(uint16_t y, uint16_t mo, uint16_t d, uint16_t h, uint16_t mi, uint16_t s, uint16_t ms = 0) {
  plat::SystemTime t{y, mo, 0, d, h, mi, s, ms};
  return t;
}

// Day of week aside: the readers set it, the expectations need not.
void ExpectTime(const plat::SystemTime& want, const plat::SystemTime& got) {
  EXPECT_EQ(want.year, got.year);
  EXPECT_EQ(want.month, got.month);
  EXPECT_EQ(want.day, got.day);
  EXPECT_EQ(want.hour, got.hour);
  EXPECT_EQ(want.minute, got.minute);
  EXPECT_EQ(want.second, got.second);
  EXPECT_EQ(want.milliseconds, got.milliseconds);
}

class PinnedZone {
 public:
  explicit PinnedZone(const char* zone) : ok_(plat::PinTimeZoneForTests(zone)) {}
  ~PinnedZone() { plat::PinTimeZoneForTests(nullptr); }
  bool ok() const { return ok_; }

 private:
  bool ok_;
};

TEST(Iso8601, OffsetsAndSeparators) {
  struct {
    const char16_t* text;
    plat::SystemTime want;
  } cases[] = {
      {u"2012-03-05T10:20:30+01:00", Utc(2012, 3, 5, 9, 20, 30)},
      {u"2012-03-05T10:20:30-05:30", Utc(2012, 3, 5, 15, 50, 30)},
      {u"2012\u201003\u201005T10:20:30\u221201:00", Utc(2012, 3, 5, 11, 20, 30)},
      {u"20120305T102030+0100", Utc(2012, 3, 5, 9, 20, 30)},
      {u"2012-03-05T10:20:30.25+00:00", Utc(2012, 3, 5, 10, 20, 30, 250)},
      {u"2012-03-05T10:20:30,5-00:00", Utc(2012, 3, 5, 10, 20, 30, 500)},
      {u"2012-12-31T23:30:00-01:00", Utc(2013, 1, 1, 0, 30, 0)},   // across the year
      {u"2012-03-05T24:00:00+00:00", Utc(2012, 3, 6, 0, 0, 0)},    // hour 24: next day
      {u"2012-02-28T24:00:00+00:00", Utc(2012, 2, 29, 0, 0, 0)},
      {u"2012-03-05T10+02", Utc(2012, 3, 5, 8, 0, 0)},             // later fields missing
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(String(c.text).narrow());
    plat::SystemTime t = kUnsetSystemTime;
    ASSERT_TRUE(ParseIso8601Date(String(c.text), &t));
    ExpectTime(c.want, t);
    EXPECT_NE(0xFFFF, t.dayOfWeek);
  }
}

TEST(Iso8601, RefusesWhatIsNoDate) {
  for (const char16_t* text : {u"", u"2012", u"2012-3-5", u"12-03-05", u"2012-13-01", u"2012-02-30",
                               u"2012-03-05T10:00+", u"abcd-ef-gh"}) {
    SCOPED_TRACE(String(text).narrow());
    plat::SystemTime t = kUnsetSystemTime;
    EXPECT_FALSE(ParseIso8601Date(String(text), &t));
    EXPECT_TRUE(IsUnsetTime(t));
  }
}

TEST(Iso8601, WithoutOffsetIsLocalTimeAndZIsNoZone) {
  PinnedZone zone("Europe/Berlin");
  if (!zone.ok()) GTEST_SKIP() << "the zone cannot be pinned in this process";
  plat::SystemTime t = kUnsetSystemTime;
  ASSERT_TRUE(ParseIso8601Date(String(u"2012-03-05T10:20:30Z"), &t));
  ExpectTime(Utc(2012, 3, 5, 9, 20, 30), t);        // winter: UTC+1
  ASSERT_TRUE(ParseIso8601Date(String(u"2012-07-05T10:20:30"), &t));
  ExpectTime(Utc(2012, 7, 5, 8, 20, 30), t);        // summer: UTC+2
  ASSERT_TRUE(ParseIso8601Date(String(u"2012-07-05"), &t));
  ExpectTime(Utc(2012, 7, 4, 22, 0, 0), t);
}

TEST(PropertyBlock, NamesGoToTheirPropertiesAndOthersAreSkipped) {
  clsDocu doc(String(u"x.htm"), 0, 0, nullptr);
  const String block(
      u"\r\n  <o:Subject>Plans</o:Subject>\r\n  <o:Author>Ann Smith</o:Author>\r\n"
      u"  <o:Template>Normal</o:Template>\r\n  <o:LastAuthor>Bob</o:LastAuthor>\r\n"
      u"  <o:Keywords>a, b</o:Keywords>\r\n  <o:Description>two\r\nlines</o:Description>\r\n"
      u"  <o:Title>not read from a block</o:Title>\r\n"
      u"  <o:Created>2001-09-11T08:00:00Z</o:Created>\r\n"
      u"  <o:LastSaved>2002-01-02T03:04:05+01:00</o:LastSaved>\r\n");
  EXPECT_EQ(0, ReadPropertyBlock(doc, block));
  EXPECT_EQ(String(u"Plans"), doc.subject.Text());
  EXPECT_EQ(String(u"Ann Smith"), doc.author.Text());
  EXPECT_EQ(String(u"Bob"), doc.lastAuthor.Text());
  EXPECT_EQ(String(u"a, b"), doc.keywords.Text());
  EXPECT_EQ(String(u"two\r\nlines"), doc.comments.Text());
  EXPECT_EQ(VT_EMPTY, doc.title.vt);
  ExpectTime(Utc(2002, 1, 2, 2, 4, 5), doc.lastSaved);
  EXPECT_FALSE(IsUnsetTime(doc.created));
}

TEST(PropertyBlock, NamesAreExactAndBadDatesLeaveTheProperty) {
  clsDocu doc(String(u"x.htm"), 0, 0, nullptr);
  ReadPropertyBlock(doc, String(u"<o:author>lower</o:author><o:Created>soon</o:Created>"
                                u"<o:Author>first</o:Author><o:Author>second</o:Author>"));
  EXPECT_EQ(String(u"second"), doc.author.Text());
  EXPECT_TRUE(IsUnsetTime(doc.created));
}

TEST(HtmlUnescape, NamedThenLineBreaksThenNumeric) {
  EXPECT_EQ(String(u"caf\u00e9 \u00a0\u00ff\u00c6"), UnescapeHtml(String(u"caf&eacute; &nbsp;&yuml;&AElig;")));
  EXPECT_EQ(String(u"&amp; &lt;"), UnescapeHtml(String(u"&amp; &lt;")));   // only the 96 of ISO 8859-1
  EXPECT_EQ(String(u"ab"), UnescapeHtml(String(u"a\r\nb")));
  EXPECT_EQ(String(u"AAB\u20ac"), UnescapeHtml(String(u"&#65;&#x41;&#x0042;&#8364;")));
  EXPECT_EQ(String(u"&#x4;&#x12345;&#;&#x;"), UnescapeHtml(String(u"&#x4;&#x12345;&#;&#x;")));
  EXPECT_EQ(String(u"&#0;x"), UnescapeHtmlNumeric(String(u"&#0;&#120;")));
  EXPECT_EQ(String(u"A"), UnescapeHtmlNumeric(String(u"&#38;#65;")));       // completed by a replacement
  EXPECT_EQ(String(u"A"), UnescapeHtmlNumeric(String(u"&#38;#38;#38;#65;")));
  EXPECT_EQ(String(u"&#6A"), UnescapeHtmlNumeric(String(u"&#6&#65;")));
}

TEST(HtmlUnescape, LongHostileInputStaysLinear) {
  std::u16string text;
  for (int i = 0; i < 20000; ++i) text += u"&#38;#";
  text += u"65;";
  const String out = UnescapeHtmlNumeric(String(text.c_str()));
  EXPECT_GT(out.Length(), 0);
}

}  // namespace
}  // namespace zx
