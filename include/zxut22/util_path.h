/* Paths: the C runtime's split, make and full-path functions (with the Windows
 * runtime's results on every platform), the mapping between local paths and
 * network shares, folder tokens, the kind of an output target and the facts of a
 * volume. On Linux a path below a cifs, smb3 or nfs mount is named
 * \\server\share\rest on the network side; known folders are the XDG folders. */
#ifndef ZXUT22_UTIL_PATH_H
#define ZXUT22_UTIL_PATH_H

#include "types.h"

/* Rooms of UtilSplitpath's parts and UtilMergepath's result, in characters with
 * the terminator. */
#define ZXUT_MAX_DRIVE 3
#define ZXUT_MAX_DIR 256
#define ZXUT_MAX_FNAME 256
#define ZXUT_MAX_EXT 256
#define ZXUT_MAX_PATH 260

/* _wsplitpath_s with those rooms; a null part is not asked for. 0, 22 (null path)
 * or 34 (a part doesn't fit: every part is then empty). */
ZXUT_EXPORT LONG ZXUT_API UtilSplitpath(LPCWSTR path, LPWSTR drive, LPWSTR dir, LPWSTR name, LPWSTR ext);
/* _wmakepath_s into out (room ZXUT_MAX_PATH). 0, 22 (null out) or 34 (too long:
 * out is empty). */
ZXUT_EXPORT LONG ZXUT_API UtilMergepath(LPWSTR out, LPCWSTR drive, LPCWSTR dir, LPCWSTR name, LPCWSTR ext);
/* _wfullpath into out (room size): a null or empty path gives the current folder.
 * When the result doesn't fit, out is empty. */
ZXUT_EXPORT void ZXUT_API UtilFullpath(LPWSTR out, LPCWSTR path, DWORD size);

/* The facts of the volume holding root (null: the current one). */
typedef struct tagUTIL_FSINFO {
  DWORD dwSize;         /* 20 on entry */
  DWORD dwMaxPath;      /* 260 */
  DWORD dwMaxDrive;     /* 3 */
  DWORD dwMaxComponent; /* the longest name component (0: the volume can't be asked) */
  DWORD dwFlags;        /* ZXUT_FS_* */
} UTIL_FSINFO;
#define ZXUT_FS_CASE_SENSITIVE 1
#define ZXUT_FS_CASE_PRESERVED 2
#define ZXUT_FS_UNICODE 4
#define ZXUT_FS_LONG_NAMES 8
#define ZXUT_FS_COMPRESSED 16
/* 64 for a wrong dwSize (the block untouched); else 1 when names are
 * case-sensitive, 0 otherwise. */
ZXUT_EXPORT DWORD ZXUT_API UtilGetFSInfo(LPCWSTR root, UTIL_FSINFO *pInfo);

/* Environment variables ("%TEMP%\x"), then the user's known folders ("%Desktop%",
 * "%Personal%", "%AppData%", ...); unknown names stay. 0 for a null text, else 1.
 * Text results through BSTR*: null drops it, a null BSTR is allocated, any other
 * is reallocated. */
ZXUT_EXPORT LONG ZXUT_API UtilExpandDefaultTokensOfFolderPath(LPCWSTR text, BSTR *pResult);
/* The network form of a (normalised) drive path, or the path itself when it has
 * none. 0, or -1 (nothing stored) when a drive path can't be resolved. */
ZXUT_EXPORT LONG ZXUT_API UtilEnsureUNCPath(LPCWSTR path, BSTR *pResult);
/* The local name of a \\server\share path with a remembered connection, or the
 * (normalised) path itself. 0, or -1 (nothing stored) when the network can't be
 * listed. */
ZXUT_EXPORT LONG ZXUT_API UtilEnsureLocalPath(LPCWSTR path, BSTR *pResult);
/* Narrow forms in the default code page: the wide form's result; outSize itself
 * when the text doesn't fit (then nothing is copied). */
ZXUT_EXPORT DWORD ZXUT_API UtilEnsureUNCPathForWise(LPCSTR path, LPSTR out, DWORD outSize);
ZXUT_EXPORT DWORD ZXUT_API UtilEnsureLocalPathForWise(LPCSTR path, LPSTR out, DWORD outSize);

/* The kind of an output target: 0 not there, 1 file, 2 folder, 3 printer port
 * LPTn:, 4 serial port COMn:, 6 USB: target. "FILE:" before a path is dropped. */
ZXUT_EXPORT LONG ZXUT_API UtilClassifyPath(LPCWSTR target);

#endif
