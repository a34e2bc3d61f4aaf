#include "variant/Variant.h"

#include <cstring>
#include <vector>

#include "core/diag/Diag.h"
#include "core/format/Format.h"
#include "file/File.h"
#include "platform/locale.h"

namespace zx {
namespace {

constexpr int kNoRow = -1;
constexpr uint16_t kHighestTag = VT_CLSID;

// Payload bytes of a tag in the binary form; kNoRow for tags written as the tag only.
int PayloadSize(uint16_t tag) {
  switch (tag) {
    case VT_EMPTY: case VT_NULL: return 0;
    case VT_I2: case VT_BOOL: case VT_UI2: case VT_FILETIME: return 2;
    case VT_I4: case VT_R4: case VT_ERROR: case VT_UI4: case VT_INT: case VT_UINT: case VT_CLSID: return 4;
    case VT_R8: case VT_CY: case VT_DATE: case VT_I8: case VT_UI8: return 8;
    case VT_I1: case VT_UI1: return 1;
    default: return kNoRow;
  }
}

void ZeroValue(VARIANT& v) {
  std::memset(static_cast<void*>(&v), 0, sizeof(VARIANT));
  v.vt = VT_EMPTY;
}

enum class Kind { kNumber, kText, kOther };

Kind KindOf(VARTYPE vt) {
  if (vt & VT_ARRAY) return Kind::kOther;
  switch (vt & VT_TYPEMASK) {
    case VT_I2: case VT_I4: case VT_R4: case VT_R8: case VT_CY: case VT_DECIMAL: case VT_I1:
    case VT_UI1: case VT_UI2: case VT_UI4: case VT_I8: case VT_UI8: case VT_INT: case VT_UINT:
    case VT_INT_PTR: case VT_UINT_PTR:
      return Kind::kNumber;
    case VT_BSTR: case VT_LPSTR: case VT_LPWSTR:
      return Kind::kText;
    default:
      return Kind::kOther;
  }
}

bool ToDouble(const VARIANT& v, double* out) {
  clsVariant r;
  if (plat::VariantChangeType(&r, &v, 0, VT_R8) < 0) return false;
  *out = r.dblVal;
  return true;
}

// The text of a text-class value; a reference is followed.
String TextOf(const VARIANT& v) {
  const void* p = v.byref;
  if ((v.vt & VT_BYREF) && p) p = *static_cast<void* const*>(p);
  if (!p) return String();
  switch (v.vt & VT_TYPEMASK) {
    case VT_BSTR: {
      auto b = static_cast<plat::Bstr>(const_cast<void*>(p));
      return String(b, 0, plat::SysLen(b));
    }
    case VT_LPSTR: return String(static_cast<const char*>(p));
    default: return String(static_cast<const char16_t*>(p));
  }
}

}  // namespace

clsVariant::clsVariant(const VARIANT& other) {
  plat::VariantInit(this);
  *this = other;
}

clsVariant::clsVariant(const String& text) {
  plat::VariantInit(this);
  Assign(text);
}

clsVariant::clsVariant(const clsVariant& other) : clsVariant(static_cast<const VARIANT&>(other)) {}

clsVariant& clsVariant::operator=(const clsVariant& other) {
  return *this = static_cast<const VARIANT&>(other);
}

clsVariant& clsVariant::operator=(const VARIANT& other) {
  if (&other == this) return *this;
  Clear();
  // FILETIME and CLSID values read from the binary form hold plain bits the
  // platform refuses to copy; they are copied as they are.
  if (plat::VariantCopy(this, &other) < 0 &&
      (other.vt == VT_FILETIME || other.vt == VT_CLSID))
    std::memcpy(static_cast<void*>(this), &other, sizeof(VARIANT));
  return *this;
}

void clsVariant::Clear() {
  if (plat::VariantClear(this) < 0) ZeroValue(*this);   // a tag the platform does not own
}

void clsVariant::Assign(const String& text) {
  Clear();
  plat::SetBstr(*this, plat::SysAlloc(text.wchar()));
}

String clsVariant::Text() const {
  return vt == VT_BSTR ? TextOf(*this) : String();
}

bool clsVariant::Write(const VARIANT& v, IStream* stream) {
  if (!stream) return false;
  clsVariant followed;
  const VARIANT* value = &v;
  if (v.vt & VT_BYREF) {
    if (plat::VariantCopyInd(&followed, &v) < 0) return false;
    value = &followed;
  }
  clsFile file(stream);
  uint16_t tag = value->vt;
  if (file.Write(&tag, 2) != 2) return false;
  if (tag == VT_BSTR) {
    plat::Bstr text = plat::BstrOf(*value);
    uint32_t bytes = plat::SysLen(text) * 2;
    return bytes == 0 || file.Write(text, bytes) == bytes;
  }
  int size = PayloadSize(tag);
  if (size <= 0) return true;
  // The payload's low bytes: the little-endian value of the tag's width.
  return file.Write(&value->llVal, static_cast<uint32_t>(size)) == static_cast<uint32_t>(size);
}

bool clsVariant::Read(VARIANT& v, IStream* stream) {
  plat::VariantClear(&v);
  ZeroValue(v);   // also over a tag the platform refuses to clear
  if (!stream) return false;
  clsFile file(stream);
  uint64_t size = file.GetSize();
  if (size == kAllOnes64) return false;
  uint16_t tag = 0;
  if (size < 2 || file.Read(&tag, 2) != 2) return true;   // no data: empty
  if (tag > kHighestTag) return true;
  if (tag == VT_BSTR) {
    uint64_t chars = (size - 2) / 2;
    if (chars > 0x3FFFFFFCu) return false;
    plat::Bstr text = plat::SysAllocLen(nullptr, static_cast<uint32_t>(chars));
    if (!text) return false;
    std::memset(text, 0, chars * 2);
    if (chars) file.Read(text, static_cast<uint32_t>(chars * 2));   // short data stays zero
    plat::SetBstr(v, text);
    return true;
  }
  int bytes = PayloadSize(tag);
  if (bytes == kNoRow) return true;
  if (bytes > 0) file.Read(&v.llVal, static_cast<uint32_t>(bytes));
  v.vt = tag;
  return true;
}

bool clsVariant::Compare(const VARIANT& a, const VARIANT& b) {
  Kind ka = KindOf(a.vt), kb = KindOf(b.vt);
  if (a.vt == b.vt) {
    switch (a.vt) {
      case VT_EMPTY: case VT_NULL: return true;
      case VT_I8: case VT_UI8: return a.llVal == b.llVal;   // exact beyond a double's 53 bits
      case VT_CY: return a.cyVal.int64 == b.cyVal.int64;
      default: break;
    }
    if (ka == Kind::kOther) {
      int size = PayloadSize(a.vt);
      if (size == kNoRow) size = sizeof(void*);   // interfaces, arrays, references: identity
      return std::memcmp(&a.llVal, &b.llVal, static_cast<size_t>(size)) == 0;
    }
  } else if ((a.vt & VT_TYPEMASK) <= VT_NULL || (b.vt & VT_TYPEMASK) <= VT_NULL) {
    return false;
  }
  if (ka == Kind::kNumber && kb == Kind::kNumber) {
    double x, y;
    return ToDouble(a, &x) && ToDouble(b, &y) && x == y;   // NaN equals nothing
  }
  if (ka == Kind::kText && kb == Kind::kText) {
    String x = TextOf(a), y = TextOf(b);
    return plat::CompareStringLocale(plat::UserDefaultUILanguage(), plat::kSortStringSort, x.wchar(), -1,
                                     y.wchar(), -1) == 2;
  }
  HRESULT r = plat::VarCmp(const_cast<VARIANT*>(&a), const_cast<VARIANT*>(&b),
                           plat::UserDefaultUILanguage(), 0);
  if (r == VARCMP_LT || r == VARCMP_EQ || r == VARCMP_GT) return r == VARCMP_EQ;
  DiagFormat(u"WRN: clsVariant: don't know how to compare data types 0x%x and 0x%x", a.vt, b.vt);
  return false;
}

bool clsVariant::ChangeType(VARIANT& v, VARTYPE to) {
  if (v.vt == to) return true;
  VARTYPE base = v.vt & ~VT_BYREF;
  if (to == VT_BSTR && (base == VT_I8 || base == VT_UI8)) {
    // The platform's conversion lacks these on older systems: the library formats them.
    const LONGLONG* value = (v.vt & VT_BYREF) ? v.pllVal : &v.llVal;
    if (!value) return false;
    char16_t text[30];
    if (base == VT_I8) FormatTo(text, 30, u"%I64d", static_cast<int64_t>(*value));
    else FormatTo(text, 30, u"%I64u", static_cast<uint64_t>(*value));
    plat::Bstr b = plat::SysAlloc(text);
    if (!b) return false;
    plat::VariantClear(&v);
    plat::SetBstr(v, b);
    return true;
  }
  return plat::VariantChangeType(&v, &v, 0, to) >= 0;
}

clsVariant clsVariant::Element(const VARIANT& array, const int32_t* indices, int count) {
  clsVariant result;
  if (!(array.vt & VT_ARRAY)) return result;
  SAFEARRAY* a = (array.vt & VT_BYREF) ? (array.pparray ? *array.pparray : nullptr) : array.parray;
  if (!a || count < 0 || (count > 0 && !indices)) return result;
  if (plat::SafeArrayLock(a) < 0) return result;
  int dims = static_cast<int>(plat::SafeArrayGetDim(a));
  if (dims != count) {
    DiagFormat(u"Dimension mismatch: %d %d", dims, count);
    plat::SafeArrayUnlock(a);
    return result;
  }
  // The descriptor keeps its bounds last dimension first, as the indices come; the
  // platform takes them the other way round.
  std::vector<LONG> platformOrder(static_cast<size_t>(dims));
  int accepted = 0;
  for (; accepted < dims; ++accepted) {
    const SAFEARRAYBOUND& bound = a->rgsabound[accepted];
    int32_t index = indices[accepted];
    if (index < 0 || static_cast<uint32_t>(index) >= bound.cElements) {
      DiagFormat(u"out of bounds (%d %d)", index, static_cast<int>(bound.cElements));
      break;
    }
    platformOrder[static_cast<size_t>(dims - 1 - accepted)] = bound.lLbound + index;
  }
  if (accepted < dims) {
    DiagFormat(u"out of bounds (2) (%d %d)", accepted, dims);
    plat::SafeArrayUnlock(a);
    return result;
  }
  VARTYPE base = array.vt & VT_TYPEMASK;
  HRESULT hr;
  if (base == VT_VARIANT) {
    hr = plat::SafeArrayGetElement(a, platformOrder.data(), static_cast<VARIANT*>(&result));
  } else if (base == VT_DECIMAL) {
    DECIMAL d;
    hr = plat::SafeArrayGetElement(a, platformOrder.data(), &d);
    if (hr >= 0) {
      result.decVal = d;
      result.vt = VT_DECIMAL;
    }
  } else {
    // BSTRs come back copied, interfaces with a reference, the rest by their size.
    hr = plat::SafeArrayGetElement(a, platformOrder.data(), &result.llVal);
    if (hr >= 0) result.vt = base;
  }
  plat::SafeArrayUnlock(a);
  if (hr < 0) result.Clear();
  return result;
}

}  // namespace zx
