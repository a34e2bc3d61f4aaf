// The C runtime's path functions on UTF-16 text, with the Windows runtime's
// results on every platform: split into drive, folder, name and extension, make a
// path of those parts, and the full path of a name (GetFullPathNameW's rules:
// "/" and "\" alike, "." and ".." resolved, never above the drive or the
// \\server\share root, repeated separators and trailing dots and spaces dropped).
// Errors: the runtime's errno values (0, kPathEInval, kPathERange); on any error
// every output is left empty. No allocation but FullPathName's result.
// Threads: any thread.
//
//   char16_t drive[3], dir[256], name[256], ext[256];
//   zx::SplitPath(u"C:\\a\\b.txt", drive, 3, dir, 256, name, 256, ext, 256);  // "C:", "\a\", "b", ".txt"
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zx {

constexpr int kPathEInval = 22;
constexpr int kPathERange = 34;

// _wsplitpath_s: a null buffer (with room 0) is a part not asked for; a buffer and
// its room must come together (else kPathEInval), and a part that doesn't fit its
// room with the terminator gives kPathERange.
int SplitPath(const char16_t* path, char16_t* drive, size_t driveRoom, char16_t* dir, size_t dirRoom,
              char16_t* name, size_t nameRoom, char16_t* ext, size_t extRoom);

// _wmakepath_s: drive letter and ":", the folder with a "\" added when it ends
// without one, the name, and the extension with a "." added when it has none.
int MakePath(char16_t* out, size_t room, const char16_t* drive, const char16_t* dir, const char16_t* name,
             const char16_t* ext);

// Where a full path's current folders come from; tests give their own.
struct PathContext {
  std::u16string currentDirectory;   // with a drive or "\\server\share", or "/..." (posixRoot)
  std::u16string (*driveDirectory)(char16_t drive) = nullptr;   // "=X:"; null: none
  bool posixRoot = false;            // "/x" is complete, and paths without a drive keep "/"
};
PathContext SystemPathContext();

// GetFullPathNameW: the full path, or empty for an empty name. Device names
// ("\\.\x", "\\?\x") keep their first four characters as their root.
std::u16string FullPathName(std::u16string_view path, const PathContext& context);

// _wfullpath into `out` with room `size` (terminator included): a null or empty
// path gives the current folder. False (and out[0] = 0 when size > 0) when out is
// null or the result doesn't fit.
bool FullPath(char16_t* out, const char16_t* path, size_t size, const PathContext& context);

}  // namespace zx
