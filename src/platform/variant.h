// OLE automation values: VARIANT (24 bytes on x64: a 16-bit tag, three reserved
// words and a 16-byte payload), SAFEARRAY with its bounds, and the variant and
// safe-array calls under their system names. On Windows the types are the system's
// own and the calls forward to oleaut32; elsewhere layout-compatible definitions of
// ours with the same semantics for the tags the library uses.
// Errors: HRESULTs as the system has them (DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW,
// DISP_E_BADVARTYPE, DISP_E_BADINDEX, E_INVALIDARG); nothing sets plat::LastError.
// Threads: any thread; one value or array is not used by two threads at once.
//
//   VARIANT v; plat::VariantInit(&v); v.vt = VT_I4; v.lVal = 5;
//   if (plat::VariantChangeType(&v, &v, 0, VT_BSTR) >= 0) ... plat::BstrOf(v) == u"5"
//   plat::VariantClear(&v);
#pragma once
#include <cstddef>
#include <cstdint>

#include "platform/bstr.h"
#include "platform/com.h"

#if defined(_WIN32)
#include <oleauto.h>
#else

typedef uint16_t VARTYPE;
typedef int16_t VARIANT_BOOL;
typedef int32_t SCODE;
typedef double DATE;
typedef uint16_t USHORT;
typedef int16_t SHORT;
typedef float FLOAT;
typedef double DOUBLE;
typedef uint32_t LCID;
typedef int32_t INT;

enum VARENUM : uint16_t {
  VT_EMPTY = 0, VT_NULL = 1, VT_I2 = 2, VT_I4 = 3, VT_R4 = 4, VT_R8 = 5, VT_CY = 6,
  VT_DATE = 7, VT_BSTR = 8, VT_DISPATCH = 9, VT_ERROR = 10, VT_BOOL = 11, VT_VARIANT = 12,
  VT_UNKNOWN = 13, VT_DECIMAL = 14, VT_I1 = 16, VT_UI1 = 17, VT_UI2 = 18, VT_UI4 = 19,
  VT_I8 = 20, VT_UI8 = 21, VT_INT = 22, VT_UINT = 23, VT_VOID = 24, VT_HRESULT = 25,
  VT_PTR = 26, VT_SAFEARRAY = 27, VT_CARRAY = 28, VT_USERDEFINED = 29, VT_LPSTR = 30,
  VT_LPWSTR = 31, VT_RECORD = 36, VT_INT_PTR = 37, VT_UINT_PTR = 38, VT_FILETIME = 64,
  VT_BLOB = 65, VT_CLSID = 72, VT_VECTOR = 0x1000, VT_ARRAY = 0x2000, VT_BYREF = 0x4000,
  VT_RESERVED = 0x8000, VT_ILLEGAL = 0xffff, VT_ILLEGALMASKED = 0x0fff, VT_TYPEMASK = 0x0fff
};

constexpr VARIANT_BOOL VARIANT_TRUE = -1;
constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum { VARCMP_LT = 0, VARCMP_EQ = 1, VARCMP_GT = 2, VARCMP_NULL = 3 };

// Safe-array features.
enum : uint16_t {
  FADF_AUTO = 0x0001, FADF_STATIC = 0x0002, FADF_EMBEDDED = 0x0004, FADF_FIXEDSIZE = 0x0010,
  FADF_RECORD = 0x0020, FADF_HAVEIID = 0x0040, FADF_HAVEVARTYPE = 0x0080, FADF_BSTR = 0x0100,
  FADF_UNKNOWN = 0x0200, FADF_DISPATCH = 0x0400, FADF_VARIANT = 0x0800
};

typedef union tagCY {
  struct {
    ULONG Lo;
    LONG Hi;
  };
  LONGLONG int64;
} CY;

typedef struct tagDEC {
  USHORT wReserved;
  union {
    struct {
      BYTE scale;
      BYTE sign;
    };
    USHORT signscale;
  };
  ULONG Hi32;
  union {
    struct {
      ULONG Lo32;
      ULONG Mid32;
    };
    ULONGLONG Lo64;
  };
} DECIMAL;

typedef struct tagSAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
} SAFEARRAYBOUND;

typedef struct tagSAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  void* pvData;
  SAFEARRAYBOUND rgsabound[1];
} SAFEARRAY;

struct IDispatch;
struct IRecordInfo;
struct tagVARIANT;

typedef struct tagVARIANT {
  union {
    struct {
      VARTYPE vt;
      WORD wReserved1;
      WORD wReserved2;
      WORD wReserved3;
      union {
        LONGLONG llVal;
        LONG lVal;
        BYTE bVal;
        SHORT iVal;
        FLOAT fltVal;
        DOUBLE dblVal;
        VARIANT_BOOL boolVal;
        SCODE scode;
        CY cyVal;
        DATE date;
        BSTR bstrVal;
        IUnknown* punkVal;
        IDispatch* pdispVal;
        SAFEARRAY* parray;
        BYTE* pbVal;
        SHORT* piVal;
        LONG* plVal;
        LONGLONG* pllVal;
        FLOAT* pfltVal;
        DOUBLE* pdblVal;
        VARIANT_BOOL* pboolVal;
        SCODE* pscode;
        CY* pcyVal;
        DATE* pdate;
        BSTR* pbstrVal;
        IUnknown** ppunkVal;
        IDispatch** ppdispVal;
        SAFEARRAY** pparray;
        tagVARIANT* pvarVal;
        void* byref;
        CHAR cVal;
        USHORT uiVal;
        ULONG ulVal;
        ULONGLONG ullVal;
        INT intVal;
        UINT uintVal;
        struct {
          void* pvRecord;
          IRecordInfo* pRecInfo;
        };
      };
    };
    DECIMAL decVal;
  };
} VARIANT;
typedef VARIANT VARIANTARG;

#endif

// The shapes the library and its files rely on, on both systems.
static_assert(sizeof(DECIMAL) == 16, "DECIMAL is 16 bytes");
static_assert(sizeof(CY) == 8, "CY is 8 bytes");
static_assert(sizeof(SAFEARRAYBOUND) == 8, "SAFEARRAYBOUND is 8 bytes");
static_assert(offsetof(VARIANT, vt) == 0, "tag first");
static_assert(offsetof(VARIANT, lVal) == 8, "payload at 8");
static_assert(offsetof(VARIANT, decVal) == 0, "DECIMAL overlays the whole value");
#if UINTPTR_MAX > 0xFFFFFFFFu
static_assert(sizeof(VARIANT) == 24, "VARIANT is 24 bytes on x64");
static_assert(sizeof(SAFEARRAY) == 32, "SAFEARRAY is 32 bytes on x64");
static_assert(offsetof(SAFEARRAY, pvData) == 16 && offsetof(SAFEARRAY, rgsabound) == 24,
              "SAFEARRAY layout");
#endif

namespace plat {

constexpr HRESULT kDISP_E_BADVARTYPE = static_cast<HRESULT>(0x80020008);
constexpr HRESULT kDISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);
constexpr HRESULT kDISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000A);
constexpr HRESULT kDISP_E_BADINDEX = static_cast<HRESULT>(0x8002000B);
constexpr HRESULT kDISP_E_ARRAYISLOCKED = static_cast<HRESULT>(0x8002000D);

// The text of a VT_BSTR value (no check of the tag), and a tag-8 value owning `text`.
inline Bstr BstrOf(const VARIANT& v) { return reinterpret_cast<Bstr>(v.bstrVal); }
inline void SetBstr(VARIANT& v, Bstr text) {
  v.vt = VT_BSTR;
  v.bstrVal = reinterpret_cast<decltype(v.bstrVal)>(text);
}

void VariantInit(VARIANT* v);
// Frees what the value owns (BSTR, array, interface; nothing behind a reference)
// and leaves VT_EMPTY. DISP_E_BADVARTYPE leaves a value of an invalid tag as it was.
HRESULT VariantClear(VARIANT* v);
// Deep copy (BSTR duplicated, array copied, interface AddRef'd); dst is cleared first.
HRESULT VariantCopy(VARIANT* dst, const VARIANT* src);
// VariantCopy with a reference followed: the copy holds the value referred to.
HRESULT VariantCopyInd(VARIANT* dst, const VARIANT* src);
// Converts src (references followed) to `vt` into dst (which may be src). Numbers
// and text in the invariant "C" format (spaces around and thousands separators
// allowed, reals rounded half to even); BOOL is -1/0, also as text, and reads
// "True"/"False"; DATE converts as its double. DISP_E_TYPEMISMATCH when the value does not parse or
// the pair has no conversion, DISP_E_OVERFLOW out of range; dst is left as it was.
HRESULT VariantChangeType(VARIANT* dst, const VARIANT* src, USHORT flags, VARTYPE vt);
// VARCMP_LT/EQ/GT, VARCMP_NULL when either is VT_NULL, or an error HRESULT
// (DISP_E_TYPEMISMATCH for interfaces and arrays). Numbers by value, text by the
// locale comparison with `flags` (CompareStringW flags); a number is less than any
// text, even "5" against 5; VT_EMPTY is 0 or "" as the other side needs.
HRESULT VarCmp(VARIANT* left, VARIANT* right, LCID lcid, ULONG flags);

// `bounds[0]` is the first (leftmost) dimension; elements are zeroed. Null on a bad
// tag or size.
SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds);
HRESULT SafeArrayDestroy(SAFEARRAY* array);   // DISP_E_ARRAYISLOCKED while locked
HRESULT SafeArrayLock(SAFEARRAY* array);
HRESULT SafeArrayUnlock(SAFEARRAY* array);
UINT SafeArrayGetDim(SAFEARRAY* array);
UINT SafeArrayGetElemsize(SAFEARRAY* array);
// `dim` counts from 1, the first dimension of SafeArrayCreate.
HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dim, LONG* bound);
HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dim, LONG* bound);
// `indices[0]` is the first dimension's index (the fastest-varying one).
HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, LONG* indices, void** element);
// Copies out (BSTR duplicated, VARIANT copied, interface AddRef'd) or in (the old
// element freed first).
HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* value);
HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* value);

}  // namespace plat
