/* Packed strings: binary data as text, base64 with optional compression ("@2@"
 * in front). The exports use no password. */
#ifndef ZXUT22_UTIL_CONVERT_H
#define ZXUT22_UTIL_CONVERT_H

#include "types.h"

#if !defined(_WIN32)
/* A global memory handle of the library (Windows: the system's HGLOBAL). */
typedef void *HGLOBAL;
#  ifdef __cplusplus
struct IStream;
#  else
typedef struct IStream IStream;
#  endif
#endif

/* The ...ToString exports pack the data (compressed when `compress` is not 0).
 * With a null buffer or a size of 0 they return the size needed, the text's
 * length plus one; otherwise they copy at most `bufferSize` - 1 characters, end
 * them with a zero and return 0, or -44 when the text was cut. No data gives the
 * empty text. A null stream or handle, or null data with a size, gives -2. */
ZXUT_EXPORT LONG ZXUT_API UtilConvertBLOBToString(const BYTE *data, DWORD size, LPWSTR buffer,
                                                  LONG bufferSize, BOOL compress);
ZXUT_EXPORT LONG ZXUT_API UtilConvertStreamToString(IStream *stream, LPWSTR buffer, LONG bufferSize,
                                                    BOOL compress);
ZXUT_EXPORT LONG ZXUT_API UtilConvertHGLOBALToString(HGLOBAL handle, LPWSTR buffer, LONG bufferSize,
                                                     BOOL compress);

/* The data of a packed text. With a null buffer: its size. With a buffer of at
 * least that size: the data copied and its size; with a smaller one nothing is
 * copied and the result is 0. A null text gives -2. */
ZXUT_EXPORT LONG ZXUT_API UtilConvertStringToBLOB(LPCWSTR text, BYTE *buffer, LONG bufferSize);
/* Writes the data from the stream's start: 0, or -2 for a null text or stream. */
ZXUT_EXPORT LONG ZXUT_API UtilConvertStringToStream(LPCWSTR text, IStream *stream);
/* Resizes the (moveable) handle to the data and copies it there: 0, -2 for a null
 * text or handle, -1 when the handle cannot be resized. */
ZXUT_EXPORT LONG ZXUT_API UtilConvertStringToHGLOBAL(LPCWSTR text, HGLOBAL handle);

#endif
