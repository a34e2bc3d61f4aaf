// The extraction export: no exception leaves it; the reason of a failure goes to
// the debug channel.
#include "zip/Extract.h"
#include "zxUT22.h"

ZXUT_EXPORT LONG ZXUT_API UtilExtractZip(LPCWSTR archivePath, LPCWSTR destinationFolder) {
  const zx::String archive(reinterpret_cast<const char16_t*>(archivePath));
  const zx::String destination(reinterpret_cast<const char16_t*>(destinationFolder));
  return zx::ExtractZipReporting(archive, destination);
}
