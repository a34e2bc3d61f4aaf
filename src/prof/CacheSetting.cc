// The string cache switch of new jobs, read from the registry once per job.
#include <memory>
#include <new>

#include "platform/process.h"
#include "platform/registry.h"
#include "prof/clsProfJob.h"

namespace zx {

bool ReadProfCacheEnabled() {
  String key(u"software\\zarnik\\");
  String exe(plat::ExecutableBaseName());
  exe.ToUpper();
  key.Append(exe);
  char16_t stackText[256];
  char16_t* text = stackText;
  std::unique_ptr<char16_t[]> heapText;
  uint32_t type = 0;
  uint32_t size = sizeof(stackText);
  long rc = plat::RegQueryValue(plat::Hive::CurrentUser, key.wchar(), u"ProfCacheEnabled", &type,
                                text, &size);
  if (rc == 234) {  // more data: once more on the heap
    heapText.reset(new (std::nothrow) char16_t[size / sizeof(char16_t) + 1]);
    if (!heapText) return true;
    text = heapText.get();
    rc = plat::RegQueryValue(plat::Hive::CurrentUser, key.wchar(), u"ProfCacheEnabled", &type,
                             text, &size);
  }
  if (rc != 0 || type != plat::kRegSz) return true;  // unreadable: on
  return size >= sizeof(char16_t) && text[0] == u'T';
}

}  // namespace zx
