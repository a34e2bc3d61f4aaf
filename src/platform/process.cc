#include "platform/process.h"

namespace plat {

std::u16string ExecutableBaseName() {
  std::u16string path = ExecutablePath();
  size_t slash = path.find_last_of(u"/\\");
  if (slash != std::u16string::npos) path.erase(0, slash + 1);
  size_t dot = path.rfind(u'.');
  if (dot != std::u16string::npos && dot > 0) path.erase(dot);
  return path;
}

}  // namespace plat
