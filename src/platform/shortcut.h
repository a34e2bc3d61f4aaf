// Shortcuts: what the system itself knows of them. Windows resolves a ".lnk" file
// through the shell link object; Linux has no such object, but a symbolic link is
// its own kind of shortcut. The ".lnk" format itself is read above this layer
// (docinfo/ShellLink.h), so that it works the same everywhere.
// Errors: the return values; nothing sets plat::LastError.
// Threads: any thread (Windows initialises COM on the calling thread for the call
// when it isn't yet).
//
//   std::u16string target;
//   if (plat::ResolveShellLink(u"C:\\x\\report.lnk", target) == 1) ...   // "\\srv\docs\report.pdf"
#pragma once
#include <string>

namespace plat {

// Windows: the shell link object loads the file (share-deny-write), resolves it
// without a window (no UI, any match) and gives its path, the network form first
// (room 260). 1 with the path in `target`; 0 when any of that fails (target empty);
// -1 where the system has no shell link object (Linux).
int ResolveShellLink(const std::u16string& lnkPath, std::u16string& target);

// The target of a symbolic link as it is written (a relative one relative to the
// link's folder); false when the path is no symbolic link, and always on Windows.
bool ReadSymbolicLink(const std::u16string& path, std::u16string& target);

}  // namespace plat
