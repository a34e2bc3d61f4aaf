// Linux: shared objects carry no version resource; this library's own version is compiled
// in, the same values its Windows build keeps in its resource.
#include "platform/version_info.h"

#include "platform/process.h"

namespace plat {

bool ModuleVersionStrings(const char16_t* path, std::u16string* fileVersion, std::u16string* build) {
  if (!path || LibraryPath() != path) return false;
  *fileVersion = u"22.5.0.5637";
  build->clear();
  return true;
}

bool ModuleDescription(const char16_t*, ModuleVersionTexts*) { return false; }

}  // namespace plat
