/* Module jobs and the small exports of the module frame. */
#ifndef ZXUT22_UTIL_MODULE_H
#define ZXUT22_UTIL_MODULE_H

#include "types.h"

/* A component's job: one per name (its first 32 characters, case-sensitive),
 * counted by open and close. */
typedef struct UTILMODULE__* HUTILMODULE;

/* Job flags. */
#define UTIL_JOB_TRACE 0x80000000u      /* trace job and heap calls, capture the opening stack */
#define UTIL_JOB_DEBUG_HEAPS 0x40000000u /* every heap a debug heap unless it forbids it */

/* Return codes of the job and heap exports. */
#define UTIL_OK 0
#define UTIL_E_HANDLE (-2)      /* invalid module or heap handle; a failed shrink */
#define UTIL_E_CORRUPT (-3)     /* heap corrupted */
#define UTIL_E_LEFTOVER (-5)    /* heaps or objects were left; deleted all the same */
#define UTIL_E_OBJECT (-6)      /* bad object pointer, fence or free */
#define UTIL_E_UNAVAILABLE (-7) /* no heap walk on this system, or not a debug heap */

/* Null when out of memory (or for a null name). */
ZXUT_EXPORT HUTILMODULE ZXUT_API UtilJobOpen(LPCWSTR name, DWORD flags);
/* 0, or -2 for a handle that is no open job, -5 when heaps were left (they are
 * reported and destroyed). 0 for null. */
ZXUT_EXPORT LONG ZXUT_API UtilJobClose(HUTILMODULE module);

/* 1 while debug output is active, else 0. */
ZXUT_EXPORT LONG ZXUT_API UtilGetFlags(void);
/* "\nZR32UTIL['']: error in '<function>' (<reason>): <detail>\n" to debug output.
 * The two arguments between reason and detail are placeholders. */
ZXUT_EXPORT void ZXUT_API UtilError(LPCWSTR function, LPCWSTR reason, const void* unused1,
                                    const void* unused2, LPCWSTR detail);
/* Shows "line <n> in file <file>:\n\"<expression>\"" (cut to 80 characters) in a box
 * and ends the process with exit code -1 whichever button is pressed. Linux has no
 * box: the text goes to standard error, and the exit status reads 255. */
ZXUT_EXPORT void ZXUT_API UtilAssert(LPCWSTR expression, LPCWSTR file, UINT line);
/* The caller's stack as module names to debug output, `skip` frames skipped (at
 * most 256), 20 lines at most. */
ZXUT_EXPORT void ZXUT_API UtilStackTrace(void* unused, LONG skip);
/* The address range of each mapped module image to debug output. */
ZXUT_EXPORT void ZXUT_API UtilListModules(void);
/* "++"/"--" lines with the module's version and the process path; attach and detach
 * the viewer's sender. */
ZXUT_EXPORT void ZXUT_API UtilModuleOnAttach(LPCWSTR modulePath);
ZXUT_EXPORT void ZXUT_API UtilModuleOnDetach(LPCWSTR modulePath);
/* Length in characters; 0 for null. */
ZXUT_EXPORT size_t ZXUT_API UtilSafeStrlen(void* unused, LPCWSTR text);
/* Always 1: they test nothing. */
ZXUT_EXPORT BOOL ZXUT_API UtilIsRPtr(const void* pointer, size_t size);
ZXUT_EXPORT BOOL ZXUT_API UtilIsWPtr(void* pointer, size_t size);
ZXUT_EXPORT BOOL ZXUT_API UtilIsString(LPCWSTR text);

/* Called before the next hook (before = 1, result null) and after it (before = 0,
 * a pointer to the result, which may be changed). */
typedef void (ZXUT_API *UTILCBTCALLBACK)(int code, uintptr_t wParam, intptr_t lParam, BOOL before,
                                         intptr_t* result);
/* Installs the one process-wide CBT hook for the callback, or removes it for null:
 * 1 done, 0 refused. Non-zero and nothing done while a debugger is attached. Linux
 * has no window hooks: installing gives 0, removing 1. */
ZXUT_EXPORT BOOL ZXUT_API UtilSetCBTHook(UTILCBTCALLBACK callback);

#endif
