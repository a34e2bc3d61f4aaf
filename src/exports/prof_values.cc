// Prof exports: string and typed values (wide forms).
#include "exports/prof_exports.h"

using namespace zx;
using namespace zx::prof_exports;

ZXUT_EXPORT void ZXUT_API ProfAppendStringW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR value) {
  prof::AppendString(Job(job), List(list), U(path), U(value));
}

ZXUT_EXPORT void ZXUT_API ProfSetStringW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR value) {
  prof::SetString(Job(job), List(list), U(path), U(value));
}

ZXUT_EXPORT void ZXUT_API ProfAppendBoolW(HPROFJOB job, HPROFLIST list, LPCWSTR path, BOOL value) {
  prof::PutBool(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendDoubleW(HPROFJOB job, HPROFLIST list, LPCWSTR path, double value) {
  prof::PutDouble(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendIntW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value) {
  prof::PutInt(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendIntHexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value) {
  prof::PutIntHex(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendInt64W(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value) {
  prof::PutInt64(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendInt64HexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value) {
  prof::PutInt64Hex(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfAppendPointW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const POINT* value) {
  InParam<prof::PointValue, POINT> v(value);
  prof::PutPoint(Job(job), List(list), U(path), true, v.get());
}

ZXUT_EXPORT void ZXUT_API ProfAppendRectW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT* value) {
  InParam<prof::RectValue, RECT> v(value);
  prof::PutRect(Job(job), List(list), U(path), true, v.get());
}

ZXUT_EXPORT void ZXUT_API ProfAppendRectLTWHW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT* value) {
  InParam<prof::RectValue, RECT> v(value);
  prof::PutRectLTWH(Job(job), List(list), U(path), true, v.get());
}

ZXUT_EXPORT void ZXUT_API ProfAppendColorrefW(HPROFJOB job, HPROFLIST list, LPCWSTR path, COLORREF value) {
  prof::PutColorref(Job(job), List(list), U(path), true, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetBoolW(HPROFJOB job, HPROFLIST list, LPCWSTR path, BOOL value) {
  prof::PutBool(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetDoubleW(HPROFJOB job, HPROFLIST list, LPCWSTR path, double value) {
  prof::PutDouble(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetIntW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value) {
  prof::PutInt(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetIntHexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value) {
  prof::PutIntHex(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetInt64W(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value) {
  prof::PutInt64(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetInt64HexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value) {
  prof::PutInt64Hex(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT void ZXUT_API ProfSetPointW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const POINT* value) {
  InParam<prof::PointValue, POINT> v(value);
  prof::PutPoint(Job(job), List(list), U(path), false, v.get());
}

ZXUT_EXPORT void ZXUT_API ProfSetRectW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT* value) {
  InParam<prof::RectValue, RECT> v(value);
  prof::PutRect(Job(job), List(list), U(path), false, v.get());
}

ZXUT_EXPORT void ZXUT_API ProfSetRectLTWHW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT* value) {
  InParam<prof::RectValue, RECT> v(value);
  prof::PutRectLTWH(Job(job), List(list), U(path), false, v.get());
}

ZXUT_EXPORT void ZXUT_API ProfSetColorrefW(HPROFJOB job, HPROFLIST list, LPCWSTR path, COLORREF value) {
  prof::PutColorref(Job(job), List(list), U(path), false, value);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetStringW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPWSTR buffer,
                                         LONG size, LPCWSTR def) {
  return prof::GetString(Job(job), List(list), U(path), U(buffer), size, U(def));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetStringLengthW(HPROFJOB job, HPROFLIST list, LPCWSTR path) {
  return prof::GetStringLength(Job(job), List(list), U(path));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetBoolW(HPROFJOB job, HPROFLIST list, LPCWSTR path, BOOL* out, BOOL def) {
  OutParam<int32_t, BOOL> o(out);
  return prof::GetBool(Job(job), List(list), U(path), o.get(), def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetDoubleW(HPROFJOB job, HPROFLIST list, LPCWSTR path, double* out, double def) {
  return prof::GetDouble(Job(job), List(list), U(path), out, def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetIntW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG* out, LONG def) {
  OutParam<int32_t, LONG> o(out);
  return prof::GetInt(Job(job), List(list), U(path), o.get(), def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetInt64W(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG* out, LONGLONG def) {
  OutParam<int64_t, LONGLONG> o(out);
  return prof::GetInt64(Job(job), List(list), U(path), o.get(), def);
}

ZXUT_EXPORT LONG ZXUT_API ProfGetPointW(HPROFJOB job, HPROFLIST list, LPCWSTR path, POINT* out, const POINT* def) {
  OutParam<prof::PointValue, POINT> o(out);
  InParam<prof::PointValue, POINT> d(def);
  return prof::GetPoint(Job(job), List(list), U(path), o.get(), d.get());
}

ZXUT_EXPORT LONG ZXUT_API ProfGetRectW(HPROFJOB job, HPROFLIST list, LPCWSTR path, RECT* out, const RECT* def) {
  OutParam<prof::RectValue, RECT> o(out);
  InParam<prof::RectValue, RECT> d(def);
  return prof::GetRect(Job(job), List(list), U(path), o.get(), d.get());
}

ZXUT_EXPORT LONG ZXUT_API ProfGetRectLTWHW(HPROFJOB job, HPROFLIST list, LPCWSTR path, RECT* out, const RECT* def) {
  OutParam<prof::RectValue, RECT> o(out);
  InParam<prof::RectValue, RECT> d(def);
  return prof::GetRectLTWH(Job(job), List(list), U(path), o.get(), d.get());
}

ZXUT_EXPORT LONG ZXUT_API ProfGetColorrefW(HPROFJOB job, HPROFLIST list, LPCWSTR path, COLORREF* out, COLORREF def) {
  OutParam<uint32_t, COLORREF> o(out);
  return prof::GetColorref(Job(job), List(list), U(path), o.get(), def);
}
