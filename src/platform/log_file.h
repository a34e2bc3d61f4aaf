// Appending whole lines to a file that several processes share: opened for writing
// with read sharing (OPEN_ALWAYS, sequential scan), written at its end, closed.
#pragma once
#include <cstdint>

namespace plat {

constexpr intptr_t kNoLogFile = -1;

// kNoLogFile on failure with LastError set (32 when another program holds it).
intptr_t OpenLogFileForAppend(const char16_t* path);
bool AppendLogFile(intptr_t file, const void* data, uint32_t size);
void FlushLogFile(intptr_t file);
void CloseLogFile(intptr_t file);
// The folder for temporary files (GetTempPathW), with a trailing separator.
void TempFolder(char16_t* out, uint32_t capacity);

}  // namespace plat
