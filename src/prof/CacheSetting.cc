// The string cache switch of new jobs, read from the registry once per job.
#include "core/registry/Registry.h"
#include "platform/process.h"
#include "prof/ProfJob.h"

namespace zx {

bool ReadProfCacheEnabled() {
  String exe{plat::ExecutableBaseName()};
  exe.ToUpper();
  String key(u"software\\zarnik\\");
  key.Append(exe);
  // Unreadable (missing, not a string): on; else on exactly for a leading "T".
  return RegReadBool(plat::Hive::CurrentUser, key.wchar(), u"ProfCacheEnabled", true);
}

}  // namespace zx
