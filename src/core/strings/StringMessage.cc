// String's message factories: string resources in the UI language, message-insert
// expansion and system error texts.
#include <string>

#include "core/diag/Diag.h"
#include "core/format/MessageInserts.h"
#include "core/strings/String.h"
#include "platform/errors.h"
#include "platform/process.h"
#include "platform/resources.h"

namespace zx {
namespace {

constexpr size_t kLoadStringChars = 4096;    // LoadStringW's private buffer
constexpr size_t kSystemMessageChars = 256;  // system texts must fit with terminator

// The module's name for the not-found line.
String ModuleName(const void* module) {
  if (module == plat::LibraryModule()) return String(plat::LibraryPath());
  return String(kFormat, u"%p", module);
}

}  // namespace

bool String::Message(const void* module, uint32_t id, ...) {
  va_list ap;
  va_start(ap, id);
  bool found = VMessageResource(module, id, &ap);
  va_end(ap);
  return found;
}

bool String::VMessageResource(const void* module, uint32_t id, va_list* args) {
  if (!module) module = plat::LibraryModule();
  std::u16string text;
  if (!plat::FindStringResource(module, id, CachedUILanguage(), text)) {
    // No block in that language: the loader's own language fallback, cut to what
    // its buffer holds.
    if (!plat::LoadStringResource(module, id, text)) text.clear();
    if (text.size() > kLoadStringChars - 1) text.resize(kLoadStringChars - 1);
  }
  if (text.empty()) {
    const uint32_t error = plat::LastError();
    Clear();
    DiagFormat(u"String::Message(): String ressource %d not found in %s: '%s'", static_cast<int>(id),
               ModuleName(module).wchar(), SystemMessage(error).wchar());
    return false;
  }
  VMessage(text.c_str(), args);
  return true;
}

bool String::VMessage(const char16_t* format, va_list* args) {
  std::u16string out;
  if (ExpandMessageInserts(format, args, out)) {
    SetText(out.data(), static_cast<int64_t>(out.size()));
    return true;
  }
  const uint32_t error = plat::LastError();
  Assign(format);   // the text stays unexpanded
  DiagFormat(u"String::VMessage(): FormatMessage() failed: %s", SystemMessage(error).wchar());
  return false;
}

String String::SystemMessage(uint32_t code, uint16_t langId) {
  std::u16string text;
  String result;
  if (plat::SystemErrorText(code, langId, text) && text.size() < kSystemMessageChars) {
    while (!text.empty() && (text.back() == u'\r' || text.back() == u'\n')) text.pop_back();
    result.Format(u"%s (%08lx)", text.c_str(), code);
  } else {
    result.Format(u"(error code %#08lx)", code);
  }
  return result;
}

}  // namespace zx
