/* The temporary-file manager: files that can't be deleted yet are handed over and
 * deleted by a thread of the library as soon as nobody holds them; what is left
 * when the last client closes the manager is deleted then. The product's
 * temporary folder ("zarnik" under the temporary folder) is swept of "_22_" files
 * older than an hour when no process of the product was active for three hours. */
#ifndef ZXUT22_UTIL_TEMPFILE_H
#define ZXUT22_UTIL_TEMPFILE_H

#include "types.h"

/* Makes the manager or adds a client. */
ZXUT_EXPORT void ZXUT_API UtilTempFileMgrOpen(void);
/* Drops a client; the last one ends the manager (at most 10 s for its thread). */
ZXUT_EXPORT void ZXUT_API UtilTempFileMgrClose(void);
/* Registers a file for deletion; without an open manager it is deleted at once, or
 * not at all. */
ZXUT_EXPORT void ZXUT_API UtilTempFileMgrAdd(LPCWSTR name);
/* Creates a new, empty file "_22_<base>...<extension>" in the product's temporary
 * folder (its long form when bit 0 of bLong is set) and stores its name (BSTR rule
 * of the header util_path.h). 1, or 0 when any pointer is null. The file is not
 * registered. */
ZXUT_EXPORT LONG ZXUT_API UtilTempFileMgrCreateFile(LPCWSTR base, LPCWSTR extension, BYTE bLong, BSTR *pResult);

#endif
