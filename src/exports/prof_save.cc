// Prof exports: saving to a file.
#include "core/strings/CharsetConversion.h"
#include "exports/prof_exports.h"
#include "prof/Save.h"

using namespace zx;
using namespace zx::prof_exports;

static_assert(prof::kSaveCompressed == PROF_SAVE_COMPRESSED &&
                  prof::kSaveKeepCompressed == PROF_SAVE_KEEP_COMPRESSED,
              "save flags");

ZXUT_EXPORT LONG ZXUT_API ProfSaveW(HPROFJOB job, LPCWSTR fileName, DWORD flags) {
  return prof::ProfSave(Job(job), U(fileName), flags);
}

ZXUT_EXPORT LONG ZXUT_API ProfSaveA(HPROFJOB job, LPCSTR fileName, DWORD flags) {
  clsCharsetConversionString n(fileName);
  return ProfSaveW(job, W(n.wideOrNull()), flags);
}
