// String's edit operations and their edge rules (what every edit does to the
// terminator, the narrow copy and a string sharing the buffer: string_terminator_test).
#include <gtest/gtest.h>

#include "core/strings/String.h"

using zx::kWholeString;
using zx::String;

namespace {

TEST(StringAssign, WideTextAndRanges) {
  String s(u"start");
  s.Assign(static_cast<const char16_t*>(nullptr));
  EXPECT_EQ(s.Length(), 0);
  s.Assign(u"hello world");
  EXPECT_EQ(s.View(), u"hello world");
  s.Assign(u"");
  EXPECT_EQ(s.Length(), 0);

  // {text, start, count, result}: at most count, stopping at the terminator; a
  // start at or behind the end and a count below 1 clear.
  const struct { const char16_t* text; int64_t start, count; const char16_t* result; } ranges[] = {
      {u"hello world", 6, 3, u"wor"}, {u"hello world", 6, kWholeString, u"world"}, {u"hello", 2, 100, u"llo"},
      {u"hello", 5, 1, u""}, {u"hello", 9, 1, u""}, {u"hello", 0, 0, u""}, {zx::kEmptyWide, 0, 5, u""}};
  for (const auto& r : ranges) {
    s.Assign(u"abc");
    s.Assign(r.text, r.start, r.count);
    EXPECT_EQ(s.View(), r.result) << r.start << " " << r.count;
  }
  // The range scan stops at start + count: nothing behind it is read.
  const char16_t unterminated[4] = {u'w', u'x', u'y', u'z'};
  s.Assign(unterminated, 1, 2);
  EXPECT_EQ(s.View(), u"xy");
}

TEST(StringAssign, FromOwnText) {
  String s(u"abcdef");
  s.Assign(s.wchar() + 2);
  EXPECT_EQ(s.View(), u"cdef");
  s.Append(s.wchar());
  EXPECT_EQ(s.View(), u"cdefcdef");
  s.Append(s);
  EXPECT_EQ(s.View(), u"cdefcdefcdefcdef");
  s.Insert(1, s.wchar() + 14);
  EXPECT_EQ(s.View(), u"cefdefcdefcdefcdef");
}

TEST(StringEdit, FillAndAppend) {
  String s;
  s.Fill(u'-', 5);
  EXPECT_EQ(s.View(), u"-----");
  s.Fill(0, 5);
  EXPECT_EQ(s.Length(), 0);
  s.Fill(u'x', 3);
  s.Fill(u'x', 0);
  EXPECT_EQ(s.Length(), 0);

  s.Append(u'a');
  s.Append(u"bc");
  s.Append(String(u"de"));
  s.Append(u"fghij", 2);
  EXPECT_EQ(s.View(), u"abcdefg");
  const char16_t* before = s.wchar();
  s.Append(u"");
  s.Append(static_cast<const char16_t*>(nullptr));
  s.Append(String());
  s.Append(char16_t{0});
  EXPECT_EQ(s.wchar(), before);
  EXPECT_EQ(s.Length(), 7);
}

TEST(StringEdit, AppendWithSeparator) {
  String s;
  s.Append(String(u"a"), u';');   // empty string: no separator
  EXPECT_EQ(s.View(), u"a");
  s.Append(String(u"b"), u';');
  EXPECT_EQ(s.View(), u"a;b");
  s.Append(String(u"c"), String(u", "));
  EXPECT_EQ(s.View(), u"a;b, c");
  String t;
  t.Append(String(u"x"), String(u", "));
  EXPECT_EQ(t.View(), u"x");
}

TEST(StringEdit, LeftRightMid) {
  String s(u"abcdef");
  EXPECT_EQ(s.Left(2).View(), u"ab");
  EXPECT_EQ(s.Left(0).Length(), 0);
  EXPECT_EQ(s.Left(-1).Length(), 0);
  EXPECT_TRUE(s.Left(6).SharesBufferWith(s));
  EXPECT_TRUE(s.Left(100).SharesBufferWith(s));
  EXPECT_FALSE(s.Left(5).SharesBufferWith(s));

  EXPECT_EQ(s.Right(2).View(), u"ef");
  EXPECT_TRUE(s.Right(6).SharesBufferWith(s));
  EXPECT_EQ(s.Right(0).Length(), 0);

  EXPECT_EQ(s.Mid(2, 3).View(), u"cde");
  EXPECT_EQ(s.Mid(2).View(), u"cdef");
  EXPECT_EQ(s.Mid(4, 100).View(), u"ef");
  EXPECT_EQ(s.Mid(6, 1).Length(), 0);
  EXPECT_EQ(s.Mid(60).Length(), 0);
  EXPECT_TRUE(s.Mid(0, kWholeString).SharesBufferWith(s));
  EXPECT_EQ(s.BufferUsage(), 1);   // every temporary released
}

TEST(StringEdit, Trims) {
  String s(u"   padded  ");
  s.TrimLeft();
  EXPECT_EQ(s.View(), u"padded  ");
  s.TrimRight();
  EXPECT_EQ(s.View(), u"padded");
  String t(u"\t tab");
  t.TrimLeft();   // only U+0020
  EXPECT_EQ(t.View(), u"\t tab");
  String u(u"path\\\\");
  u.TrimRight(u'\\');
  EXPECT_EQ(u.View(), u"path");
}

TEST(StringEdit, InsertDelete) {
  String s(u"held");
  s.Insert(2, u"l");
  EXPECT_EQ(s.View(), u"helld");
  s.Insert(5, u"!");   // at the end
  EXPECT_EQ(s.View(), u"helld!");
  s.Insert(7, u"?");   // behind the end: nothing
  s.Insert(-1, u"?");
  EXPECT_EQ(s.View(), u"helld!");
  s.Insert(0, u">>");
  EXPECT_EQ(s.View(), u">>helld!");

  s.Delete(0, 2);
  EXPECT_EQ(s.View(), u"helld!");
  s.Delete(3, 0);
  s.Delete(6, 1);
  s.Delete(60, 1);
  EXPECT_EQ(s.View(), u"helld!");
  s.Delete(4, 100);   // clipped to the rest
  EXPECT_EQ(s.View(), u"hell");
  s.Delete(1);
  EXPECT_EQ(s.View(), u"h");
}

TEST(StringEdit, Replace) {
  String s(u"0123456789");
  s.Replace(2, 3, u"ab");    // shorter: overwrite, then close the gap
  EXPECT_EQ(s.View(), u"01ab56789");
  s.Replace(2, 2, u"XY");    // same length: in place
  EXPECT_EQ(s.View(), u"01XY56789");
  s.Replace(0, 1, u"<<>>");  // longer: delete and insert
  EXPECT_EQ(s.View(), u"<<>>1XY56789");
  s.Replace(10, 100, u"!");  // count clipped to the rest
  EXPECT_EQ(s.View(), u"<<>>1XY567!");
  s.Replace(11, 0, u"end");
  EXPECT_EQ(s.View(), u"<<>>1XY567!end");
  s.Replace(20, 1, u"no");
  EXPECT_EQ(s.View(), u"<<>>1XY567!end");
}

TEST(StringEdit, ReplaceChar) {
  String s(u"a,b,,c");
  EXPECT_EQ(s.ReplaceChar(u',', u';'), 3);
  EXPECT_EQ(s.View(), u"a;b;;c");
  EXPECT_EQ(s.ReplaceChar(u';', 0), 3);   // zero deletes
  EXPECT_EQ(s.View(), u"abc");
  EXPECT_EQ(s.ReplaceChar(u'x', u'y'), 0);
  EXPECT_EQ(s.ReplaceChar(0, u'y'), 0);
}

TEST(StringEdit, ReplaceAllThreePaths) {
  String s(u"one two one two one");
  EXPECT_EQ(s.ReplaceAll(u"one", u"ONE"), 3);
  EXPECT_EQ(s.View(), u"ONE two ONE two ONE");
  EXPECT_EQ(s.ReplaceAll(u"two", u"2"), 2);
  EXPECT_EQ(s.View(), u"ONE 2 ONE 2 ONE");
  EXPECT_EQ(s.ReplaceAll(u"ONE", u"three"), 3);
  EXPECT_EQ(s.View(), u"three 2 three 2 three");
  EXPECT_EQ(s.ReplaceAll(u" ", nullptr), 4);
  EXPECT_EQ(s.View(), u"three2three2three");
  EXPECT_EQ(s.ReplaceAll(u"", u"x"), 0);
  EXPECT_EQ(s.ReplaceAll(u"zz", u"x"), 0);

  String overlap(u"aaaa");   // left to right, not overlapping
  EXPECT_EQ(overlap.ReplaceAll(u"aa", u"b"), 2);
  EXPECT_EQ(overlap.View(), u"bb");
  String grow(u"aXa");       // the replacement is not searched again
  EXPECT_EQ(grow.ReplaceAll(u"a", u"aa"), 2);
  EXPECT_EQ(grow.View(), u"aaXaa");
  String own(u"abcabc");
  EXPECT_EQ(own.ReplaceAll(own.wchar() + 3, u"-"), 2);   // needle inside its own text
  EXPECT_EQ(own.View(), u"--");
  String big;
  big.Fill(u'x', 100000);
  EXPECT_EQ(big.ReplaceAll(u"x", u"yz"), 100000);
  EXPECT_EQ(big.Length(), 200000);
}

TEST(StringEdit, QuoteAndFind) {
  EXPECT_EQ(String(u"a b").Quote().View(), u"\"a b\"");
  EXPECT_EQ(String().Quote().View(), u"\"\"");
  EXPECT_EQ(zx::FindSubstring(u"hello world", u"o w"), 4);
  EXPECT_EQ(zx::FindSubstring(u"hello world", u"o", 5), 7);
  EXPECT_EQ(zx::FindSubstring(u"hello", u"x"), -1);
  EXPECT_EQ(zx::FindSubstring(u"hello", u""), -1);
  EXPECT_EQ(zx::FindSubstring(u"hello", nullptr), -1);
  EXPECT_EQ(zx::FindSubstring(nullptr, u"h"), -1);
  EXPECT_EQ(zx::FindSubstring(u"", u"h"), -1);
}

TEST(StringEdit, ConstructorsFromRanges) {
  EXPECT_EQ(String(u"abcdef", 1, 2).View(), u"bc");
  EXPECT_EQ(String(u"abcdef", 4).View(), u"ef");
  EXPECT_EQ(String(std::u16string_view(u"a\0b", 3)).Length(), 3);
  EXPECT_EQ(String(static_cast<const char16_t*>(nullptr)).Length(), 0);
}

}  // namespace
