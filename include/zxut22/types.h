/* Basic types of the C boundary. On Windows they are the system's own; elsewhere
 * layout-compatible definitions with 16-bit WCHAR. */
#ifndef ZXUT22_TYPES_H
#define ZXUT22_TYPES_H

#include <stdint.h>
#include <stddef.h>

#if defined(_WIN32)
#  ifndef WIN32_LEAN_AND_MEAN
#    define WIN32_LEAN_AND_MEAN
#  endif
#  include <windows.h>
#  include <objidl.h>
#else
#  ifdef __cplusplus
typedef char16_t WCHAR;
#  else
typedef uint16_t WCHAR;
#  endif
typedef char CHAR;
typedef int BOOL;
typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef uint32_t UINT;
typedef int32_t LONG;
typedef uint32_t ULONG;
typedef int64_t LONGLONG;
typedef uint64_t ULONGLONG;
typedef int32_t HRESULT;
typedef WCHAR *LPWSTR;
typedef const WCHAR *LPCWSTR;
typedef CHAR *LPSTR;
typedef const CHAR *LPCSTR;
typedef void *HANDLE;
typedef void *HWND;
typedef void *HINSTANCE;
typedef void *HMODULE;
typedef WCHAR *BSTR;
typedef uint32_t COLORREF;
typedef struct tagPOINT { LONG x; LONG y; } POINT;
typedef struct tagRECT { LONG left; LONG top; LONG right; LONG bottom; } RECT;
typedef struct _SYSTEMTIME {
  WORD wYear; WORD wMonth; WORD wDayOfWeek; WORD wDay;
  WORD wHour; WORD wMinute; WORD wSecond; WORD wMilliseconds;
} SYSTEMTIME;
typedef uint32_t LCID;
#endif

#if defined(_WIN32)
#  define ZXUT_API __stdcall
#else
#  define ZXUT_API
#endif

#ifdef __cplusplus
#  define ZXUT_EXTERN_C extern "C"
#else
#  define ZXUT_EXTERN_C
#endif

#if defined(ZXUT22_BUILDING)
#  if defined(_WIN32)
#    define ZXUT_EXPORT ZXUT_EXTERN_C
#  else
#    define ZXUT_EXPORT ZXUT_EXTERN_C __attribute__((visibility("default")))
#  endif
#else
#  define ZXUT_EXPORT ZXUT_EXTERN_C
#endif

#ifndef E_INVALIDARG
#  define E_INVALIDARG ((HRESULT)0x80070057L)
#endif

#endif
