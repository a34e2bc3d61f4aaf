// The library's entry point: DllMain on Windows, a load/unload pair on Linux. Both
// run the module frame's attach and detach sequences. The shared library refers to
// LibraryEntryAnchor so that the entry is linked into it (and only into it).
// Errors and threads: the entry runs on the loader's thread, under its lock, once
// for attach and once for detach.
#pragma once

namespace plat {

void LibraryEntryAnchor();

}  // namespace plat
