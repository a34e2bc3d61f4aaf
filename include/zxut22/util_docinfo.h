/* Document information: two dates, six text properties and the path that was
 * read, for mails, PDF, Office, TIFF, JPEG, RTF and HTML documents; answers are
 * cached by name for the list's refresh time, and documents on network shares
 * are read on a thread of their own so that a share that doesn't answer holds
 * the caller up for the share time-out at most. On Linux a path below a cifs,
 * smb3 or nfs mount is on the share \\server\share; a ".lnk" file is read by the
 * published Shell Link format and a symbolic link ".lnk" is followed. */
#ifndef ZXUT22_UTIL_DOCINFO_H
#define ZXUT22_UTIL_DOCINFO_H

#include "types.h"

#if defined(_WIN32)
#  include <oaidl.h>
#else
struct tagVARIANT;
typedef struct tagVARIANT VARIANT;
#endif

/* A document list, from UtilDocInfoOpen to UtilDocInfoClose. */
typedef struct zxDocInfoList *HDOCINFO;

/* The answer of UtilDocInfoGet. size: the size of the block as the caller knows
 * it: at least 72 (up to Comments on a 64-bit build), else nothing is filled in;
 * ResolvedPath only when it is at least 80. Each member points to a variant of the
 * caller's (initialised; its old value is freed), null when not wanted. The dates
 * are date values (VT_DATE) in local time, milliseconds included; a date the
 * document doesn't have comes back as 1601-01-01 (-109205). The texts are string
 * variants, or empty when the document hasn't the property. ResolvedPath is the
 * local path that was read, after a shortcut was resolved. */
typedef struct scDocInfoData {
  DWORD size;
  VARIANT *Created;
  VARIANT *LastSaved;
  VARIANT *Title;
  VARIANT *Subject;
  VARIANT *Author;
  VARIANT *LastAuthor;
  VARIANT *Keywords;
  VARIANT *Comments;
  VARIANT *ResolvedPath;
} scDocInfoData;

/* A list whose answers stay valid refreshSeconds (0: no cache, every call reads).
 * Null if out of memory. */
ZXUT_EXPORT HDOCINFO ZXUT_API UtilDocInfoOpen(DWORD refreshSeconds);
/* The information of one document. name: the path, optionally followed by "|"
 * and a fragment (ignored; "a.doc|x" and "a.doc" are cached apart, names
 * compare without case). pData may be null. shareTimeoutSeconds: how long to
 * wait for a document on a network share. 1 if the document exists; 0 if it
 * doesn't, couldn't be read (locked by another program, a TIFF or XML file that
 * isn't one, a shortcut that can't be resolved, a share that doesn't answer), or
 * for a null handle. */
ZXUT_EXPORT LONG ZXUT_API UtilDocInfoGet(HDOCINFO list, LPCWSTR name, scDocInfoData *pData,
                                         DWORD shareTimeoutSeconds);
/* Ends the list (null: nothing); waits for reads still running on shares. */
ZXUT_EXPORT void ZXUT_API UtilDocInfoClose(HDOCINFO list);
/* -1 for a null path or one that isn't on a network share; 0 if its share is known
 * to be unreachable (a share found unreachable stays so for the process); 1
 * otherwise. */
ZXUT_EXPORT LONG ZXUT_API UtilDocInfoShareAccessibility(LPCWSTR path);

#endif
