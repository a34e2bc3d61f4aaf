// Prof exports: parsing text without a job (wide forms).
#include "exports/prof_exports.h"

using namespace zx;
using namespace zx::prof_exports;

ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoBOOLW(LPCWSTR text, BOOL* out, BOOL def) {
  OutParam<int32_t, BOOL> o(out);
  return prof::TextToBool(U(text), o.get(), def);
}

ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoINTW(LPCWSTR text, LONG* out, LONG def) {
  OutParam<int32_t, LONG> o(out);
  return prof::TextToInt(U(text), o.get(), def);
}

ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoINT64W(LPCWSTR text, LONGLONG* out, LONGLONG def) {
  OutParam<int64_t, LONGLONG> o(out);
  return prof::TextToInt64(U(text), o.get(), def);
}

ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoRECTW(LPCWSTR text, RECT* out, const RECT* def) {
  OutParam<prof::RectValue, RECT> o(out);
  InParam<prof::RectValue, RECT> d(def);
  return prof::TextToRect(U(text), o.get(), d.get());
}

ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoCOLORREFW(LPCWSTR text, COLORREF* out, COLORREF def) {
  OutParam<uint32_t, COLORREF> o(out);
  return prof::TextToColorref(U(text), o.get(), def);
}
