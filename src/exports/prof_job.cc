// Prof exports: job lifetime and global options (wide and handle-only forms).
#include "exports/prof_exports.h"

using namespace zx;
using namespace zx::prof_exports;

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenW(LPCWSTR fileName) {
  return Handle(prof::JobOpen(U(fileName), 0));
}

ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenExclusiveW(LPCWSTR fileName) {
  return Handle(prof::JobOpen(U(fileName), 1));
}

ZXUT_EXPORT void ZXUT_API ProfJobAddRef(HPROFJOB job) { prof::JobAddRef(Job(job)); }

ZXUT_EXPORT void ZXUT_API ProfJobClose(HPROFJOB job) { prof::JobClose(Job(job)); }

ZXUT_EXPORT LONG ZXUT_API ProfGetError(HPROFJOB job) { return prof::GetError(Job(job)); }

ZXUT_EXPORT void ZXUT_API ProfSetOption(LONG option, WORD value) { prof::SetOption(option, value); }

ZXUT_EXPORT LONG ZXUT_API ProfGetOption(LONG option) { return prof::GetOption(option); }

ZXUT_EXPORT void ZXUT_API ProfSetDebug(LONG) {}
