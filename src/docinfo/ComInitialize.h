// clsCOMInitialize: COM for the calling thread while the object lives, in the
// apartment-threaded model, unless a machine-wide setting forbids it:
// HKEY_LOCAL_MACHINE "Software\zarnik\ZRNKRP\22", "ApartmentModel" (REG_DWORD,
// default 2, read once per process). 999 means "never initialise"; any other
// value than 2 only earns a warning, since this object asks for apartments.
// On Linux there is no COM: the object reads the setting and says the same, but
// initialises nothing (Initialized() stays false).
// Errors: the warning line; the initialisation's result is kept.
// Threads: per thread by nature; the setting is read once under a static guard.
#pragma once
#include <cstdint>

#include "platform/com.h"

namespace zx {

class clsCOMInitialize {
 public:
  clsCOMInitialize();
  ~clsCOMInitialize();
  clsCOMInitialize(const clsCOMInitialize&) = delete;
  clsCOMInitialize& operator=(const clsCOMInitialize&) = delete;

  bool Initialized() const { return m_result >= 0; }
  HRESULT Result() const { return m_result; }

  static constexpr uint32_t kNever = 999;
  // The setting as this process read it.
  static uint32_t ForcedModel();

 private:
  HRESULT m_result = plat::kE_FAIL;
};

}  // namespace zx
