// The UI-interaction policy's exports.
#include "glue/UiPolicy.h"
#include "zxUT22.h"

ZXUT_EXPORT DWORD ZXUT_API UtilGetOSEnvironmentType(void) { return zx::GetOSEnvironmentType(); }
ZXUT_EXPORT DWORD ZXUT_API UtilGetUIInteractionAllowed(void) { return zx::GetUIInteractionAllowed(); }
