#include "thread/HandleObject.h"

namespace zx {

bool clsGenericHandleObjectAutoRelease::Duplicate(plat::WaitHandle handle) {
  plat::WaitHandle copy = nullptr;
  if (!plat::HandleDuplicate(handle, &copy)) return false;
  Release();
  Attach(copy, true);
  return true;
}

void clsGenericHandleObjectAutoRelease::Release() {
  // Virtual calls from the destructor reach this class's own operations, as in any
  // destructor; a derived holder with other closing calls releases in its own.
  if (IsValid() && m_bOwns) CloseObject();
  m_h = GetInvalidValue();
  m_bOwns = false;
}

}  // namespace zx
