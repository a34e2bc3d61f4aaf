// What the path services ask of the system: the current folders, environment
// expansion, the user's known folders, the facts of a volume, and the mapping
// between local paths and network shares.
//
// Linux: there are no drives. Folders are given with "/"; rooted paths keep the
// POSIX form (PathsUsePosixRoot). Known folders are the XDG user folders
// (XDG_*_DIR from "$XDG_CONFIG_HOME/user-dirs.dirs", XDG_CONFIG_HOME, XDG_DATA_HOME,
// XDG_CACHE_HOME, with their documented defaults under $HOME); variables the
// Windows environment always has (TEMP, TMP, APPDATA, LOCALAPPDATA, USERPROFILE)
// fall back to the matching folder when unset. Network shares are the cifs, smb3
// and nfs mounts of /proc/self/mountinfo (internal/mount_table.h has the seam).
// Errors: the return values; nothing sets plat::LastError.
// Threads: any thread.
//
//   std::u16string unc;
//   if (plat::ToUniversalName(u"/mnt/docs/a.txt", unc) == 1) ...  // "\\srv\docs\a.txt"
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace plat {

// GetCurrentDirectoryW (Linux: getcwd, with "/").
std::u16string CurrentDirectory();
// The current folder of a drive that is not the current one (the "=X:" variable
// on Windows); empty when none is known, and always on Linux.
std::u16string DriveCurrentDirectory(char16_t drive);
// True where a rooted path without a drive is a complete path of its own ("/x" on
// Linux); false on Windows, where it takes the current drive.
bool PathsUsePosixRoot();

// ExpandEnvironmentStringsW: every "%NAME%" of a set variable is replaced; the rest,
// "%NAME%" of an unset one included, stays as written.
std::u16string ExpandEnvironment(const std::u16string& text);
// The folder of a known-folder name as the user's "Shell Folders" key holds it
// ("Desktop", "Personal", "AppData", ...); false when the name is unknown.
bool ShellFolder(const std::u16string& name, std::u16string& out);

// PathCanonicalizeW, bound late from the shell's light-weight library: "." and ".."
// parts removed. False when the function isn't there (always on Linux) or fails.
bool CanonicalizePath(const std::u16string& path, std::u16string& out);

// GetVolumeInformationW of the volume holding `root`. `fsFlags` in the system's
// bits (kFsCaseSensitive, ...). False when the volume can't be asked.
constexpr uint32_t kFsCaseSensitive = 0x1;
constexpr uint32_t kFsCasePreserved = 0x2;
constexpr uint32_t kFsUnicode = 0x4;
constexpr uint32_t kFsVolumeCompressed = 0x8000;
bool VolumeInformation(const std::u16string& root, uint32_t* maxComponent, uint32_t* fsFlags);

// WNetGetUniversalNameW for a full, normalised path: 1 with the network form in
// `out`; 0 when the path isn't one the network can name (not a drive path on
// Windows, below no network mount on Linux): keep it; -1 when a drive path could
// not be resolved (Windows only).
int ToUniversalName(const std::u16string& path, std::u16string& out);

// The remembered network connections (WNetOpenEnumW/WNetEnumResourceW): the share
// as "\\server\share" and the local name it has. False when the network can't be
// listed. Linux: the network mounts, with their mount points.
struct NetworkShare {
  std::u16string remote;
  std::u16string local;
};
bool RememberedShares(std::vector<NetworkShare>& out);
// True when a share's local name also stands for every folder below the share
// (Linux mounts); false on Windows, where only the share itself is matched.
bool SharesCoverSubfolders();

}  // namespace plat
