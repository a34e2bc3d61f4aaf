// The temporary-file manager: one clsTempFileRemover a process, shared by its
// clients through a reference count, and the creation of temporary files in the
// product's folder.
// Threads: Open, Close and Add run under the manager's global lock (taken before
// the remover's list lock); CreateFile needs no lock.
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "tempfile/TempFileRemover.h"

namespace zx {

void TempFileMgrOpen();
// The last Close ends the remover: it deletes what is still listed.
void TempFileMgrClose();
// Registers a name; without an open manager one attempt to delete it at once.
void TempFileMgrAdd(const String& name);
// A new, empty "_22_" file in the "zarnik" folder under the temporary folder
// (its long form with bLong); empty when none could be made.
String TempFileMgrCreateFile(const String& base, const String& extension, bool bLong);

// Tests: the seams of the next remover the manager makes (null: the real ones),
// and the one instance, if any.
void SetTempFileMgrSeamsForTests(const scTempFileRemoverSeams* seams);
clsTempFileRemover* TempFileMgrInstanceForTests();

}  // namespace zx
