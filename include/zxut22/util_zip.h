/* ZIP archives: a writer that builds a plain single-disk archive from files on disk
 * (deflated entries, folders, comments; no ZIP64), and extraction of an archive into
 * a folder. Names may be given with backslashes; they are stored with slashes. */
#ifndef ZXUT22_UTIL_ZIP_H
#define ZXUT22_UTIL_ZIP_H

#include "types.h"

/* An archive being written, from UtilZIPCreate to UtilZIPClose. */
typedef struct zxZIPFile *HZIPFILE;

/* Starts a new archive (an existing file of that name is replaced) with an archive
 * comment (null: none). Null if the file cannot be opened. Nothing is written
 * before UtilZIPClose. */
ZXUT_EXPORT HZIPFILE ZXUT_API UtilZIPCreate(LPCWSTR archivePath, LPCWSTR comment);
/* Compresses the file at once into a spill file. entryName null or empty derives the
 * name from the source path (drive or \\server part dropped, backslashes to slashes).
 * 0 done (also for a null handle); -1 the source cannot be opened; -2 the entry
 * failed (4 GB limits, compression) and the archive goes on without it. */
ZXUT_EXPORT LONG ZXUT_API UtilZIPAppend(HZIPFILE zip, LPCWSTR sourcePath, LPCWSTR entryComment,
                                        LPCWSTR entryName);
/* Adds the files of a folder matching mask (null: "*.*"); with flags bit 0
 * (ZXUT_ZIP_RECURSE) sub-folders too, as folder entries and with every file in them.
 * Always 0; files that fail are left out. */
#define ZXUT_ZIP_RECURSE 1
ZXUT_EXPORT LONG ZXUT_API UtilZIPAppendList(HZIPFILE zip, LPCWSTR folder, LPCWSTR mask, DWORD flags);
/* Writes the archive and ends the handle in every case: 0 done (and for a null
 * handle), -3 the archive could not be finished (too large or a write failed). */
ZXUT_EXPORT LONG ZXUT_API UtilZIPClose(HZIPFILE zip);

/* Extracts every entry of the archive below destinationFolder, creating folders and
 * overwriting existing files. 1 when all entries were extracted; 0 on failure, with
 * the reason on the debug channel and the files extracted so far left in place.
 * Names that would land outside the destination (absolute, a drive or ':', a
 * backslash, a ".." component, a device name) are refused before anything is
 * written. Names are UTF-8 with flag 0x0800, otherwise code page 437. */
ZXUT_EXPORT LONG ZXUT_API UtilExtractZip(LPCWSTR archivePath, LPCWSTR destinationFolder);

#endif
