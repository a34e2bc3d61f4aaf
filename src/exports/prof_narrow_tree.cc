// Prof exports: narrow forms of job and tree operations. Each converts its text
// arguments in the default code page and calls the wide export.
#include "core/strings/CharsetConversion.h"
#include "exports/prof_exports.h"

using namespace zx;
using namespace zx::prof_exports;
using Narrow = zx::clsCharsetConversionString;

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenA(LPCSTR fileName) {
  Narrow n(fileName);
  return ProfJobOpenW(W(n.wideOrNull()));
}

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenExclusiveA(LPCSTR fileName) {
  Narrow n(fileName);
  return ProfJobOpenExclusiveW(W(n.wideOrNull()));
}

ZXUT_EXPORT HPROFLIST ZXUT_API ProfGetListA(HPROFJOB job, HPROFLIST list, LPCSTR path) {
  Narrow p(path);
  return ProfGetListW(job, list, W(p.wideOrNull()));
}

ZXUT_EXPORT HPROFLIST ZXUT_API ProfCreateListA(HPROFJOB job, HPROFLIST list, LPCSTR path) {
  Narrow p(path);
  return ProfCreateListW(job, list, W(p.wideOrNull()));
}

ZXUT_EXPORT HPROFLIST ZXUT_API ProfAppendListA(HPROFJOB job, HPROFLIST list, LPCSTR path) {
  Narrow p(path);
  return ProfAppendListW(job, list, W(p.wideOrNull()));
}

ZXUT_EXPORT LONG ZXUT_API ProfDeleteListA(HPROFJOB job, HPROFLIST list, LPCSTR path) {
  Narrow p(path);
  return ProfDeleteListW(job, list, W(p.wideOrNull()));
}

ZXUT_EXPORT LONG ZXUT_API ProfDeleteItemA(HPROFJOB job, HPROFLIST list, LPCSTR path) {
  Narrow p(path);
  return ProfDeleteItemW(job, list, W(p.wideOrNull()));
}

namespace {
// ProfEnumA hands the callback narrow copies of name and value made for the call.
struct EnumA {
  PROFENUMPROCA callback;
  void* user;
};
BOOL ZXUT_API CallEnumA(HPROFJOB job, LPCWSTR name, LPCWSTR value, HPROFLIST sublist, void* user) {
  auto* e = static_cast<EnumA*>(user);
  Narrow n(U(name));
  Narrow v(U(value));
  return e->callback(job, n.narrow(), v.narrow(), sublist, e->user);
}
}  // namespace

ZXUT_EXPORT LONG ZXUT_API ProfEnumA(HPROFJOB job, HPROFLIST list, PROFENUMPROCA callback, void* user) {
  if (callback == nullptr) return 0;
  EnumA e{callback, user};
  return ProfEnumW(job, list, CallEnumA, &e);
}
