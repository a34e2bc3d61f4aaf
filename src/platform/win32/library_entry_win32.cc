// The library's start and stop on Windows. The run-time library runs the exit-time
// destructors after DllMain has returned from the detach.
#include <windows.h>

#include "module/Lifecycle.h"
#include "platform/library_entry.h"

namespace plat {
void LibraryEntryAnchor() {}
}  // namespace plat

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH)
    zx::LibraryProcessAttach(instance);
  else if (reason == DLL_PROCESS_DETACH)
    zx::LibraryProcessDetach();
  return TRUE;
}
