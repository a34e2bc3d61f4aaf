// Process and thread identity.
// Errors: none; an unknown path or variable gives empty text.
// Threads: any thread.
//
//   std::u16string home = plat::EnvironmentVariable(u"HOME");
#pragma once
#include <cstdint>
#include <string>

namespace plat {

uint32_t ProcessId();
uint32_t ThreadId();
unsigned ProcessorCount();           // read once, remembered
unsigned CurrentProcessor();
std::u16string ExecutablePath();     // full path of the host executable
std::u16string LibraryPath();        // full path of the loaded zxUT22 module
std::u16string ExecutableBaseName(); // file name without folder and extension
// An export of the loaded zxUT22 library by name (late binding of its own
// exports); null when the library or the name is not found.
void* OwnLibraryExport(const char* name);
std::u16string EnvironmentVariable(const char16_t* name, bool* found = nullptr);

}  // namespace plat
