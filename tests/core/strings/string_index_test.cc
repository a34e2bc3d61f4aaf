// String's index operators and the out-of-range cell with its WRN line.
#include <gtest/gtest.h>

#include "core/strings/String.h"
#include "support/support_test_util.h"

using zx::String;

namespace {

constexpr char16_t kWildWrite[] = u"WRN: detected write to String::operator[] with index out of bounds";

class StringIndex : public ::testing::Test {
 protected:
  void TearDown() override { String::ResetOutOfRangeCellForTests(); }
};

TEST_F(StringIndex, ReadingOutsideGivesZero) {
  const String s(u"abc");
  EXPECT_EQ(s[0], u'a');
  EXPECT_EQ(s[2], u'c');
  EXPECT_EQ(s[3], 0);   // the index equal to the length
  EXPECT_EQ(s[100], 0);
  EXPECT_EQ(s[-1], 0);
  const String none;
  EXPECT_EQ(none[0], 0);
  EXPECT_EQ(none[5], 0);
  EXPECT_EQ(none.GetAt(0), 0);
}

TEST_F(StringIndex, WritingInsideChangesOnlyThisString) {
  String a(u"abc");
  String b(a);
  b[1] = u'X';
  EXPECT_EQ(b.View(), u"aXc");
  EXPECT_EQ(a.View(), u"abc");
  EXPECT_EQ(String::OutOfRangeCell(), 0);
}

TEST_F(StringIndex, WildWriteIsReportedByEveryLaterDestruction) {
  zxsupport::DiagCapture diag;
  {
    String s(u"abc");
    String t(s);
    s[3] = u'!';   // behind the end: lands in the cell, no text changes
    EXPECT_EQ(s.View(), u"abc");
    EXPECT_EQ(t.View(), u"abc");
    EXPECT_EQ(s.BufferUsage(), 2);   // no unsharing for a wild write
    EXPECT_EQ(String::OutOfRangeCell(), u'!');
    EXPECT_EQ(diag.CountEqual(kWildWrite), 0u);
  }
  EXPECT_EQ(diag.CountEqual(kWildWrite), 2u);   // s and t
  { String later(u"unrelated"); }
  EXPECT_EQ(diag.CountEqual(kWildWrite), 3u);   // the cell is never reset
  (void)String(u"temporary").Length();
  EXPECT_EQ(diag.CountEqual(kWildWrite), 4u);
}

TEST_F(StringIndex, WildWritesThroughEmptyAndNegative) {
  zxsupport::DiagCapture diag;
  {
    String none;
    none[0] = u'x';
    EXPECT_EQ(none.Length(), 0);
    String s(u"q");
    s[-3] = u'y';
    EXPECT_EQ(s.View(), u"q");
  }
  EXPECT_EQ(diag.CountEqual(kWildWrite), 2u);
}

TEST_F(StringIndex, NoLineWhileTheCellIsZero) {
  zxsupport::DiagCapture diag;
  { String s(u"fine"); s[0] = u'F'; }
  EXPECT_TRUE(diag.Lines().empty());
}

}  // namespace
