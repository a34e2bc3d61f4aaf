// Prof exports: streams, the clipboard, variants and embedded files.
#include "core/strings/CharsetConversion.h"
#include "exports/prof_exports.h"
#include "profdata/ProfData.h"

using namespace zx;
using namespace zx::prof_exports;

namespace {
const char16_t* N(clsCharsetConversionString& s) { return s.wideOrNull(); }
::VARIANT* V(VARIANT* v) { return reinterpret_cast<::VARIANT*>(v); }
const ::VARIANT* V(const VARIANT* v) { return reinterpret_cast<const ::VARIANT*>(v); }
::IStream* S(IStream* s) { return reinterpret_cast<::IStream*>(s); }
}  // namespace

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenStream(IStream* stream) {
  return Handle(prof::JobOpenStream(S(stream), nullptr, 0));
}

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenStreamObjectW(IStream* stream, LPCWSTR rootName, LONG baseLevel) {
  return Handle(prof::JobOpenStream(S(stream), rootName ? U(rootName) : u"", baseLevel));
}

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenStreamObjectA(IStream* stream, LPCSTR rootName, LONG baseLevel) {
  clsCharsetConversionString n(rootName);
  return ProfJobOpenStreamObjectW(stream, W(N(n)), baseLevel);
}

ZXUT_EXPORT LONG ZXUT_API ProfSaveToStream(HPROFJOB job, IStream* stream, DWORD flags) {
  return prof::SaveToStream(Job(job), S(stream), flags);
}

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenClipboard(HWND owner) { return Handle(prof::JobOpenClipboard(owner)); }

ZXUT_EXPORT LONG ZXUT_API ProfSaveToClipboard(HPROFJOB job, HWND owner, DWORD flags) {
  return prof::SaveToClipboard(Job(job), owner, flags);
}

ZXUT_EXPORT BOOL ZXUT_API ProfIsClipboardDataAvailable(void) { return prof::IsClipboardDataAvailable() ? 1 : 0; }

ZXUT_EXPORT void ZXUT_API ProfAppendVariantW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const VARIANT* value) {
  prof::PutVariant(Job(job), List(list), U(path), true, V(value));
}

ZXUT_EXPORT void ZXUT_API ProfSetVariantW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const VARIANT* value) {
  prof::PutVariant(Job(job), List(list), U(path), false, V(value));
}

ZXUT_EXPORT void ZXUT_API ProfAppendVariantA(HPROFJOB job, HPROFLIST list, LPCSTR path, const VARIANT* value) {
  clsCharsetConversionString p(path);
  prof::PutVariant(Job(job), List(list), N(p), true, V(value));
}

ZXUT_EXPORT void ZXUT_API ProfSetVariantA(HPROFJOB job, HPROFLIST list, LPCSTR path, const VARIANT* value) {
  clsCharsetConversionString p(path);
  prof::PutVariant(Job(job), List(list), N(p), false, V(value));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetVariantW(HPROFJOB job, HPROFLIST list, LPCWSTR path, VARIANT* out,
                                          const VARIANT* def) {
  return prof::GetVariant(Job(job), List(list), U(path), V(out), V(def));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetVariantFromContentsW(LPCWSTR text, VARIANT* out) {
  return prof::VariantFromContents(U(text), V(out));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetVariantA(HPROFJOB job, HPROFLIST list, LPCSTR path, VARIANT* out,
                                          const VARIANT* def) {
  clsCharsetConversionString p(path);
  return prof::GetVariant(Job(job), List(list), N(p), V(out), V(def));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetVariantFromContentsA(LPCSTR text, VARIANT* out) {
  clsCharsetConversionString t(text);
  return prof::VariantFromContents(N(t), V(out));
}

ZXUT_EXPORT void ZXUT_API ProfAppendFileW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                          LPCWSTR fileName) {
  prof::AppendFile(Job(job), List(list), U(path), U(password), U(fileName));
}

ZXUT_EXPORT void ZXUT_API ProfAppendFileA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                          LPCSTR fileName) {
  clsCharsetConversionString p(path), w(password), f(fileName);
  prof::AppendFile(Job(job), List(list), N(p), N(w), N(f));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetFileW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                       LPCWSTR fileName) {
  return prof::GetFile(Job(job), List(list), U(path), U(password), U(fileName));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetFileA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                       LPCSTR fileName) {
  clsCharsetConversionString p(path), w(password), f(fileName);
  return prof::GetFile(Job(job), List(list), N(p), N(w), N(f));
}

ZXUT_EXPORT void ZXUT_API ProfAppendStreamW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                            IStream* stream) {
  prof::AppendStream(Job(job), List(list), U(path), U(password), S(stream));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetStreamW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                         IStream* stream) {
  return prof::GetStream(Job(job), List(list), U(path), U(password), S(stream));
}

ZXUT_EXPORT LONG ZXUT_API ProfAppendFilesW(HPROFJOB job, HPROFLIST list, LPCWSTR pattern, LPCWSTR password) {
  return prof::AppendFiles(Job(job), List(list), U(pattern), U(password));
}

ZXUT_EXPORT LONG ZXUT_API ProfExtractFilesW(HPROFJOB job, HPROFLIST list, LPCWSTR folder, LPCWSTR password) {
  return prof::ExtractFiles(Job(job), List(list), U(folder), U(password));
}

ZXUT_EXPORT void ZXUT_API ProfAppendStreamA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                            IStream* stream) {
  clsCharsetConversionString p(path), w(password);
  prof::AppendStream(Job(job), List(list), N(p), N(w), S(stream));
}

ZXUT_EXPORT LONG ZXUT_API ProfGetStreamA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                         IStream* stream) {
  clsCharsetConversionString p(path), w(password);
  return prof::GetStream(Job(job), List(list), N(p), N(w), S(stream));
}

ZXUT_EXPORT LONG ZXUT_API ProfAppendFilesA(HPROFJOB job, HPROFLIST list, LPCSTR pattern, LPCSTR password) {
  clsCharsetConversionString p(pattern), w(password);
  return prof::AppendFiles(Job(job), List(list), N(p), N(w));
}

ZXUT_EXPORT LONG ZXUT_API ProfExtractFilesA(HPROFJOB job, HPROFLIST list, LPCSTR folder, LPCSTR password) {
  clsCharsetConversionString f(folder), w(password);
  return prof::ExtractFiles(Job(job), List(list), N(f), N(w));
}
