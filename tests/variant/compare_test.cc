// Equality across tags, conversions (64-bit integers to text by the library), text
// assignment, and values kept in the library's containers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "core/containers/WCList.h"
#include "core/containers/WCSkipList.h"
#include "support/support_test_util.h"
#include "variant_test_util.h"

using namespace varianttest;
using zx::clsVariant;
using zx::String;

namespace {

clsVariant Of(VARTYPE vt, uint64_t bits) {
  clsVariant v;
  v.ullVal = bits;
  v.vt = vt;
  return v;
}

clsVariant I8(int64_t x) { return Of(VT_I8, static_cast<uint64_t>(x)); }
clsVariant UI8(uint64_t x) { return Of(VT_UI8, x); }

struct CompareRow {
  const char* name;
  clsVariant a, b;
  bool equal;
};

TEST(VariantCompare, Table) {
  const CompareRow rows[] = {
      {"i4 5 and r8 5.0", I4(5), R8(5.0), true},
      {"i4 5 and r8 5.5", I4(5), R8(5.5), false},
      {"i2 and ui8", Of(VT_I2, 7), UI8(7), true},
      {"r4 0.5 and cy 0.5", Of(VT_R4, 0x3F000000), Of(VT_CY, 5000), true},
      {"i1 -1 and ui1 255", Of(VT_I1, 0xFF), Of(VT_UI1, 0xFF), false},
      {"nan and nan", R8(std::nan("")), R8(std::nan("")), false},
      {"i8 beyond a double", I8(INT64_MAX), I8(INT64_MAX - 1), false},
      {"i8 same", I8(INT64_MIN), I8(INT64_MIN), true},
      {"empty and empty", clsVariant(), clsVariant(), true},
      {"null and null", Of(VT_NULL, 0), Of(VT_NULL, 0), true},
      {"empty and i4 0", clsVariant(), I4(0), false},
      {"null and text", Of(VT_NULL, 0), Text(u""), false},
      {"same text", Text(u"abc"), Text(u"abc"), true},
      {"text differs in case", Text(u"abc"), Text(u"ABC"), false},
      {"different text", Text(u"abc"), Text(u"abd"), false},
      {"empty texts", Text(u""), Text(u""), true},
      {"bool and bool", Of(VT_BOOL, 0xFFFF), Of(VT_BOOL, 0xFFFF), true},
      {"error codes differ", Of(VT_ERROR, 1), Of(VT_ERROR, 2), false},
      // Number against text goes to the platform's comparison, where a number sorts
      // before any text.
      {"i4 5 and text 5", I4(5), Text(u"5"), false},
      {"bool and i4 -1", Of(VT_BOOL, 0xFFFF), I4(-1), true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(clsVariant::Compare(row.a, row.b), row.equal);
    EXPECT_EQ(clsVariant::Compare(row.b, row.a), row.equal);
  }
}

TEST(VariantCompare, TextPointersCompareAsText) {
  VARIANT wide;
  wide.vt = VT_LPWSTR;
  wide.byref = const_cast<char16_t*>(u"abc");
  VARIANT narrow;
  narrow.vt = VT_LPSTR;
  narrow.byref = const_cast<char*>("abc");
  clsVariant text = Text(u"abc");
  EXPECT_TRUE(clsVariant::Compare(wide, text));
  EXPECT_TRUE(clsVariant::Compare(narrow, text));
  EXPECT_TRUE(clsVariant::Compare(wide, narrow));
  narrow.byref = const_cast<char*>("abd");
  EXPECT_FALSE(clsVariant::Compare(wide, narrow));
  // A reference to text is text too.
  VARIANT ref;
  ref.vt = VT_BSTR | VT_BYREF;
  ref.pbstrVal = &text.bstrVal;
  EXPECT_TRUE(clsVariant::Compare(ref, wide));
}

TEST(VariantCompare, UncomparableTagsWarn) {
  zxsupport::DiagCapture diag;
  clsVariant unknown = Of(VT_UNKNOWN, 0);
  EXPECT_FALSE(clsVariant::Compare(unknown, I4(0)));
  EXPECT_EQ(diag.Count("WRN: clsVariant: don't know how to compare data types 0xd and 0x3"), 1u);
  diag.Clear();
  EXPECT_TRUE(clsVariant::Compare(I4(5), R8(5.0)));
  EXPECT_EQ(diag.Size(), 0u);
}

struct TextRow {
  const char* name;
  clsVariant value;
  const char16_t* text;
};

TEST(VariantChangeType, SixtyFourBitIntegersToText) {
  const TextRow rows[] = {
      {"i8 min", I8(INT64_MIN), u"-9223372036854775808"},
      {"i8 max", I8(INT64_MAX), u"9223372036854775807"},
      {"i8 -1", I8(-1), u"-1"},
      {"ui8 max", UI8(UINT64_MAX), u"18446744073709551615"},
      {"ui8 0", UI8(0), u"0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    clsVariant v = row.value;
    ASSERT_TRUE(v.ChangeType(VT_BSTR));
    ASSERT_EQ(v.vt, VT_BSTR);
    EXPECT_EQ(v.Text().View(), row.text);
  }
  // Through a reference: the referred number is formatted, the referred value kept.
  LONGLONG x = INT64_MIN;
  VARIANT ref;
  ref.vt = VT_I8 | VT_BYREF;
  ref.pllVal = &x;
  ASSERT_TRUE(clsVariant::ChangeType(ref, VT_BSTR));
  ASSERT_EQ(ref.vt, VT_BSTR);
  EXPECT_EQ(std::u16string(plat::BstrOf(ref)), u"-9223372036854775808");
  plat::VariantClear(&ref);
  EXPECT_EQ(x, INT64_MIN);
}

TEST(VariantChangeType, OthersThroughThePlatform) {
  clsVariant v = I4(42);
  EXPECT_TRUE(v.ChangeType(VT_I4));   // the same tag: nothing to do
  ASSERT_TRUE(v.ChangeType(VT_BSTR));
  EXPECT_EQ(v.Text().View(), u"42");
  ASSERT_TRUE(v.ChangeType(VT_R8));
  EXPECT_EQ(v.dblVal, 42.0);
  clsVariant bad = Text(u"forty-two");
  EXPECT_FALSE(bad.ChangeType(VT_I4));
  ASSERT_EQ(bad.vt, VT_BSTR);   // unchanged on failure
  EXPECT_EQ(bad.Text().View(), u"forty-two");
  clsVariant big = I4(300);
  EXPECT_FALSE(big.ChangeType(VT_UI1));
  EXPECT_EQ(big.lVal, 300);
  // I8 to a number goes to the platform too.
  clsVariant i8 = I8(-5);
  ASSERT_TRUE(i8.ChangeType(VT_I4));
  EXPECT_EQ(i8.lVal, -5);
}

TEST(VariantAssign, TextAndCopies) {
  clsVariant v = I4(1);
  v = String(u"first");
  ASSERT_EQ(v.vt, VT_BSTR);
  EXPECT_EQ(plat::SysLen(plat::BstrOf(v)), 5u);
  clsVariant copy = v;   // a text copy of its own
  EXPECT_NE(copy.bstrVal, v.bstrVal);
  EXPECT_TRUE(copy == v);
  v.Assign(String(u"second"));
  EXPECT_EQ(copy.Text().View(), u"first");
  copy = copy;
  EXPECT_EQ(copy.Text().View(), u"first");
  // Values read from the stored format with the truncated tags copy as they are.
  clsVariant ft = ReadFrom(std::string("\x40\x00\x88\x77", 4));
  clsVariant ft2 = ft;
  EXPECT_EQ(ft2.vt, VT_FILETIME);
  EXPECT_EQ(ft2.ullVal, 0x7788u);
}

TEST(VariantContainers, ListAndDictionaryKeepValues) {
  WCValSList<clsVariant> list;
  ASSERT_TRUE(list.append(I4(5)));
  ASSERT_TRUE(list.append(Text(u"five")));
  EXPECT_EQ(list.index(R8(5.0)), 0);   // found by equality across tags
  EXPECT_EQ(list.index(Text(u"five")), 1);
  EXPECT_EQ(list.index(Text(u"six")), -1);
  WCValSkipListDict<String, clsVariant> dict;
  ASSERT_TRUE(dict.insert(String(u"name"), Text(u"value")));
  ASSERT_TRUE(dict.insert(String(u"count"), I4(3)));
  clsVariant got;
  ASSERT_TRUE(dict.find(String(u"name"), got));
  EXPECT_EQ(got.Text().View(), u"value");
  ASSERT_TRUE(dict.find(String(u"count"), got));
  EXPECT_EQ(got.vt, VT_I4);
  EXPECT_EQ(got.lVal, 3);
}

}  // namespace
