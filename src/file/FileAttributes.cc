#include "file/FileAttributes.h"

#include "platform/errors.h"

namespace zx {

bool ReadFileAttributes(const String& name, plat::FileInfo* info) {
  *info = plat::FileInfo();
  if (plat::FileInfoByName(name.wchar(), info)) return true;
  const uint32_t error = plat::LastError();
  if (error != plat::kErrFileNotFound && error != plat::kErrPathNotFound &&
      plat::FileInfoByFind(name.wchar(), info))
    return true;
  *info = plat::FileInfo();
  return false;
}

}  // namespace zx
