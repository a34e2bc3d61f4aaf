/* Profile store: named, typed values in nested lists. */
#ifndef ZXUT22_PROF_H
#define ZXUT22_PROF_H

#include "types.h"

typedef struct zxProfJob *HPROFJOB;   /* a job: tree, caches, file */
typedef struct zxProfList *HPROFLIST; /* a list inside a job's tree; null means the root */

/* Error codes of the whole Prof family (there is no -2). */
#define PROF_OK 0
#define PROF_ERR_OPEN (-1)
#define PROF_ERR_SAVE (-3)
#define PROF_ERR_WRITE (-4)
#define PROF_ERR_HANDLE (-5)
#define PROF_ERR_NOT_FOUND (-6)
#define PROF_ERR_PARSE (-7)
#define PROF_ERR_MEMORY (-8)
#define PROF_ERR_FORMAT (-9)
#define PROF_ERR_LOCKED (-10)

/* Option of ProfSetOption / ProfGetOption: the process-wide default code page of
 * narrow text (the A exports convert with it; 65001 is UTF-8). */
#define PROF_OPTION_CODEPAGE 1

/* ProfEnum callbacks: job, name, value ("" for a list item), the item's sublist
 * (null for a value item) and the user pointer. Nonzero goes on, zero stops. */
typedef BOOL(ZXUT_API *PROFENUMPROCW)(HPROFJOB job, LPCWSTR name, LPCWSTR value,
                                      HPROFLIST sublist, void *user);
typedef BOOL(ZXUT_API *PROFENUMPROCA)(HPROFJOB job, LPCSTR name, LPCSTR value,
                                      HPROFLIST sublist, void *user);

/* ---- Job lifetime
 * A job always comes back (null only when memory runs out); ProfGetError tells how
 * the open went. A null name gives an empty job with error 0. A job opened with a
 * file name keeps the name (ProfSave with a null name writes there); this build
 * does not read profile files yet: such a job is an empty, working profile whose
 * error is PROF_ERR_OPEN (shared) or PROF_ERR_SAVE (exclusive). */
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenW(LPCWSTR fileName);
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenA(LPCSTR fileName);
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenExclusiveW(LPCWSTR fileName);
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenExclusiveA(LPCSTR fileName);
ZXUT_EXPORT void ZXUT_API ProfJobAddRef(HPROFJOB job);
/* Drops one reference; the last one destroys the job. Closing never saves. */
ZXUT_EXPORT void ZXUT_API ProfJobClose(HPROFJOB job);
/* The job's last error, or PROF_ERR_HANDLE for a null job. */
ZXUT_EXPORT LONG ZXUT_API ProfGetError(HPROFJOB job);

/* ---- The tree. Paths are names joined by "/"; a leading "/" starts at the root
 * (not for ProfDeleteList / ProfDeleteItem); names compare case-sensitively. */
/* A null or empty path gives the list itself; ".." as the whole remaining path its
 * parent (null above the root). Null when not found. */
ZXUT_EXPORT HPROFLIST ZXUT_API ProfGetListW(HPROFJOB job, HPROFLIST list, LPCWSTR path);
ZXUT_EXPORT HPROFLIST ZXUT_API ProfGetListA(HPROFJOB job, HPROFLIST list, LPCSTR path);
/* Makes sure the list exists and is empty; creates missing lists on the way. */
ZXUT_EXPORT HPROFLIST ZXUT_API ProfCreateListW(HPROFJOB job, HPROFLIST list, LPCWSTR path);
ZXUT_EXPORT HPROFLIST ZXUT_API ProfCreateListA(HPROFJOB job, HPROFLIST list, LPCSTR path);
/* Always appends new lists; returns the deepest. */
ZXUT_EXPORT HPROFLIST ZXUT_API ProfAppendListW(HPROFJOB job, HPROFLIST list, LPCWSTR path);
ZXUT_EXPORT HPROFLIST ZXUT_API ProfAppendListA(HPROFJOB job, HPROFLIST list, LPCSTR path);
/* Deletes all items of the list; returns how many were deleted (0 for a null job). */
ZXUT_EXPORT LONG ZXUT_API ProfEmptyList(HPROFJOB job, HPROFLIST list);
/* With a path: deletes every matching list; "" deletes all items of the list; a
 * null path deletes the item that holds `list` itself. Returns how many items
 * were deleted. */
ZXUT_EXPORT LONG ZXUT_API ProfDeleteListW(HPROFJOB job, HPROFLIST list, LPCWSTR path);
ZXUT_EXPORT LONG ZXUT_API ProfDeleteListA(HPROFJOB job, HPROFLIST list, LPCSTR path);
/* Deletes every matching value item along every matching list. Returns the count. */
ZXUT_EXPORT LONG ZXUT_API ProfDeleteItemW(HPROFJOB job, HPROFLIST list, LPCWSTR path);
ZXUT_EXPORT LONG ZXUT_API ProfDeleteItemA(HPROFJOB job, HPROFLIST list, LPCSTR path);
/* Calls back for each item of the list (not recursive) as it stood when the walk
 * began. 1 at the end, 0 when the callback stopped or the job is null. */
ZXUT_EXPORT LONG ZXUT_API ProfEnumW(HPROFJOB job, HPROFLIST list, PROFENUMPROCW callback,
                                    void *user);
ZXUT_EXPORT LONG ZXUT_API ProfEnumA(HPROFJOB job, HPROFLIST list, PROFENUMPROCA callback,
                                    void *user);
/* Appends copies of the source's items to the target. 0, PROF_ERR_HANDLE for a
 * null source job, PROF_ERR_MEMORY when a copy step failed. */
ZXUT_EXPORT LONG ZXUT_API ProfCopyList(HPROFJOB targetJob, HPROFLIST targetList,
                                       HPROFJOB sourceJob, HPROFLIST sourceList);
/* Writes the list and everything below it to the debug output. 0 or PROF_ERR_HANDLE. */
ZXUT_EXPORT LONG ZXUT_API ProfDebugList(HPROFJOB job, HPROFLIST list);

/* ---- Saving. The flags' low 4 bits select the format: PROF_FMT_TEXT (UTF-16
 * text), PROF_FMT_XFDF (narrow XFDF fields, an export format), any other value
 * PROF_FMT_XML (UTF-16 XML). */
#define PROF_FMT_TEXT 0
#define PROF_FMT_XML 1
#define PROF_FMT_XFDF 2
/* The compressed form: "PRZB" and a raw deflate stream of the profile. */
#define PROF_SAVE_COMPRESSED 0x40
/* The compressed form when the job was loaded from it. */
#define PROF_SAVE_KEEP_COMPRESSED 0x80
/* Saves to fileName, or with a null name to the job's own file (an exclusive job
 * keeps rewriting its open file; a name equal to it, in any case, does the same)
 * or its file name. The file is always either the old or the new profile: a
 * failed save keeps the old content. An empty profile gives an empty file.
 * PROF_OK (also for a null job) or PROF_ERR_SAVE. */
ZXUT_EXPORT LONG ZXUT_API ProfSaveW(HPROFJOB job, LPCWSTR fileName, DWORD flags);
ZXUT_EXPORT LONG ZXUT_API ProfSaveA(HPROFJOB job, LPCSTR fileName, DWORD flags);

/* ---- Global operations */
/* 0: 5637, 1: 22, 2: 5, anything else -1. */
ZXUT_EXPORT LONG ZXUT_API ProfGetVersion(LONG selector);
/* PROF_OPTION_CODEPAGE sets the default code page; other options are ignored. */
ZXUT_EXPORT void ZXUT_API ProfSetOption(LONG option, WORD value);
/* PROF_OPTION_CODEPAGE gives the default code page; anything else 0. */
ZXUT_EXPORT LONG ZXUT_API ProfGetOption(LONG option);
/* Kept for callers; does nothing. */
ZXUT_EXPORT void ZXUT_API ProfSetDebug(LONG value);

/* ---- Typed values. Every value is stored as text:
 *   Bool "TRUE"/"FALSE"; Int "%d"; IntHex "x%08X"; Int64 "%I64u"; Int64Hex "x%I64X";
 *   Double "%f"; Point "(x,y)"; Rect "(left,top,right,bottom)";
 *   RectLTWH "(left,top,width,height)"; Colorref "(red,green,blue)".
 * Append always adds an item at the end; Set replaces the first value item of
 * the name or appends. Lists missing on the path are created. A null job, path or
 * structure pointer does nothing. */
ZXUT_EXPORT void ZXUT_API ProfAppendStringW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR value);
ZXUT_EXPORT void ZXUT_API ProfAppendStringA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR value);
ZXUT_EXPORT void ZXUT_API ProfAppendBoolW(HPROFJOB job, HPROFLIST list, LPCWSTR path, BOOL value);
ZXUT_EXPORT void ZXUT_API ProfAppendBoolA(HPROFJOB job, HPROFLIST list, LPCSTR path, BOOL value);
ZXUT_EXPORT void ZXUT_API ProfAppendDoubleW(HPROFJOB job, HPROFLIST list, LPCWSTR path, double value);
ZXUT_EXPORT void ZXUT_API ProfAppendDoubleA(HPROFJOB job, HPROFLIST list, LPCSTR path, double value);
ZXUT_EXPORT void ZXUT_API ProfAppendIntW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendIntA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendIntHexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendIntHexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendInt64W(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendInt64A(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendInt64HexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendInt64HexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfAppendPointW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const POINT *value);
ZXUT_EXPORT void ZXUT_API ProfAppendPointA(HPROFJOB job, HPROFLIST list, LPCSTR path, const POINT *value);
ZXUT_EXPORT void ZXUT_API ProfAppendRectW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfAppendRectA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfAppendRectLTWHW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfAppendRectLTWHA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfAppendColorrefW(HPROFJOB job, HPROFLIST list, LPCWSTR path, COLORREF value);
ZXUT_EXPORT void ZXUT_API ProfAppendColorrefA(HPROFJOB job, HPROFLIST list, LPCSTR path, COLORREF value);

ZXUT_EXPORT void ZXUT_API ProfSetStringW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR value);
ZXUT_EXPORT void ZXUT_API ProfSetStringA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR value);
ZXUT_EXPORT void ZXUT_API ProfSetBoolW(HPROFJOB job, HPROFLIST list, LPCWSTR path, BOOL value);
ZXUT_EXPORT void ZXUT_API ProfSetBoolA(HPROFJOB job, HPROFLIST list, LPCSTR path, BOOL value);
ZXUT_EXPORT void ZXUT_API ProfSetDoubleW(HPROFJOB job, HPROFLIST list, LPCWSTR path, double value);
ZXUT_EXPORT void ZXUT_API ProfSetDoubleA(HPROFJOB job, HPROFLIST list, LPCSTR path, double value);
ZXUT_EXPORT void ZXUT_API ProfSetIntW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfSetIntA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfSetIntHexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfSetIntHexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG value);
ZXUT_EXPORT void ZXUT_API ProfSetInt64W(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfSetInt64A(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfSetInt64HexW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfSetInt64HexA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG value);
ZXUT_EXPORT void ZXUT_API ProfSetPointW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const POINT *value);
ZXUT_EXPORT void ZXUT_API ProfSetPointA(HPROFJOB job, HPROFLIST list, LPCSTR path, const POINT *value);
ZXUT_EXPORT void ZXUT_API ProfSetRectW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfSetRectA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfSetRectLTWHW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfSetRectLTWHA(HPROFJOB job, HPROFLIST list, LPCSTR path, const RECT *value);
ZXUT_EXPORT void ZXUT_API ProfSetColorrefW(HPROFJOB job, HPROFLIST list, LPCWSTR path, COLORREF value);
ZXUT_EXPORT void ZXUT_API ProfSetColorrefA(HPROFJOB job, HPROFLIST list, LPCSTR path, COLORREF value);

/* Copies the default into the buffer (unless buffer == def), then the value if the
 * item exists, both cut to size - 1 characters and terminated. Returns the full
 * length of the stored value, PROF_ERR_NOT_FOUND, or 0 for a null job. A narrow
 * buffer receives at most size - 1 bytes. */
ZXUT_EXPORT LONG ZXUT_API ProfGetStringW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPWSTR buffer,
                                         LONG size, LPCWSTR def);
ZXUT_EXPORT LONG ZXUT_API ProfGetStringA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPSTR buffer,
                                         LONG size, LPCSTR def);
/* Length in characters, PROF_ERR_NOT_FOUND, or 0 for a null job. */
ZXUT_EXPORT LONG ZXUT_API ProfGetStringLengthW(HPROFJOB job, HPROFLIST list, LPCWSTR path);
ZXUT_EXPORT LONG ZXUT_API ProfGetStringLengthA(HPROFJOB job, HPROFLIST list, LPCSTR path);
/* Typed gets: 0; PROF_ERR_NOT_FOUND (missing or empty: the default, after a trip
 * through its text form, is delivered); PROF_ERR_FORMAT (no read form accepts the
 * text: `out` unchanged, or for Point/Rect filled as far as the scan went). A
 * null job returns 0 and leaves `out` alone. Int reads "x%X" before "%d", Int64
 * "x%I64X" before "%I64u", Colorref "x%lx" before "(r,g,b)". */
ZXUT_EXPORT LONG ZXUT_API ProfGetBoolW(HPROFJOB job, HPROFLIST list, LPCWSTR path, BOOL *out, BOOL def);
ZXUT_EXPORT LONG ZXUT_API ProfGetBoolA(HPROFJOB job, HPROFLIST list, LPCSTR path, BOOL *out, BOOL def);
ZXUT_EXPORT LONG ZXUT_API ProfGetDoubleW(HPROFJOB job, HPROFLIST list, LPCWSTR path, double *out, double def);
ZXUT_EXPORT LONG ZXUT_API ProfGetDoubleA(HPROFJOB job, HPROFLIST list, LPCSTR path, double *out, double def);
ZXUT_EXPORT LONG ZXUT_API ProfGetIntW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONG *out, LONG def);
ZXUT_EXPORT LONG ZXUT_API ProfGetIntA(HPROFJOB job, HPROFLIST list, LPCSTR path, LONG *out, LONG def);
ZXUT_EXPORT LONG ZXUT_API ProfGetInt64W(HPROFJOB job, HPROFLIST list, LPCWSTR path, LONGLONG *out,
                                        LONGLONG def);
ZXUT_EXPORT LONG ZXUT_API ProfGetInt64A(HPROFJOB job, HPROFLIST list, LPCSTR path, LONGLONG *out,
                                        LONGLONG def);
ZXUT_EXPORT LONG ZXUT_API ProfGetPointW(HPROFJOB job, HPROFLIST list, LPCWSTR path, POINT *out,
                                        const POINT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetPointA(HPROFJOB job, HPROFLIST list, LPCSTR path, POINT *out,
                                        const POINT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetRectW(HPROFJOB job, HPROFLIST list, LPCWSTR path, RECT *out,
                                       const RECT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetRectA(HPROFJOB job, HPROFLIST list, LPCSTR path, RECT *out,
                                       const RECT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetRectLTWHW(HPROFJOB job, HPROFLIST list, LPCWSTR path, RECT *out,
                                           const RECT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetRectLTWHA(HPROFJOB job, HPROFLIST list, LPCSTR path, RECT *out,
                                           const RECT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetColorrefW(HPROFJOB job, HPROFLIST list, LPCWSTR path, COLORREF *out,
                                           COLORREF def);
ZXUT_EXPORT LONG ZXUT_API ProfGetColorrefA(HPROFJOB job, HPROFLIST list, LPCSTR path, COLORREF *out,
                                           COLORREF def);

/* ---- Text parsing without a job. A null text gives the default. The W forms
 * return the scanner's count of the last attempt (callers ignore it). */
ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoBOOLW(LPCWSTR text, BOOL *out, BOOL def);
ZXUT_EXPORT void ZXUT_API ProfLPSTRtoBOOLA(LPCSTR text, BOOL *out, BOOL def);
ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoINTW(LPCWSTR text, LONG *out, LONG def);
ZXUT_EXPORT void ZXUT_API ProfLPSTRtoINTA(LPCSTR text, LONG *out, LONG def);
ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoINT64W(LPCWSTR text, LONGLONG *out, LONGLONG def);
ZXUT_EXPORT void ZXUT_API ProfLPSTRtoINT64A(LPCSTR text, LONGLONG *out, LONGLONG def);
ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoRECTW(LPCWSTR text, RECT *out, const RECT *def);
ZXUT_EXPORT void ZXUT_API ProfLPSTRtoRECTA(LPCSTR text, RECT *out, const RECT *def);
ZXUT_EXPORT LONG ZXUT_API ProfLPSTRtoCOLORREFW(LPCWSTR text, COLORREF *out, COLORREF def);
ZXUT_EXPORT void ZXUT_API ProfLPSTRtoCOLORREFA(LPCSTR text, COLORREF *out, COLORREF def);

#endif
