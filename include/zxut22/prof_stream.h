/* Profile store beyond plain files: streams, the clipboard, the compressed form,
 * variants as values and whole files carried in values. */
#ifndef ZXUT22_PROF_STREAM_H
#define ZXUT22_PROF_STREAM_H

#include "prof.h"
#include "util_convert.h"
#include "util_text.h"

/* ---- Streams. The job holds a reference on the stream until it ends; a stream
 * that cannot seek gives PROF_ERR_OPEN. ProfSaveToStream: PROF_OK or
 * PROF_ERR_WRITE (also PROF_OK for a null job); PROF_SAVE_COMPRESSED writes
 * "PRZB" and a raw deflate stream. */
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenStream(IStream *stream);
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenStreamObjectW(IStream *stream, LPCWSTR rootName, LONG baseLevel);
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenStreamObjectA(IStream *stream, LPCSTR rootName, LONG baseLevel);
ZXUT_EXPORT LONG ZXUT_API ProfSaveToStream(HPROFJOB job, IStream *stream, DWORD flags);

/* ---- The clipboard: format "ZrkProfCBFormat" plus a marker text. On Linux a
 * per-user folder of slots (see the README). */
ZXUT_EXPORT HPROFJOB ZXUT_API ProfJobOpenClipboard(HWND owner);
ZXUT_EXPORT LONG ZXUT_API ProfSaveToClipboard(HPROFJOB job, HWND owner, DWORD flags);
ZXUT_EXPORT BOOL ZXUT_API ProfIsClipboardDataAvailable(void);

/* ---- Variants as "var://" values. ProfGetVariant: PROF_OK, or PROF_ERR_NOT_FOUND
 * with a copy of the default; ProfGetVariantFromContents: PROF_ERR_FORMAT for a
 * null text. */
ZXUT_EXPORT void ZXUT_API ProfAppendVariantW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const VARIANT *value);
ZXUT_EXPORT void ZXUT_API ProfSetVariantW(HPROFJOB job, HPROFLIST list, LPCWSTR path, const VARIANT *value);
ZXUT_EXPORT LONG ZXUT_API ProfGetVariantW(HPROFJOB job, HPROFLIST list, LPCWSTR path, VARIANT *out,
                                          const VARIANT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetVariantFromContentsW(LPCWSTR text, VARIANT *out);
ZXUT_EXPORT void ZXUT_API ProfAppendVariantA(HPROFJOB job, HPROFLIST list, LPCSTR path, const VARIANT *value);
ZXUT_EXPORT void ZXUT_API ProfSetVariantA(HPROFJOB job, HPROFLIST list, LPCSTR path, const VARIANT *value);
ZXUT_EXPORT LONG ZXUT_API ProfGetVariantA(HPROFJOB job, HPROFLIST list, LPCSTR path, VARIANT *out,
                                          const VARIANT *def);
ZXUT_EXPORT LONG ZXUT_API ProfGetVariantFromContentsA(LPCSTR text, VARIANT *out);

/* ---- Embedded files (packed, compressed, optionally enciphered with password).
 * Gets: PROF_OK, PROF_ERR_NOT_FOUND, PROF_ERR_WRITE when the value does not decode
 * (a wrong password: nothing is written). ProfAppendFiles returns the files
 * visited; ProfExtractFiles the files written or PROF_ERR_WRITE when the folder
 * cannot be made. An entry's Name is cut to its last component (no folders,
 * drives or ".."): nothing is written outside the folder. */
ZXUT_EXPORT void ZXUT_API ProfAppendFileW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                          LPCWSTR fileName);
ZXUT_EXPORT void ZXUT_API ProfAppendFileA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                          LPCSTR fileName);
ZXUT_EXPORT LONG ZXUT_API ProfGetFileW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                       LPCWSTR fileName);
ZXUT_EXPORT LONG ZXUT_API ProfGetFileA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                       LPCSTR fileName);
ZXUT_EXPORT void ZXUT_API ProfAppendStreamW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                            IStream *stream);
ZXUT_EXPORT LONG ZXUT_API ProfGetStreamW(HPROFJOB job, HPROFLIST list, LPCWSTR path, LPCWSTR password,
                                         IStream *stream);
ZXUT_EXPORT LONG ZXUT_API ProfAppendFilesW(HPROFJOB job, HPROFLIST list, LPCWSTR pattern, LPCWSTR password);
ZXUT_EXPORT LONG ZXUT_API ProfExtractFilesW(HPROFJOB job, HPROFLIST list, LPCWSTR folder, LPCWSTR password);
ZXUT_EXPORT void ZXUT_API ProfAppendStreamA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                            IStream *stream);
ZXUT_EXPORT LONG ZXUT_API ProfGetStreamA(HPROFJOB job, HPROFLIST list, LPCSTR path, LPCSTR password,
                                         IStream *stream);
ZXUT_EXPORT LONG ZXUT_API ProfAppendFilesA(HPROFJOB job, HPROFLIST list, LPCSTR pattern, LPCSTR password);
ZXUT_EXPORT LONG ZXUT_API ProfExtractFilesA(HPROFJOB job, HPROFLIST list, LPCSTR folder, LPCSTR password);

#endif
