// The shell's property store of a file: the summary properties title, author,
// keywords, subject, created and last saved, as the store holds them. Windows:
// "propsys.dll" (and the shell's parsing-name calls) loaded on first use. Linux
// has no such store: the read always fails.
// Errors: false when the library, the functions or the file's store are not
// there. Threads: any; COM is initialised for the call when the thread has not.
//
//   plat::ShellProperty values[plat::kShellPropertyCount];
//   if (plat::ReadShellSummaryProperties(u"C:\\a.doc", values)) ...
#pragma once
#include <cstddef>
#include <string>

#include "platform/timestamp.h"

namespace plat {

// The identifiers of the summary set {F29F85E0-4FF9-1068-AB91-08002B27B3D9}, in
// the order they are read: title, author, keywords, subject, created, last saved.
inline constexpr unsigned kShellPropertyIds[] = {2, 4, 5, 3, 12, 13};
inline constexpr size_t kShellPropertyCount = 6;

struct ShellProperty {
  unsigned short type = 0;   // the value's variant type (0 empty, 30 narrow text, 64 file time, ...)
  std::u16string text;       // type 30: the text (through the variant conversion)
  SystemTime time{};         // type 64: the time, UTC
};

// The values in the order of kShellPropertyIds. False when there is no store.
bool ReadShellSummaryProperties(const char16_t* path, ShellProperty* values);

}  // namespace plat
