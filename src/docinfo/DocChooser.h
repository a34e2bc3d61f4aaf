// Reading one document: open it, take its last-write time, stop when it hasn't
// changed, and otherwise let the readers of DocReaders() fill it, chosen by the
// kind of file (a compound file), by extension and, for any other extension, by
// the first four bytes.
// Errors: none reported; the document tells: exists 0 and lastCheck 0 when it
// couldn't be read, the old information and lastCheck 0 when it was locked.
// Threads: `lock`, when given, is held from the moment the file's times were read
// until the read has finished (the document list's worker waits on it), and for
// the resets; without it the caller owns the document alone.
#pragma once
#include "core/strings/String.h"
#include "docinfo/Docu.h"
#include "platform/lock.h"

namespace zx {

void ReadDocument(clsDocu& doc, plat::CriticalSection* lock);

// The extension of the last name in a path, dot included, in lower case (ASCII);
// empty when it has none.
String DocumentExtension(const String& path);

}  // namespace zx
