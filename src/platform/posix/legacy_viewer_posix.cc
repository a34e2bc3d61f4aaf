// Linux: no old viewer exists outside Windows: nothing is found, nothing opens.
#include "platform/legacy_viewer.h"

#include "platform/errors.h"

namespace plat {

uint64_t FindViewerWindow(const char16_t*) { return 0; }
bool IsViewerWindow(uint64_t) { return false; }
bool SendCopyData(uint64_t, uint64_t, const void*, uint32_t, uint64_t* reply) {
  if (reply) *reply = 0;
  SetLastError(kErrInvalidHandle);
  return false;
}
intptr_t OpenMailslot(const char16_t*) {
  SetLastError(kErrFileNotFound);
  return kNoMailslot;
}
bool WriteMailslot(intptr_t, const void*, uint32_t, uint32_t* written) {
  if (written) *written = 0;
  return false;
}
void CloseMailslot(intptr_t) {}
void Beep(uint32_t) {}

}  // namespace plat
