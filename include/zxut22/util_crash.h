/* Crash protection (the exception filter, stack traces, module lists, minidumps
 * and the support archive) and the rule for when the library may show a dialogue. */
#ifndef ZXUT22_UTIL_CRASH_H
#define ZXUT22_UTIL_CRASH_H

#include "types.h"

/* The kind of process, computed once: 1 a desktop process of an interactive user,
 * 3 a service or other non-interactive process, 4 a web server process. */
ZXUT_EXPORT DWORD ZXUT_API UtilGetOSEnvironmentType(void);
/* 1 when the library may show dialogues in this process, else 0; computed once. */
ZXUT_EXPORT DWORD ZXUT_API UtilGetUIInteractionAllowed(void);

#endif
