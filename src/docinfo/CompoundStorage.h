// Opening a compound file as a storage for the document readers: the test for
// the signature, four attempts with share modes from the strictest, and, when
// another program holds the file so that all four are refused, a temporary copy
// ("_22_doc<number>.tmp" in the product's temporary folder) opened instead.
// Errors: a status in the manner of structured storage (CompoundFile.h); the
// caller deletes a copy whose name it got back, with DeleteStorageCopy.
// Threads: any; each call works on its own objects.
//
//   clsCompoundFile cf;
//   String copy;
//   if (OpenCompoundStorage(path, &cf, &copy) == 0) { ... }
//   DeleteStorageCopy(copy);   // nothing when no copy was made
#pragma once
#include <cstdint>

#include "docinfo/CompoundFile.h"

namespace zx {

// The share modes of the four attempts, in their order: deny write, exclusive,
// deny none, deny none with a single direct writer.
constexpr uint32_t kStorageOpenModes[4] = {0x20, 0x10, 0x40, 0x400040};

// 0 and `storage` open; kStgNotStorage for a file of another kind; the status of
// the failed test, open or parse otherwise. With `copyName` a copy may be made
// when every mode is refused; its name then stands in `*copyName`, also when
// opening the copy failed.
int32_t OpenCompoundStorage(const String& path, clsCompoundFile* storage, String* copyName);

// Deletes a copy made by OpenCompoundStorage; a failure writes
// "DeleteFile(%s) returned error '%s'". An empty name does nothing.
void DeleteStorageCopy(const String& copyName);

// Opens the storage of `path` (through a copy where needed), runs `read` on it,
// and deletes the copy after the storage is closed. -1 when it can't be opened.
template <class Read>
int ReadCompoundStorage(const String& path, Read&& read) {
  String copy;
  int result = -1;
  {
    clsCompoundFile storage;
    if (OpenCompoundStorage(path, &storage, &copy) == 0) result = read(storage);
  }
  DeleteStorageCopy(copy);
  return result;
}

// Tests: every share-mode attempt is refused as if another program held the
// file (false: back to normal).
void SetStorageModesRefusedForTests(bool refused);

}  // namespace zx
