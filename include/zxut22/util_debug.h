/* Debug output: lines to the external viewer or the log file, and the viewer's
 * sender attach count. Every call returns at once, formatting nothing, while nobody
 * listens. Formats follow the wide printf of the C runtime: %s wide, %hs narrow. */
#ifndef ZXUT22_UTIL_DEBUG_H
#define ZXUT22_UTIL_DEBUG_H

#include <stdarg.h>
#include "types.h"

/* One line without tag, indentation unchanged. */
ZXUT_EXPORT void ZXUT_API UtilDebug(LPCWSTR format, ...);
/* One line with a tag. indentChange +1 prints and then indents, -1 unindents and
 * then prints; a null format only changes the indentation. */
ZXUT_EXPORT void ZXUT_API UtilDebugExt(LPCWSTR tag, LONG indentChange, LPCWSTR format, ...);
ZXUT_EXPORT void ZXUT_API UtilDebugExtV(LPCWSTR tag, LONG indentChange, LPCWSTR format, va_list args);
/* The text as one line with the library's tag. */
ZXUT_EXPORT void ZXUT_API PasDebug(LPCWSTR text);
/* Raise / lower the viewer sender's attach count; the argument is ignored. */
ZXUT_EXPORT void ZXUT_API UtilTRAVUE4Attach(void* reserved);
ZXUT_EXPORT void ZXUT_API UtilTRAVUE4Detach(void* reserved);

#endif
