// String resources on Linux: the library's compiled string tables; other modules
// have none.
#include "platform/errors.h"
#include "platform/locale.h"
#include "platform/resources.h"
#include "platform/internal/string_table.h"

namespace plat {
namespace {
const char g_moduleAnchor = 0;

bool Ours(const void* module) { return !module || module == LibraryModule(); }
}  // namespace

const void* LibraryModule() { return &g_moduleAnchor; }

bool FindStringResource(const void* module, uint32_t id, uint16_t langId, std::u16string& out) {
  if (!Ours(module)) {
    SetLastError(kErrResourceTypeNotFound);
    return false;
  }
  return detail::FindInStringTable(id, langId, out);
}

bool LoadStringResource(const void* module, uint32_t id, std::u16string& out) {
  if (!Ours(module)) {
    SetLastError(kErrResourceTypeNotFound);
    return false;
  }
  return detail::LoadFromStringTable(id, UserDefaultUILanguage(), out);
}

}  // namespace plat
