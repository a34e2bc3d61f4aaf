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

/* ---- the exception filter
 *
 * A client opens the filter once (UtilExHandlerJobOpen, paired with
 * UtilExHandlerJobClose) and brackets the work of a thread with start and end of
 * protection. A crash of a protected thread is reported (debug output, the report
 * log "%APPDATA%\ZARNIK.LOG", a minidump in "zarnik.dmp.zip"); other threads' crashes
 * go to the filter (Linux: the signal disposition) found before. Settings:
 * ForceUseGPFHandler, UseGPFHandler, SuppressGPFInfo, GenerateFullGPFInfo,
 * GPFMiniDumpMode. */
/* Always 1. */
ZXUT_EXPORT LONG ZXUT_API UtilExHandlerJobOpen(void);
ZXUT_EXPORT void ZXUT_API UtilExHandlerJobClose(void);
/* The argument is not used. */
ZXUT_EXPORT void ZXUT_API UtilExHandlerStartProtection(void *unused);
ZXUT_EXPORT void ZXUT_API UtilExHandlerEndProtection(void *unused);

/* ---- the debug help engine: stack traces, module lists and minidumps
 *
 * A job is a debug help wrapper with its own worker thread; one job at a time holds
 * the process's symbol services (a second waits 5 s, then works as if the services
 * were missing, and its calls return 0). */
typedef struct zxDebugHelpJob *HDEBUGHELPJOB;

#if defined(_WIN32)
typedef CONTEXT zxCONTEXT;
typedef EXCEPTION_POINTERS zxEXCEPTION_POINTERS;
#else
/* The x64 layouts of the system structures CONTEXT (1,232 bytes) and
 * EXCEPTION_POINTERS; the crash filter hands them over filled from the signal. */
typedef struct zxCONTEXT zxCONTEXT;
typedef struct zxEXCEPTION_POINTERS zxEXCEPTION_POINTERS;
#endif

/* One parameter or local of a frame (80 bytes). dwKind: 0 32-bit unsigned, 1 64-bit
 * unsigned, 2 32-bit signed, 3 64-bit signed, 4 double, 5 pointer to narrow text,
 * 6 pointer to wide text, 7 BSTR, 8 plain pointer. */
#pragma pack(push, 8)
typedef struct DBGParamItem {
  DWORD dwKind;
  BYTE bLocal;               /* 1 a local, 0 a parameter */
  ULONGLONG qwValue;         /* the value, or a pointer to the text */
  CHAR szName[64];
} DBGParamItem;

#define DBG_STACKTRACEITEM_SIZE 9432
#define DBG_MAX_PARAMS 50
/* One frame (9,432 bytes; dwSize tells the layout). Texts are narrow (UTF-8 on
 * Linux) and zero-terminated. */
typedef struct DBGStackTraceItem {
  DWORD dwSize;              /* 9432 */
  DWORD dwKind;              /* 0 a frame with symbol details, 1 address only */
  ULONGLONG qwAddress;
  CHAR szSymbol[1024];
  CHAR szUndName[1024];      /* undecorated, name only */
  CHAR szUndFullName[1024];  /* undecorated, complete */
  ULONGLONG qwDisplacement;
  DWORD dwLineDisplacement;
  DWORD dwLineNumber;
  CHAR szFileName[260];
  CHAR reserved1[4];
  CHAR szSymType[1024];
  ULONGLONG qwModuleBase;
  CHAR szModuleName[1024];
  DWORD dwParams;            /* entries of aParams in use */
  DWORD reserved2;
  DBGParamItem aParams[DBG_MAX_PARAMS];
} DBGStackTraceItem;

#define DBG_MODULEITEM_SIZE 832
/* One loaded module (832 bytes). */
typedef struct DBGModuleItem {
  DWORD dwSize;              /* 832 */
  CHAR szPath[260];
  CHAR szModuleName[260];
  CHAR szSymType[32];
  CHAR reserved1[4];
  ULONGLONG qwBase;
  DWORD dwImageSize;
  CHAR szDescription[64];
  CHAR szCompany[64];
  CHAR szVersion[128];
  CHAR reserved2[4];
} DBGModuleItem;
#pragma pack(pop)

/* Reference-counted enumerators in the manner of COM (slots: QueryInterface,
 * AddRef, Release, Next(count, items, fetched), Skip, Reset, Clone, IsEmpty).
 * Next hands out pointers to items the list owns; it returns 0 when it delivered
 * all that was asked. */
typedef struct IDBGStackTraceList IDBGStackTraceList;
typedef struct IDBGModuleList IDBGModuleList;

/* A new job, or null. */
ZXUT_EXPORT HDEBUGHELPJOB ZXUT_API UtilDebugHelpJobOpen(void);
/* Ends the job (its worker thread and its hold of the symbol services); null is ignored. */
ZXUT_EXPORT void ZXUT_API UtilDebugHelpJobClose(HDEBUGHELPJOB job);
/* Option 1: frame limit (100); 2: walk stacks on a second thread (1); 3: kept, no effect (1). */
ZXUT_EXPORT void ZXUT_API UtilDebugHelpSetOption(HDEBUGHELPJOB job, DWORD option, DWORD value);
/* The stack of `context`, or of the caller when null. Non-zero on success. */
ZXUT_EXPORT LONG ZXUT_API UtilDebugHelpGetStackTrace(HDEBUGHELPJOB job, IDBGStackTraceList **list,
                                                     const zxCONTEXT *context);
ZXUT_EXPORT LONG ZXUT_API UtilDebugHelpGetModuleList(HDEBUGHELPJOB job, IDBGModuleList **list);
/* Writes a minidump (path empty: a new temporary file) and packs it with the recent
 * logs into "zarnik.dmp.zip" beside it; the archive's path comes back in `path`.
 * Non-zero on success. */
ZXUT_EXPORT LONG ZXUT_API UtilDebugHelpWriteMiniDump(HDEBUGHELPJOB job, LPWSTR path, DWORD pathSize,
                                                     const zxEXCEPTION_POINTERS *exception);
/* The lock that every copy of the library shares around its use of the symbol services. */
ZXUT_EXPORT void *ZXUT_API UtilGetDBGHELPThreadingCS(void);

#endif
