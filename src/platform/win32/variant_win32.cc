// The variant and safe-array calls: oleaut32's own. Conversions run in the
// invariant locale so that text and numbers read the same on every system.
#include "platform/win32/pch.h"
#include <oleauto.h>

#include "platform/variant.h"

namespace plat {
namespace {
// The system's declarations take the source as non-const; it is only read.
VARIANT* In(const VARIANT* v) { return const_cast<VARIANT*>(v); }
}  // namespace

void VariantInit(VARIANT* v) { ::VariantInit(v); }
HRESULT VariantClear(VARIANT* v) { return ::VariantClear(v); }
HRESULT VariantCopy(VARIANT* dst, const VARIANT* src) { return ::VariantCopy(dst, In(src)); }
HRESULT VariantCopyInd(VARIANT* dst, const VARIANT* src) { return ::VariantCopyInd(dst, In(src)); }
HRESULT VariantChangeType(VARIANT* dst, const VARIANT* src, USHORT flags, VARTYPE vt) {
  return ::VariantChangeTypeEx(dst, In(src), LOCALE_INVARIANT, flags, vt);
}
HRESULT VarCmp(VARIANT* left, VARIANT* right, LCID lcid, ULONG flags) {
  return ::VarCmp(left, right, lcid, flags);
}

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds) {
  return ::SafeArrayCreate(vt, dims, bounds);
}
HRESULT SafeArrayDestroy(SAFEARRAY* a) { return ::SafeArrayDestroy(a); }
HRESULT SafeArrayLock(SAFEARRAY* a) { return ::SafeArrayLock(a); }
HRESULT SafeArrayUnlock(SAFEARRAY* a) { return ::SafeArrayUnlock(a); }
UINT SafeArrayGetDim(SAFEARRAY* a) { return ::SafeArrayGetDim(a); }
UINT SafeArrayGetElemsize(SAFEARRAY* a) { return ::SafeArrayGetElemsize(a); }
HRESULT SafeArrayGetLBound(SAFEARRAY* a, UINT dim, LONG* bound) { return ::SafeArrayGetLBound(a, dim, bound); }
HRESULT SafeArrayGetUBound(SAFEARRAY* a, UINT dim, LONG* bound) { return ::SafeArrayGetUBound(a, dim, bound); }
HRESULT SafeArrayPtrOfIndex(SAFEARRAY* a, LONG* indices, void** element) {
  return ::SafeArrayPtrOfIndex(a, indices, element);
}
HRESULT SafeArrayGetElement(SAFEARRAY* a, LONG* indices, void* value) {
  return ::SafeArrayGetElement(a, indices, value);
}
HRESULT SafeArrayPutElement(SAFEARRAY* a, LONG* indices, void* value) {
  return ::SafeArrayPutElement(a, indices, value);
}

}  // namespace plat
