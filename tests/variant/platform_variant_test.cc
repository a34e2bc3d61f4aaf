// The platform's variant calls: the same table of outcomes on Linux (our own) and
// on Windows (the system's).
#include <gtest/gtest.h>

#include <cmath>

#include "variant_test_util.h"

using namespace varianttest;
using zx::clsVariant;

namespace {

TEST(PlatformVariant, ShapeOfTheValue) {
  VARIANT v;
  EXPECT_EQ(sizeof v, 24u);
  EXPECT_EQ(reinterpret_cast<char*>(&v.lVal) - reinterpret_cast<char*>(&v), 8);
  EXPECT_EQ(reinterpret_cast<char*>(&v.wReserved3) - reinterpret_cast<char*>(&v), 6);
  EXPECT_EQ(static_cast<void*>(&v.decVal), static_cast<void*>(&v));
  v.decVal.Lo64 = 0x1122334455667788ull;
  EXPECT_EQ(v.pvRecord, reinterpret_cast<void*>(0x1122334455667788ull));
}

clsVariant Of(VARTYPE vt, uint64_t bits) {
  clsVariant v;
  v.ullVal = bits;
  v.vt = vt;
  return v;
}

struct ConvRow {
  const char* name;
  clsVariant from;
  VARTYPE to;
  HRESULT hr;
  uint64_t bits;          // the payload, when not text
  const char16_t* text;   // the text, when converting to text
};

constexpr HRESULT kOk = 0;

TEST(PlatformVariant, ChangeTypeTable) {
  const ConvRow rows[] = {
      {"i4 to r8", I4(-3), VT_R8, kOk, 0xC008000000000000ull, nullptr},
      {"r8 2.5 to i4 rounds to even", R8(2.5), VT_I4, kOk, 2, nullptr},
      {"r8 3.5 to i4 rounds to even", R8(3.5), VT_I4, kOk, 4, nullptr},
      {"r8 -2.5 to i2", R8(-2.5), VT_I2, kOk, 0xFFFE, nullptr},
      {"i4 300 to ui1 overflows", I4(300), VT_UI1, plat::kDISP_E_OVERFLOW, 0, nullptr},
      {"i4 -1 to ui1 overflows", I4(-1), VT_UI1, plat::kDISP_E_OVERFLOW, 0, nullptr},
      {"i4 -1 to ui2 overflows", I4(-1), VT_UI2, plat::kDISP_E_OVERFLOW, 0, nullptr},
      {"r8 1e20 to i4 overflows", R8(1e20), VT_I4, plat::kDISP_E_OVERFLOW, 0, nullptr},
      {"i4 to bool", I4(5), VT_BOOL, kOk, 0xFFFF, nullptr},
      {"bool to i4", Of(VT_BOOL, 0xFFFF), VT_I4, kOk, 0xFFFFFFFFu, nullptr},
      {"r8 to cy", R8(1.5), VT_CY, kOk, 15000, nullptr},
      {"cy to r8", Of(VT_CY, 25000), VT_R8, kOk, 0x4004000000000000ull, nullptr},
      {"date to r8", Of(VT_DATE, 0x4004000000000000ull), VT_R8, kOk, 0x4004000000000000ull, nullptr},
      {"empty to i4", clsVariant(), VT_I4, kOk, 0, nullptr},
      {"null to i4", Of(VT_NULL, 0), VT_I4, plat::kDISP_E_TYPEMISMATCH, 0, nullptr},
      {"text to i4", Text(u"123"), VT_I4, kOk, 123, nullptr},
      {"text -7 to i2", Text(u"-7"), VT_I2, kOk, 0xFFF9, nullptr},
      {"text 1.5 to r8", Text(u"1.5"), VT_R8, kOk, 0x3FF8000000000000ull, nullptr},
      {"text 1e3 to r8", Text(u"1e3"), VT_R8, kOk, 0x408F400000000000ull, nullptr},
      {"text 2.5 to i4 rounds", Text(u"2.5"), VT_I4, kOk, 2, nullptr},
      {"text 3000000000 to i4", Text(u"3000000000"), VT_I4, plat::kDISP_E_OVERFLOW, 0, nullptr},
      {"text 3000000000 to ui4", Text(u"3000000000"), VT_UI4, kOk, 3000000000u, nullptr},
      {"text with spaces to i4", Text(u" 12 "), VT_I4, kOk, 12, nullptr},
      {"text with separator to i4", Text(u"1,000"), VT_I4, kOk, 1000, nullptr},
      {"text +5 to i4", Text(u"+5"), VT_I4, kOk, 5, nullptr},
      {"text .5 to r8", Text(u".5"), VT_R8, kOk, 0x3FE0000000000000ull, nullptr},
      {"text 1e400 to r8 overflows", Text(u"1e400"), VT_R8, plat::kDISP_E_OVERFLOW, 0, nullptr},
      {"text True to bool", Text(u"True"), VT_BOOL, kOk, 0xFFFF, nullptr},
      {"word to i4", Text(u"abc"), VT_I4, plat::kDISP_E_TYPEMISMATCH, 0, nullptr},
      {"empty text to i4", Text(u""), VT_I4, plat::kDISP_E_TYPEMISMATCH, 0, nullptr},
      {"i4 to text", I4(-42), VT_BSTR, kOk, 0, u"-42"},
      {"ui4 to text", Of(VT_UI4, 4000000000u), VT_BSTR, kOk, 0, u"4000000000"},
      {"r8 to text", R8(1.5), VT_BSTR, kOk, 0, u"1.5"},
      {"r8 0.1 to text", R8(0.1), VT_BSTR, kOk, 0, u"0.1"},
      {"r8 third to text", R8(1.0 / 3), VT_BSTR, kOk, 0, u"0.333333333333333"},
      {"r8 1e20 to text", R8(1e20), VT_BSTR, kOk, 0, u"1E+20"},
      {"bool to text", Of(VT_BOOL, 0xFFFF), VT_BSTR, kOk, 0, u"-1"},
      {"r4 to text", Of(VT_R4, 0x3DCCCCCD), VT_BSTR, kOk, 0, u"0.1"},
      {"empty to text", clsVariant(), VT_BSTR, kOk, 0, u""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    clsVariant out;
    HRESULT hr = plat::VariantChangeType(&out, &row.from, 0, row.to);
    EXPECT_EQ(hr, row.hr);
    if (hr != kOk || row.hr != kOk) {
      EXPECT_EQ(out.vt, VT_EMPTY);   // nothing on failure
      continue;
    }
    ASSERT_EQ(out.vt, row.to);
    if (row.text) {
      EXPECT_EQ(std::u16string(plat::BstrOf(out), plat::SysLen(plat::BstrOf(out))), row.text);
    } else {
      uint64_t mask = row.to == VT_I4 || row.to == VT_UI4 ? 0xFFFFFFFFu
                      : row.to == VT_I2 || row.to == VT_BOOL || row.to == VT_UI2 ? 0xFFFF
                      : row.to == VT_UI1 ? 0xFF : ~0ull;
      EXPECT_EQ(out.ullVal & mask, row.bits);
    }
  }
}

TEST(PlatformVariant, ChangeTypeFollowsReferencesAndWorksInPlace) {
  double d = 2.0;
  VARIANT ref;
  ref.vt = VT_R8 | VT_BYREF;
  ref.pdblVal = &d;
  clsVariant out;
  ASSERT_EQ(plat::VariantChangeType(&out, &ref, 0, VT_I4), 0);
  EXPECT_EQ(out.vt, VT_I4);
  EXPECT_EQ(out.lVal, 2);
  clsVariant v = Text(u"17");
  ASSERT_EQ(plat::VariantChangeType(&v, &v, 0, VT_UI2), 0);
  EXPECT_EQ(v.vt, VT_UI2);
  EXPECT_EQ(v.uiVal, 17);
}

TEST(PlatformVariant, CopyCopyIndAndClear) {
  clsVariant text = Text(u"abc");
  VARIANT copy;
  plat::VariantInit(&copy);
  ASSERT_EQ(plat::VariantCopy(&copy, &text), 0);
  EXPECT_NE(copy.bstrVal, text.bstrVal);
  EXPECT_EQ(plat::SysLen(plat::BstrOf(copy)), 3u);
  EXPECT_EQ(plat::VariantClear(&copy), 0);
  EXPECT_EQ(copy.vt, VT_EMPTY);
  VARIANT ref;
  ref.vt = VT_BSTR | VT_BYREF;
  ref.pbstrVal = &text.bstrVal;
  ASSERT_EQ(plat::VariantCopy(&copy, &ref), 0);   // a reference copies as a reference
  EXPECT_EQ(copy.vt, VT_BSTR | VT_BYREF);
  EXPECT_EQ(copy.pbstrVal, &text.bstrVal);
  EXPECT_EQ(plat::VariantClear(&copy), 0);        // frees nothing behind it
  ASSERT_EQ(plat::VariantCopyInd(&copy, &ref), 0);
  EXPECT_EQ(copy.vt, VT_BSTR);
  EXPECT_NE(copy.bstrVal, text.bstrVal);
  plat::VariantClear(&copy);
  VARIANT bad;
  bad.vt = 15;
  EXPECT_EQ(plat::VariantClear(&bad), plat::kDISP_E_BADVARTYPE);
  EXPECT_EQ(bad.vt, 15);
}

struct CmpRow {
  const char* name;
  clsVariant a, b;
  HRESULT result;
};

TEST(PlatformVariant, VarCmpTable) {
  const CmpRow rows[] = {
      {"i4 less", I4(1), I4(2), VARCMP_LT},
      {"i4 and r8 equal", I4(2), R8(2.0), VARCMP_EQ},
      {"r8 greater", R8(2.5), I4(2), VARCMP_GT},
      {"null", Of(VT_NULL, 0), I4(2), VARCMP_NULL},
      {"text less", Text(u"a"), Text(u"b"), VARCMP_LT},
      {"text equal", Text(u"same"), Text(u"same"), VARCMP_EQ},
      {"text case", Text(u"a"), Text(u"B"), VARCMP_LT},
      // A number sorts before any text.
      {"number and number text", I4(5), Text(u"5"), VARCMP_LT},
      {"number text and number", Text(u"5"), I4(5), VARCMP_GT},
      {"large number and text", I4(50), Text(u"5"), VARCMP_LT},
      {"number and word", R8(5), Text(u"abc"), VARCMP_LT},
      {"bool and i4", Of(VT_BOOL, 0xFFFF), I4(-1), VARCMP_EQ},
      {"empty and empty text", clsVariant(), Text(u""), VARCMP_EQ},
      {"empty and zero", clsVariant(), I4(0), VARCMP_EQ},
      {"interface and number", Of(VT_UNKNOWN, 0), I4(0), plat::kDISP_E_TYPEMISMATCH},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    clsVariant a = row.a, b = row.b;
    EXPECT_EQ(plat::VarCmp(&a, &b, 0x0409, 0), row.result);
  }
}

}  // namespace
