// Linux: the variant and safe-array calls of OLE automation for the tags the
// library uses, with the system's outcomes: a descriptor preceded by its element
// tag, bounds stored last dimension first, text and numbers in the "C" format.
#include <cctype>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "platform/locale.h"
#include "platform/variant.h"

namespace plat {
namespace {

constexpr HRESULT kE_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
// The descriptor is preceded by a 16-byte header whose last 4 bytes hold the tag.
constexpr size_t kHeader = 16;

HRESULT Validate(VARTYPE vt) {
  VARTYPE extra = vt & 0xF000;
  VARTYPE base = vt & VT_TYPEMASK;
  if (extra & (VT_VECTOR | VT_RESERVED)) return kDISP_E_BADVARTYPE;
  if (base < VT_VOID || base == VT_RECORD || base == VT_CLSID) {
    if ((extra & (VT_BYREF | VT_ARRAY)) && base <= VT_NULL) return kDISP_E_BADVARTYPE;
    if (base != 15) return kS_OK;
  }
  return kDISP_E_BADVARTYPE;
}

// Bytes of one value of a base tag, 0 for tags without a plain size.
ULONG ValueSize(VARTYPE base) {
  switch (base) {
    case VT_I1: case VT_UI1: return 1;
    case VT_I2: case VT_UI2: case VT_BOOL: return 2;
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_R4: case VT_ERROR: return 4;
    case VT_R8: case VT_CY: case VT_DATE: case VT_I8: case VT_UI8: return 8;
    case VT_BSTR: case VT_UNKNOWN: case VT_DISPATCH: return sizeof(void*);
    case VT_DECIMAL: return sizeof(DECIMAL);
    case VT_VARIANT: return sizeof(VARIANT);
    default: return 0;
  }
}

VARTYPE& ArrayTag(SAFEARRAY* a) {
  return *reinterpret_cast<VARTYPE*>(reinterpret_cast<unsigned char*>(a) - 4);
}

size_t ElementCount(const SAFEARRAY* a) {
  size_t n = 1;
  for (USHORT i = 0; i < a->cDims; ++i) n *= a->rgsabound[i].cElements;
  return n;
}

Bstr CopyBstr(Bstr b) {
  if (!b) return nullptr;
  // Keeps an odd byte length and embedded zeros: the prefix is the length.
  Bstr c = SysAllocLen(nullptr, (SysByteLen(b) + 1) / 2);
  if (!c) return nullptr;
  std::memcpy(c, b, SysByteLen(b));
  std::memcpy(reinterpret_cast<unsigned char*>(c) - 4, reinterpret_cast<unsigned char*>(b) - 4, 4);
  return c;
}

void FreeElement(SAFEARRAY* a, void* p) {
  if (a->fFeatures & FADF_BSTR) {
    SysFree(*static_cast<Bstr*>(p));
    *static_cast<Bstr*>(p) = nullptr;
  } else if (a->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
    auto* u = *static_cast<IUnknown**>(p);
    if (u) u->Release();
    *static_cast<IUnknown**>(p) = nullptr;
  } else if (a->fFeatures & FADF_VARIANT) {
    VariantClear(static_cast<VARIANT*>(p));
  }
}

// Copies one element into raw (zeroed) storage.
HRESULT CopyElementInto(SAFEARRAY* a, const void* from, void* to) {
  if (a->fFeatures & FADF_BSTR) {
    Bstr b = *static_cast<const Bstr*>(from);
    Bstr c = CopyBstr(b);
    if (b && !c) return kE_OUTOFMEMORY;
    *static_cast<Bstr*>(to) = c;
  } else if (a->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
    auto* u = *static_cast<IUnknown* const*>(from);
    if (u) u->AddRef();
    *static_cast<IUnknown**>(to) = u;
  } else if (a->fFeatures & FADF_VARIANT) {
    VariantInit(static_cast<VARIANT*>(to));
    return VariantCopy(static_cast<VARIANT*>(to), static_cast<const VARIANT*>(from));
  } else {
    std::memcpy(to, from, a->cbElements);
  }
  return kS_OK;
}

SAFEARRAY* CreateArray(VARTYPE vt, UINT dims, const SAFEARRAYBOUND* firstToLast, bool reversed) {
  ULONG size = ValueSize(vt);
  if (dims == 0 || !firstToLast || size == 0 || dims > 0xFFFF) return nullptr;
  size_t descriptor = sizeof(SAFEARRAY) + (dims - 1) * sizeof(SAFEARRAYBOUND);
  auto* block = static_cast<unsigned char*>(std::calloc(1, kHeader + descriptor));
  if (!block) return nullptr;
  auto* a = reinterpret_cast<SAFEARRAY*>(block + kHeader);
  a->cDims = static_cast<USHORT>(dims);
  a->cbElements = size;
  a->fFeatures = FADF_HAVEVARTYPE;
  if (vt == VT_BSTR) a->fFeatures |= FADF_BSTR;
  if (vt == VT_UNKNOWN) a->fFeatures |= FADF_UNKNOWN;
  if (vt == VT_DISPATCH) a->fFeatures |= FADF_DISPATCH;
  if (vt == VT_VARIANT) a->fFeatures |= FADF_VARIANT;
  ArrayTag(a) = vt;
  size_t count = 1;
  for (UINT i = 0; i < dims; ++i) {
    a->rgsabound[i] = reversed ? firstToLast[dims - 1 - i] : firstToLast[i];
    ULONG n = a->rgsabound[i].cElements;
    if (n != 0 && count > (size_t(1) << 40) / n) {
      std::free(block);
      return nullptr;
    }
    count *= n;
  }
  if (count) {
    a->pvData = std::calloc(count, size);
    if (!a->pvData) {
      std::free(block);
      return nullptr;
    }
  }
  return a;
}

HRESULT CopyArray(SAFEARRAY* from, SAFEARRAY** to) {
  *to = nullptr;
  if (!from) return kS_OK;
  SAFEARRAY* a = CreateArray(ArrayTag(from), from->cDims, from->rgsabound, false);
  if (!a) return kE_OUTOFMEMORY;
  size_t n = ElementCount(from);
  for (size_t i = 0; i < n; ++i) {
    HRESULT hr = CopyElementInto(a, static_cast<unsigned char*>(from->pvData) + i * from->cbElements,
                                 static_cast<unsigned char*>(a->pvData) + i * a->cbElements);
    if (hr < 0) {
      SafeArrayDestroy(a);
      return hr;
    }
  }
  *to = a;
  return kS_OK;
}

// ---- conversion

// A value on its way between tags.
struct Scalar {
  enum Kind { kInt, kUInt, kReal, kText, kNull } kind = kInt;
  int64_t i = 0;
  uint64_t u = 0;
  double d = 0;
  std::u16string text;
  bool isR4 = false;     // R4 -> text with 7 digits
};

HRESULT ToScalar(const VARIANT& v, Scalar& s) {
  switch (v.vt) {
    case VT_EMPTY: s.kind = Scalar::kInt; s.i = 0; return kS_OK;
    case VT_NULL: s.kind = Scalar::kNull; return kS_OK;
    case VT_I1: s.i = v.cVal; break;
    case VT_I2: s.i = v.iVal; break;
    case VT_I4: case VT_INT: s.i = v.lVal; break;
    case VT_I8: s.i = v.llVal; break;
    case VT_BOOL: s.i = v.boolVal; break;
    case VT_UI1: s.kind = Scalar::kUInt; s.u = v.bVal; return kS_OK;
    case VT_UI2: s.kind = Scalar::kUInt; s.u = v.uiVal; return kS_OK;
    case VT_UI4: case VT_UINT: s.kind = Scalar::kUInt; s.u = v.ulVal; return kS_OK;
    case VT_UI8: s.kind = Scalar::kUInt; s.u = v.ullVal; return kS_OK;
    case VT_R4: s.kind = Scalar::kReal; s.d = v.fltVal; s.isR4 = true; return kS_OK;
    case VT_R8: case VT_DATE: s.kind = Scalar::kReal; s.d = v.dblVal; return kS_OK;
    case VT_CY: s.kind = Scalar::kReal; s.d = static_cast<double>(v.cyVal.int64) / 10000.0; return kS_OK;
    case VT_DECIMAL: {
      const DECIMAL& m = v.decVal;
      if (m.scale > 28) return kE_INVALIDARG;
      long double x = static_cast<long double>(m.Hi32) * 18446744073709551616.0L + m.Lo64;
      x /= std::pow(10.0L, m.scale);
      s.kind = Scalar::kReal;
      s.d = static_cast<double>(m.sign & 0x80 ? -x : x);
      return kS_OK;
    }
    case VT_BSTR: {
      s.kind = Scalar::kText;
      Bstr b = BstrOf(v);
      if (b) s.text.assign(b, SysLen(b));
      return kS_OK;
    }
    default: return kDISP_E_TYPEMISMATCH;
  }
  s.kind = Scalar::kInt;
  return kS_OK;
}

std::string Trimmed(const std::u16string& text, bool* ascii) {
  std::string a;
  *ascii = true;
  for (char16_t c : text) {
    if (c > 0x7E) *ascii = false;
    a.push_back(static_cast<char>(c));
  }
  size_t b = a.find_first_not_of(" \t"), e = a.find_last_not_of(" \t");
  return b == std::string::npos ? std::string() : a.substr(b, e - b + 1);
}

bool EqualsNoCase(const std::string& a, const char* b) {
  size_t n = std::strlen(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != b[i]) return false;
  return true;
}

// Text to a number in the "C" format: integers exactly, else a double.
HRESULT ParseNumber(const std::u16string& text, Scalar& s, bool allowBoolWords) {
  bool ascii;
  std::string a = Trimmed(text, &ascii);
  std::erase(a, ',');   // the invariant thousands separator
  if (!ascii || a.empty()) return kDISP_E_TYPEMISMATCH;
  if (allowBoolWords && (EqualsNoCase(a, "true") || EqualsNoCase(a, "false"))) {
    s.kind = Scalar::kInt;
    s.i = EqualsNoCase(a, "true") ? -1 : 0;
    return kS_OK;
  }
  if (a.find_first_not_of("0123456789.eE+-") != std::string::npos) return kDISP_E_TYPEMISMATCH;
  const char* first = a.c_str();
  const char* last = first + a.size();
  const char* digits = first + (*first == '+' ? 1 : 0);
  if (digits[0] == '+' || (digits != first && digits[0] == '-')) return kDISP_E_TYPEMISMATCH;
  if (*first != '-') {
    uint64_t u;
    auto r = std::from_chars(digits, last, u);
    if (r.ec == std::errc() && r.ptr == last) {
      s.kind = Scalar::kUInt;
      s.u = u;
      return kS_OK;
    }
  }
  if (*first == '-') {
    int64_t i;
    auto r = std::from_chars(first, last, i);
    if (r.ec == std::errc() && r.ptr == last) {
      s.kind = Scalar::kInt;
      s.i = i;
      return kS_OK;
    }
  }
  double d;
  auto r = std::from_chars(digits, last, d, std::chars_format::general);
  if (r.ptr != last || (r.ec != std::errc() && r.ec != std::errc::result_out_of_range))
    return kDISP_E_TYPEMISMATCH;
  if (r.ec == std::errc::result_out_of_range || std::isinf(d)) return kDISP_E_OVERFLOW;
  if (std::isnan(d)) return kDISP_E_TYPEMISMATCH;
  s.kind = Scalar::kReal;
  s.d = d;
  return kS_OK;
}

HRESULT ToInteger(const Scalar& s, int64_t lo, uint64_t hi, VARIANT& out) {
  bool negative = false;
  uint64_t mag = 0;
  if (s.kind == Scalar::kInt) {
    negative = s.i < 0;
    mag = negative ? 0 - static_cast<uint64_t>(s.i) : static_cast<uint64_t>(s.i);
  } else if (s.kind == Scalar::kUInt) {
    mag = s.u;
  } else {
    double r = std::nearbyint(s.d);   // round half to even, as the system rounds
    if (std::isnan(r) || r >= 18446744073709551616.0 || r < -9223372036854775808.0) return kDISP_E_OVERFLOW;
    negative = r < 0;
    mag = negative ? 0 - static_cast<uint64_t>(static_cast<int64_t>(r)) : static_cast<uint64_t>(r);
  }
  if (negative ? mag > 0 - static_cast<uint64_t>(lo) : mag > hi) return kDISP_E_OVERFLOW;
  out.ullVal = negative ? 0 - mag : mag;   // two's complement; the tag says the width
  return kS_OK;
}

double ToReal(const Scalar& s) {
  if (s.kind == Scalar::kInt) return static_cast<double>(s.i);
  if (s.kind == Scalar::kUInt) return static_cast<double>(s.u);
  return s.d;
}

std::u16string ToText(const Scalar& s) {
  char buf[64];
  if (s.kind == Scalar::kText) return s.text;
  if (s.kind == Scalar::kInt) std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(s.i));
  else if (s.kind == Scalar::kUInt) std::snprintf(buf, sizeof buf, "%llu", static_cast<unsigned long long>(s.u));
  else std::snprintf(buf, sizeof buf, s.isR4 ? "%.7G" : "%.15G", s.d);
  return std::u16string(buf, buf + std::strlen(buf));
}

HRESULT Convert(const VARIANT& src, VARTYPE vt, VARIANT& out) {
  Scalar s;
  HRESULT hr = ToScalar(src, s);
  if (hr < 0) return hr;
  if (vt == VT_EMPTY) return kS_OK;
  if (src.vt == VT_EMPTY && vt == VT_BSTR) s.kind = Scalar::kText;   // "" rather than "0"
  if (s.kind == Scalar::kNull || vt == VT_NULL) return kDISP_E_TYPEMISMATCH;
  if (s.kind == Scalar::kText && vt != VT_BSTR) {
    hr = ParseNumber(s.text, s, vt == VT_BOOL);
    if (hr < 0) return hr;
  }
  out.ullVal = 0;
  switch (vt) {
    case VT_I1: hr = ToInteger(s, INT8_MIN, INT8_MAX, out); break;
    case VT_UI1: hr = ToInteger(s, 0, UINT8_MAX, out); break;
    case VT_I2: hr = ToInteger(s, INT16_MIN, INT16_MAX, out); break;
    case VT_UI2: hr = ToInteger(s, 0, UINT16_MAX, out); break;
    case VT_I4: case VT_INT: hr = ToInteger(s, INT32_MIN, INT32_MAX, out); break;
    case VT_UI4: case VT_UINT: hr = ToInteger(s, 0, UINT32_MAX, out); break;
    case VT_I8: hr = ToInteger(s, INT64_MIN, INT64_MAX, out); break;
    case VT_UI8: hr = ToInteger(s, 0, UINT64_MAX, out); break;
    case VT_BOOL:
      out.boolVal = (s.kind == Scalar::kInt ? s.i != 0 : s.kind == Scalar::kUInt ? s.u != 0 : s.d != 0)
                        ? VARIANT_TRUE : VARIANT_FALSE;
      break;
    case VT_R4: {
      double d = ToReal(s);
      if (std::isfinite(d) && std::fabs(d) > FLT_MAX) return kDISP_E_OVERFLOW;
      out.fltVal = static_cast<float>(d);
      break;
    }
    case VT_R8: case VT_DATE: out.dblVal = ToReal(s); break;
    case VT_CY: {
      double d = ToReal(s) * 10000.0;
      if (!(d > -9223372036854775808.0 && d < 9223372036854775808.0)) return kDISP_E_OVERFLOW;
      out.cyVal.int64 = static_cast<LONGLONG>(std::nearbyint(d));
      break;
    }
    case VT_BSTR: {
      std::u16string t = ToText(s);
      Bstr b = SysAllocLen(t.data(), static_cast<uint32_t>(t.size()));
      if (!b) return kE_OUTOFMEMORY;
      SetBstr(out, b);
      return kS_OK;
    }
    default: return kDISP_E_TYPEMISMATCH;
  }
  if (hr < 0) return hr;
  out.vt = vt;
  return kS_OK;
}

}  // namespace

void VariantInit(VARIANT* v) {
  if (v) v->vt = VT_EMPTY;
}

HRESULT VariantClear(VARIANT* v) {
  if (!v) return kE_INVALIDARG;
  HRESULT hr = Validate(v->vt);
  if (hr < 0) return hr;
  if (!(v->vt & VT_BYREF)) {
    if (v->vt & VT_ARRAY) {
      hr = SafeArrayDestroy(v->parray);
    } else if (v->vt == VT_BSTR) {
      SysFree(BstrOf(*v));
    } else if ((v->vt == VT_UNKNOWN || v->vt == VT_DISPATCH) && v->punkVal) {
      v->punkVal->Release();
    }
  }
  v->vt = VT_EMPTY;
  return hr;
}

HRESULT VariantCopy(VARIANT* dst, const VARIANT* src) {
  if (!dst || !src) return kE_INVALIDARG;
  if ((src->vt & VT_TYPEMASK) == VT_CLSID || Validate(src->vt) < 0) return kDISP_E_BADVARTYPE;
  if (dst == src) return kS_OK;
  HRESULT hr = VariantClear(dst);
  if (hr < 0) return hr;
  VARIANT copy = *src;
  if (!(src->vt & VT_BYREF)) {
    if (src->vt & VT_ARRAY) {
      hr = CopyArray(src->parray, &copy.parray);
    } else if (src->vt == VT_BSTR) {
      Bstr c = CopyBstr(BstrOf(*src));
      if (BstrOf(*src) && !c) hr = kE_OUTOFMEMORY;
      SetBstr(copy, c);
    } else if ((src->vt == VT_UNKNOWN || src->vt == VT_DISPATCH) && src->punkVal) {
      src->punkVal->AddRef();
    }
  }
  if (hr < 0) return hr;
  *dst = copy;
  return kS_OK;
}

HRESULT VariantCopyInd(VARIANT* dst, const VARIANT* src) {
  if (!dst || !src) return kE_INVALIDARG;
  if (!(src->vt & VT_BYREF)) return VariantCopy(dst, src);
  HRESULT hr = Validate(src->vt);
  if (hr < 0) return hr;
  VARTYPE base = src->vt & ~VT_BYREF;
  if (!src->byref) return kE_INVALIDARG;
  VARIANT value;
  VariantInit(&value);
  if (base == VT_VARIANT) {
    if (src->pvarVal->vt == (VT_VARIANT | VT_BYREF)) return kE_INVALIDARG;
    hr = VariantCopy(&value, src->pvarVal);
  } else if (base & VT_ARRAY) {
    value.vt = base;
    hr = CopyArray(*src->pparray, &value.parray);
  } else if (base == VT_BSTR) {
    Bstr b = *reinterpret_cast<const Bstr*>(src->byref);
    Bstr c = CopyBstr(b);
    if (b && !c) hr = kE_OUTOFMEMORY;
    SetBstr(value, c);
  } else if (base == VT_DECIMAL) {
    value.decVal = *static_cast<const DECIMAL*>(src->byref);
    value.vt = VT_DECIMAL;
  } else {
    ULONG size = ValueSize(base);
    if (size == 0) return kDISP_E_BADVARTYPE;
    std::memcpy(&value.llVal, src->byref, size);
    value.vt = base;
    if ((base == VT_UNKNOWN || base == VT_DISPATCH) && value.punkVal) value.punkVal->AddRef();
  }
  if (hr < 0) return hr;
  if (dst != src) {
    hr = VariantClear(dst);
    if (hr < 0) {
      VariantClear(&value);
      return hr;
    }
  }
  *dst = value;
  return kS_OK;
}

HRESULT VariantChangeType(VARIANT* dst, const VARIANT* src, USHORT, VARTYPE vt) {
  if (!dst || !src) return kE_INVALIDARG;
  VARIANT value;
  VariantInit(&value);
  HRESULT hr = VariantCopyInd(&value, src);
  if (hr < 0) return hr;
  VARIANT result;
  VariantInit(&result);
  if (value.vt == vt) {
    result = value;
    VariantInit(&value);
  } else if ((value.vt | vt) & (VT_ARRAY | VT_BYREF)) {
    hr = kDISP_E_TYPEMISMATCH;
  } else {
    hr = Convert(value, vt, result);
  }
  VariantClear(&value);
  if (hr < 0) return hr;
  hr = VariantClear(dst);
  if (hr < 0) {
    VariantClear(&result);
    return hr;
  }
  *dst = result;
  return kS_OK;
}

HRESULT VarCmp(VARIANT* left, VARIANT* right, LCID lcid, ULONG flags) {
  if (!left || !right) return kE_INVALIDARG;
  VARIANT l, r;
  VariantInit(&l);
  VariantInit(&r);
  HRESULT hr = VariantCopyInd(&l, left);
  if (hr >= 0) hr = VariantCopyInd(&r, right);
  Scalar a, b;
  if (hr >= 0) hr = ToScalar(l, a);
  if (hr >= 0) hr = ToScalar(r, b);
  VariantClear(&l);
  VariantClear(&r);
  if (hr < 0) return hr;
  if (a.kind == Scalar::kNull || b.kind == Scalar::kNull) return VARCMP_NULL;
  // VT_EMPTY is "" against text.
  if (left->vt == VT_EMPTY && b.kind == Scalar::kText) a.kind = Scalar::kText;
  if (right->vt == VT_EMPTY && a.kind == Scalar::kText) b.kind = Scalar::kText;
  if (a.kind == Scalar::kText && b.kind == Scalar::kText) {
    int c = CompareStringLocale(lcid, flags, a.text.c_str(), static_cast<int>(a.text.size()),
                                b.text.c_str(), static_cast<int>(b.text.size()));
    return c == 0 ? kE_INVALIDARG : c - 1;
  }
  // A number sorts before any text, whatever the text says.
  if (a.kind == Scalar::kText) return VARCMP_GT;
  if (b.kind == Scalar::kText) return VARCMP_LT;
  if (a.kind != Scalar::kReal && b.kind != Scalar::kReal) {
    // Both integers: exactly, across signedness.
    bool an = a.kind == Scalar::kInt && a.i < 0, bn = b.kind == Scalar::kInt && b.i < 0;
    if (an != bn) return an ? VARCMP_LT : VARCMP_GT;
    uint64_t x = a.kind == Scalar::kInt ? static_cast<uint64_t>(a.i) : a.u;
    uint64_t y = b.kind == Scalar::kInt ? static_cast<uint64_t>(b.i) : b.u;
    return x < y ? VARCMP_LT : x > y ? VARCMP_GT : VARCMP_EQ;
  }
  double x = ToReal(a), y = ToReal(b);
  return x < y ? VARCMP_LT : x > y ? VARCMP_GT : VARCMP_EQ;
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds) {
  return CreateArray(vt, dims, bounds, true);
}

HRESULT SafeArrayDestroy(SAFEARRAY* a) {
  if (!a) return kS_OK;
  if (a->cLocks) return kDISP_E_ARRAYISLOCKED;
  if (a->pvData) {
    size_t n = ElementCount(a);
    for (size_t i = 0; i < n; ++i) FreeElement(a, static_cast<unsigned char*>(a->pvData) + i * a->cbElements);
    std::free(a->pvData);
  }
  std::free(reinterpret_cast<unsigned char*>(a) - kHeader);
  return kS_OK;
}

HRESULT SafeArrayLock(SAFEARRAY* a) {
  if (!a) return kE_INVALIDARG;
  if (a->cLocks == 0xFFFF) return kE_UNEXPECTED;
  ++a->cLocks;
  return kS_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* a) {
  if (!a) return kE_INVALIDARG;
  if (a->cLocks == 0) return kE_UNEXPECTED;
  --a->cLocks;
  return kS_OK;
}

UINT SafeArrayGetDim(SAFEARRAY* a) { return a ? a->cDims : 0; }
UINT SafeArrayGetElemsize(SAFEARRAY* a) { return a ? a->cbElements : 0; }

HRESULT SafeArrayGetLBound(SAFEARRAY* a, UINT dim, LONG* bound) {
  if (!a || !bound) return kE_INVALIDARG;
  if (dim == 0 || dim > a->cDims) return kDISP_E_BADINDEX;
  *bound = a->rgsabound[a->cDims - dim].lLbound;
  return kS_OK;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* a, UINT dim, LONG* bound) {
  if (!a || !bound) return kE_INVALIDARG;
  if (dim == 0 || dim > a->cDims) return kDISP_E_BADINDEX;
  const SAFEARRAYBOUND& b = a->rgsabound[a->cDims - dim];
  *bound = static_cast<LONG>(static_cast<int64_t>(b.lLbound) + b.cElements - 1);
  return kS_OK;
}

HRESULT SafeArrayPtrOfIndex(SAFEARRAY* a, LONG* indices, void** element) {
  if (!a || !indices || !element) return kE_INVALIDARG;
  size_t cell = 0, stride = 1;
  for (USHORT i = 0; i < a->cDims; ++i) {
    const SAFEARRAYBOUND& b = a->rgsabound[a->cDims - 1 - i];
    int64_t at = static_cast<int64_t>(indices[i]) - b.lLbound;
    if (at < 0 || at >= static_cast<int64_t>(b.cElements)) return kDISP_E_BADINDEX;
    cell += static_cast<size_t>(at) * stride;
    stride *= b.cElements;
  }
  *element = static_cast<unsigned char*>(a->pvData) + cell * a->cbElements;
  return kS_OK;
}

HRESULT SafeArrayGetElement(SAFEARRAY* a, LONG* indices, void* value) {
  if (!value) return kE_INVALIDARG;
  void* p;
  HRESULT hr = SafeArrayPtrOfIndex(a, indices, &p);
  if (hr < 0) return hr;
  return CopyElementInto(a, p, value);
}

HRESULT SafeArrayPutElement(SAFEARRAY* a, LONG* indices, void* value) {
  void* p;
  HRESULT hr = SafeArrayPtrOfIndex(a, indices, &p);
  if (hr < 0) return hr;
  if (a->fFeatures & FADF_VARIANT) {
    if (!value) return kE_INVALIDARG;
    return VariantCopy(static_cast<VARIANT*>(p), static_cast<const VARIANT*>(value));
  }
  if (a->fFeatures & FADF_BSTR) {
    // The text itself is passed, not a pointer to it.
    Bstr c = CopyBstr(static_cast<Bstr>(value));
    if (value && !c) return kE_OUTOFMEMORY;
    FreeElement(a, p);
    *static_cast<Bstr*>(p) = c;
    return kS_OK;
  }
  if (a->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
    auto* u = static_cast<IUnknown*>(value);
    if (u) u->AddRef();
    FreeElement(a, p);
    *static_cast<IUnknown**>(p) = u;
    return kS_OK;
  }
  if (!value) return kE_INVALIDARG;
  std::memcpy(p, value, a->cbElements);
  return kS_OK;
}

}  // namespace plat
