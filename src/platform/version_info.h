// The version resource of a module file: its "FileVersion" and "Build" values.
// Errors: false when the file has none; nothing sets plat::LastError.
// Threads: any thread.
//
//   std::u16string version, build; plat::ModuleVersionStrings(path, &version, &build);
#pragma once
#include <string>

namespace plat {

// False when the file has no version information at all. `build` stays empty when
// there is no "Build" value; `fileVersion` empty when there is no "FileVersion".
bool ModuleVersionStrings(const char16_t* path, std::u16string* fileVersion, std::u16string* build);

// "FileDescription" and "CompanyName" of the same resource; false without one
// (always on Linux, whose files carry no version resource).
struct ModuleVersionTexts {
  std::u16string description;
  std::u16string company;
};
bool ModuleDescription(const char16_t* path, ModuleVersionTexts* out);

}  // namespace plat
