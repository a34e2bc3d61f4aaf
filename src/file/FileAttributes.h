// The attributes, times and size of a file by its name.
// Threads: any thread; no state.
#pragma once
#include "core/strings/String.h"
#include "platform/file.h"

namespace zx {

// GetFileAttributesExW; when that fails with anything but "not found" (a file
// held open exclusively, for instance) the folder listing is asked instead. False,
// with zeroed data, when the file counts as absent.
bool ReadFileAttributes(const String& name, plat::FileInfo* info);

}  // namespace zx
