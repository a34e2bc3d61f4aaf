// The exception filter's exports.
#include "gpf/GpfProtection.h"
#include "zxUT22.h"

ZXUT_EXPORT LONG ZXUT_API UtilExHandlerJobOpen(void) { return zx::ExHandlerJobOpen(); }
ZXUT_EXPORT void ZXUT_API UtilExHandlerJobClose(void) { zx::ExHandlerJobClose(); }
ZXUT_EXPORT void ZXUT_API UtilExHandlerStartProtection(void*) { zx::ExHandlerStartProtection(); }
ZXUT_EXPORT void ZXUT_API UtilExHandlerEndProtection(void*) { zx::ExHandlerEndProtection(); }
