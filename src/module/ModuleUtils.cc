#include "module/ModuleUtils.h"

#include <cstdarg>
#include <string>

#include "core/format/Format.h"
#include "debug/Debug.h"
#include "core/identity/Identity.h"
#include "module/Lifecycle.h"
#include "platform/debugout.h"
#include "platform/fatal_dialog.h"

namespace zx {
namespace {

// The path of the debug exports: no tag, tested first.
void PrintUntagged(const char16_t* format, ...) {
  if (!IsDebugActive()) return;
  va_list ap;
  va_start(ap, format);
  DebugPrintV(0, nullptr, format, ap);
  va_end(ap);
}

// The module tag of the error lines: a buffer that nothing fills in.
const char16_t kEmptyModuleTag[] = u"";

}  // namespace

int32_t ModuleFlags() { return IsDebugActive() ? 1 : 0; }

void ErrorLine(const char16_t* function, const char16_t* reason, const char16_t* detail) {
  PrintUntagged(u"\nZR32UTIL['%s']: error in '%s' (%s): %s\n", kEmptyModuleTag, function, reason, detail);
}

void ErrorLineBuffer(const char16_t* function, const char16_t* text, const void* pointer, int32_t error) {
  PrintUntagged(u"\nZR32UTIL['%s']: error in '%s': %s\n ptr=0x%08x\n err=%d\n", kEmptyModuleTag, function,
                text, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer)), error);
}

void AssertionText(char16_t (&text)[kAssertChars], const char16_t* expression, const char16_t* file,
                   uint32_t line) {
  if (FormatTo(text, kAssertChars, u"line %u in file %s:\n\"%s\"", line, file, expression) < 0) text[0] = 0;
}

void Assertion(const char16_t* expression, const char16_t* file, uint32_t line) {
  char16_t text[kAssertChars];
  AssertionText(text, expression, file, line);
  // Neither button answers OK: the process ends whichever is pressed.
  if (plat::ShowAssertionBox(u"Assertion Failure", text) != plat::kIdOk) plat::EndProcess(-1);
}

void ModuleOnAttach(const char16_t* path) {
  const String version = ModuleVersionText(path);
  DebugViewerAttach();
  String folder(path ? path : u"");
  folder.ToUpper();
  folder = FolderOfPath(folder);
  const scIdentity& id = Identity();
  // The folder is compared with the whole process path, as the line always did.
  if (folder.Compare(id.processPath) != 0)
    DebugPrint(u"++%s [%s] [%s]", version.wchar(), id.processPath.wchar(), folder.wchar());
  else
    DebugPrint(u"++%s [%s]", version.wchar(), id.processPath.wchar());
}

void ModuleOnDetach(const char16_t* path) {
  DebugPrint(u"--%s [%s]", ModuleVersionText(path).wchar(), Identity().processPath.wchar());
  DebugViewerDetach();
}

int64_t SafeStrlen(const char16_t* text) {
  if (!text) return 0;
  int64_t n = 0;
  while (text[n]) ++n;
  return n;
}

int32_t AnyPointerIsValid() { return 1; }

int32_t SetCbtHook(plat::CbtCallback callback) {
  if (plat::DebuggerPresent()) return 1;
  return plat::SetCbtHook(callback, LibraryModuleHandleStored()) ? 1 : 0;
}

}  // namespace zx
