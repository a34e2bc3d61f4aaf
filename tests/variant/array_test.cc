// Safe arrays (the platform's shapes and calls) and the element reads of clsVariant
// by index vector with their diagnostics.
#include <gtest/gtest.h>

#include "support/support_test_util.h"
#include "variant_test_util.h"

using namespace varianttest;
using zx::clsVariant;

namespace {

// A 2 x 3 array of I4 (first dimension: 2 elements from 1, second: 3 from 0); the
// element at platform indices {i, j} holds 10 * i + j.
clsVariant Grid() {
  SAFEARRAYBOUND bounds[2] = {{2, 1}, {3, 0}};
  clsVariant v;
  v.parray = plat::SafeArrayCreate(VT_I4, 2, bounds);
  EXPECT_NE(v.parray, nullptr);
  v.vt = VT_ARRAY | VT_I4;
  for (LONG i = 1; i <= 2; ++i)
    for (LONG j = 0; j < 3; ++j) {
      LONG at[2] = {i, j};
      LONG value = 10 * i + j;
      EXPECT_GE(plat::SafeArrayPutElement(v.parray, at, &value), 0);
    }
  return v;
}

TEST(SafeArray, ShapeBoundsAndLayout) {
  clsVariant grid = Grid();
  SAFEARRAY* a = grid.parray;
  EXPECT_EQ(plat::SafeArrayGetDim(a), 2u);
  EXPECT_EQ(plat::SafeArrayGetElemsize(a), 4u);
  EXPECT_EQ(a->cbElements, 4u);
  EXPECT_NE(a->fFeatures & FADF_HAVEVARTYPE, 0);
  LONG lo = -1, hi = -1;
  ASSERT_GE(plat::SafeArrayGetLBound(a, 1, &lo), 0);
  ASSERT_GE(plat::SafeArrayGetUBound(a, 1, &hi), 0);
  EXPECT_EQ(lo, 1);
  EXPECT_EQ(hi, 2);
  ASSERT_GE(plat::SafeArrayGetLBound(a, 2, &lo), 0);
  ASSERT_GE(plat::SafeArrayGetUBound(a, 2, &hi), 0);
  EXPECT_EQ(lo, 0);
  EXPECT_EQ(hi, 2);
  EXPECT_EQ(plat::SafeArrayGetLBound(a, 3, &lo), plat::kDISP_E_BADINDEX);
  EXPECT_EQ(plat::SafeArrayGetUBound(a, 0, &hi), plat::kDISP_E_BADINDEX);
  // The descriptor keeps the bounds last dimension first.
  EXPECT_EQ(a->rgsabound[0].cElements, 3u);
  EXPECT_EQ(a->rgsabound[1].cElements, 2u);
  EXPECT_EQ(a->rgsabound[1].lLbound, 1);
  // The first index varies fastest in memory.
  const LONG* data = static_cast<const LONG*>(a->pvData);
  for (LONG i = 1; i <= 2; ++i)
    for (LONG j = 0; j < 3; ++j) EXPECT_EQ(data[(i - 1) + 2 * j], 10 * i + j);
  LONG outside[2] = {0, 0};
  void* p = nullptr;
  EXPECT_EQ(plat::SafeArrayPtrOfIndex(a, outside, &p), plat::kDISP_E_BADINDEX);
  LONG inside[2] = {2, 1};
  ASSERT_GE(plat::SafeArrayPtrOfIndex(a, inside, &p), 0);
  EXPECT_EQ(*static_cast<LONG*>(p), 21);
  // A locked array is not destroyed.
  ASSERT_GE(plat::SafeArrayLock(a), 0);
  EXPECT_EQ(plat::SafeArrayDestroy(a), plat::kDISP_E_ARRAYISLOCKED);
  ASSERT_GE(plat::SafeArrayUnlock(a), 0);
  EXPECT_LT(plat::SafeArrayUnlock(a), 0);
}

TEST(SafeArray, TextAndVariantElementsAreCopied) {
  SAFEARRAYBOUND bound{2, 0};
  SAFEARRAY* texts = plat::SafeArrayCreate(VT_BSTR, 1, &bound);
  ASSERT_NE(texts, nullptr);
  EXPECT_NE(texts->fFeatures & FADF_BSTR, 0);
  plat::Bstr hello = plat::SysAlloc(u"hello");
  LONG at = 1;
  ASSERT_GE(plat::SafeArrayPutElement(texts, &at, hello), 0);
  plat::SysFree(hello);   // the array holds its own copy
  plat::Bstr out = nullptr;
  ASSERT_GE(plat::SafeArrayGetElement(texts, &at, &out), 0);
  EXPECT_EQ(std::u16string(out), u"hello");
  plat::SysFree(out);
  // An array copy is deep.
  clsVariant v;
  v.vt = VT_ARRAY | VT_BSTR;
  v.parray = texts;
  clsVariant copy = v;
  ASSERT_NE(copy.parray, v.parray);
  int32_t index = 1;
  clsVariant element = copy.Element(&index, 1);
  ASSERT_EQ(element.vt, VT_BSTR);
  EXPECT_EQ(element.Text().View(), u"hello");
  index = 0;
  EXPECT_EQ(copy.Element(&index, 1).vt, VT_BSTR);   // a null text element

  SAFEARRAY* values = plat::SafeArrayCreate(VT_VARIANT, 1, &bound);
  ASSERT_NE(values, nullptr);
  clsVariant seven = I4(7);
  ASSERT_GE(plat::SafeArrayPutElement(values, &at, static_cast<VARIANT*>(&seven)), 0);
  clsVariant holder;
  holder.vt = VT_ARRAY | VT_VARIANT;
  holder.parray = values;
  index = 1;
  clsVariant got = holder.Element(&index, 1);
  EXPECT_EQ(got.vt, VT_I4);
  EXPECT_EQ(got.lVal, 7);
}

TEST(VariantElement, IndexVectorMostSignificantFirst) {
  clsVariant grid = Grid();
  for (int32_t i = 0; i < 2; ++i)
    for (int32_t j = 0; j < 3; ++j) {
      int32_t at[2] = {j, i};   // zero-based; the last dimension's index first
      clsVariant e = grid.Element(at, 2);
      ASSERT_EQ(e.vt, VT_I4);
      EXPECT_EQ(e.lVal, 10 * (i + 1) + j);
    }
  // Through a reference to the array.
  VARIANT ref;
  ref.vt = VT_ARRAY | VT_I4 | VT_BYREF;
  ref.pparray = &grid.parray;
  int32_t at[2] = {2, 1};
  EXPECT_EQ(clsVariant::Element(ref, at, 2).lVal, 22);
  EXPECT_EQ(grid.parray->cLocks, 0u);   // the lock is given back
}

struct ErrorRow {
  const char* name;
  std::vector<int32_t> indices;
  std::vector<std::string> lines;
};

TEST(VariantElement, ErrorsGiveEmptyAndSayWhy) {
  clsVariant grid = Grid();
  const ErrorRow rows[] = {
      {"too few indices", {1}, {"Dimension mismatch: 2 1"}},
      {"too many indices", {1, 1, 1}, {"Dimension mismatch: 2 3"}},
      {"first out of bounds", {3, 0}, {"out of bounds (3 3)", "out of bounds (2) (0 2)"}},
      {"second out of bounds", {0, 2}, {"out of bounds (2 2)", "out of bounds (2) (1 2)"}},
      {"negative", {-1, 0}, {"out of bounds (-1 3)", "out of bounds (2) (0 2)"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    zxsupport::DiagCapture diag;
    clsVariant e = grid.Element(row.indices.data(), static_cast<int>(row.indices.size()));
    EXPECT_EQ(e.vt, VT_EMPTY);
    EXPECT_EQ(diag.AsciiLines(), row.lines);
    EXPECT_EQ(grid.parray->cLocks, 0u);
  }
  // Not an array: empty without a word.
  zxsupport::DiagCapture diag;
  int32_t zero = 0;
  EXPECT_EQ(I4(1).Element(&zero, 1).vt, VT_EMPTY);
  EXPECT_EQ(diag.Size(), 0u);
}

}  // namespace
