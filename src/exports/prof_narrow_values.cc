// Prof exports: narrow forms of the value operations. Each converts its text
// arguments in the default code page and calls the wide export; a narrow output
// buffer is filled from a wide work buffer of the same size when the call ends.
#include "core/strings/CharsetConversion.h"
#include "exports/prof_exports.h"

using namespace zx;
using namespace zx::prof_exports;
using Narrow = zx::clsCharsetConversionString;

ZXUT_EXPORT void ZXUT_API ProfAppendStringA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR value) {
  Narrow p(path);
  Narrow v(value);
  ProfAppendStringW(job, list, W(p.wideOrNull()), W(v.wideOrNull()));
}

ZXUT_EXPORT void ZXUT_API ProfSetStringA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR value) {
  Narrow p(path);
  Narrow v(value);
  ProfSetStringW(job, list, W(p.wideOrNull()), W(v.wideOrNull()));
}

ZXUT_EXPORT void ZXUT_API ProfAppendBoolA(HPROFJOB job, HPROFLIST list, LPCSTR path, BOOL value) {
  Narrow p(path);
  ProfAppendBoolW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendDoubleA(HPROFJOB job, HPROFLIST list, LPCSTR path, double value) {
  Narrow p(path);
  ProfAppendDoubleW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendIntA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value) {
  Narrow p(path);
  ProfAppendIntW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendIntHexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value) {
  Narrow p(path);
  ProfAppendIntHexW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendInt64A(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value) {
  Narrow p(path);
  ProfAppendInt64W(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendInt64HexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value) {
  Narrow p(path);
  ProfAppendInt64HexW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendPointA(HPROFJOB job, HPROFLIST list, LPCSTR path, const POINT* value) {
  Narrow p(path);
  ProfAppendPointW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendRectA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT* value) {
  Narrow p(path);
  ProfAppendRectW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendRectLTWHA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT* value) {
  Narrow p(path);
  ProfAppendRectLTWHW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendColorrefA(HPROFJOB job, HPROFLIST list, LPCSTR path, COLORREF value) {
  Narrow p(path);
  ProfAppendColorrefW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetBoolA(HPROFJOB job, HPROFLIST list, LPCSTR path, BOOL value) {
  Narrow p(path);
  ProfSetBoolW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetDoubleA(HPROFJOB job, HPROFLIST list, LPCSTR path, double value) {
  Narrow p(path);
  ProfSetDoubleW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetIntA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value) {
  Narrow p(path);
  ProfSetIntW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetIntHexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value) {
  Narrow p(path);
  ProfSetIntHexW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetInt64A(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value) {
  Narrow p(path);
  ProfSetInt64W(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetInt64HexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value) {
  Narrow p(path);
  ProfSetInt64HexW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetPointA(HPROFJOB job, HPROFLIST list, LPCSTR path, const POINT* value) {
  Narrow p(path);
  ProfSetPointW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetRectA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT* value) {
  Narrow p(path);
  ProfSetRectW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetRectLTWHA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT* value) {
  Narrow p(path);
  ProfSetRectLTWHW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT void ZXUT_API ProfSetColorrefA(HPROFJOB job, HPROFLIST list, LPCSTR path, COLORREF value) {
  Narrow p(path);
  ProfSetColorrefW(job, list, W(p.wideOrNull()), value);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetStringA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPSTR buffer,
                                         LONG size, LPCSTR def) {
  if (size < 0) size = 0;
  Narrow p(path);
  Narrow d(def == buffer ? nullptr : def);
  // The work buffer starts with the buffer's content, so a default that is the
  // buffer itself stays the same pointer for the wide call.
  Narrow out(buffer, static_cast<int>(size));
  LPWSTR work = W(out.wideBuffer());
  return ProfGetStringW(job, list, W(p.wideOrNull()), work, size,
                        def == buffer ? work : W(d.wideOrNull()));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetStringLengthA(HPROFJOB job, HPROFLIST list, LPCSTR path) {
  Narrow p(path);
  return ProfGetStringLengthW(job, list, W(p.wideOrNull()));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetBoolA(HPROFJOB job, HPROFLIST list, LPCSTR path, BOOL* out, BOOL def) {
  Narrow p(path);
  return ProfGetBoolW(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetDoubleA(HPROFJOB job, HPROFLIST list, LPCSTR path, double* out, double def) {
  Narrow p(path);
  return ProfGetDoubleW(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetIntA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG* out, LONG def) {
  Narrow p(path);
  return ProfGetIntW(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetInt64A(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG* out, LONGLONG def) {
  Narrow p(path);
  return ProfGetInt64W(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetPointA(HPROFJOB job, HPROFLIST list, LPCSTR path, POINT* out, const POINT* def) {
  Narrow p(path);
  return ProfGetPointW(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetRectA(HPROFJOB job, HPROFLIST list, LPCSTR path, RECT* out, const RECT* def) {
  Narrow p(path);
  return ProfGetRectW(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetRectLTWHA(HPROFJOB job, HPROFLIST list, LPCSTR path, RECT* out, const RECT* def) {
  Narrow p(path);
  return ProfGetRectLTWHW(job, list, W(p.wideOrNull()), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetColorrefA(HPROFJOB job, HPROFLIST list, LPCSTR path, COLORREF* out, COLORREF def) {
  Narrow p(path);
  return ProfGetColorrefW(job, list, W(p.wideOrNull()), out, def);
}

// ---- parsing text without a job

ZXUT_EXPORT void ZXUT_API ProfLPSTRtoBOOLA(LPCSTR text, BOOL* out, BOOL def) {
  Narrow t(text);
  ProfLPSTRtoBOOLW(W(t.wideOrNull()), out, def);
}

ZXUT_EXPORT void ZXUT_API ProfLPSTRtoINTA(LPCSTR text, LONG* out, LONG def) {
  Narrow t(text);
  ProfLPSTRtoINTW(W(t.wideOrNull()), out, def);
}

ZXUT_EXPORT void ZXUT_API ProfLPSTRtoINT64A(LPCSTR text, LONGLONG* out, LONGLONG def) {
  Narrow t(text);
  ProfLPSTRtoINT64W(W(t.wideOrNull()), out, def);
}

ZXUT_EXPORT void ZXUT_API ProfLPSTRtoRECTA(LPCSTR text, RECT* out, const RECT* def) {
  Narrow t(text);
  ProfLPSTRtoRECTW(W(t.wideOrNull()), out, def);
}

ZXUT_EXPORT void ZXUT_API ProfLPSTRtoCOLORREFA(LPCSTR text, COLORREF* out, COLORREF def) {
  Narrow t(text);
  ProfLPSTRtoCOLORREFW(W(t.wideOrNull()), out, def);
}
