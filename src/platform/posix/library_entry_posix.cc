// The library's start and stop on Linux. Load runs the attach sequence. The detach
// sequence must run before the exit-time destructors, as DllMain's does on Windows:
// at exit() the destructors registered so far run before any unload function, so
// the detach is registered right after the attach and runs first among them; on an
// explicit unload the destructor function below runs before them. The sequence
// runs once either way.
#include <cstdlib>

#include "module/Lifecycle.h"
#include "platform/library_entry.h"
#include "platform/startup.h"

namespace plat {

void LibraryEntryAnchor() {}

namespace {

void DetachAtExit() { zx::LibraryProcessDetach(); }

__attribute__((constructor)) void OnLoad() {
  zx::LibraryProcessAttach(LibraryModuleHandle());
  std::atexit(&DetachAtExit);
}

__attribute__((destructor)) void OnUnload() { zx::LibraryProcessDetach(); }

}  // namespace
}  // namespace plat
