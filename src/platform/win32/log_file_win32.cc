// Log files on Windows: CreateFileW with read sharing, OPEN_ALWAYS, sequential scan.
#include "platform/log_file.h"

#include <windows.h>

#include "platform/errors.h"

namespace plat {

intptr_t OpenLogFileForAppend(const char16_t* path) {
  HANDLE h = CreateFileW(reinterpret_cast<const wchar_t*>(path), GENERIC_WRITE, FILE_SHARE_READ,
                         nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN,
                         nullptr);
  if (h == INVALID_HANDLE_VALUE) {
    SetLastError(GetLastError());
    return kNoLogFile;
  }
  LARGE_INTEGER zero{};
  SetFilePointerEx(h, zero, nullptr, FILE_END);
  return reinterpret_cast<intptr_t>(h);
}

bool AppendLogFile(intptr_t file, const void* data, uint32_t size) {
  DWORD written = 0;
  return WriteFile(reinterpret_cast<HANDLE>(file), data, size, &written, nullptr) && written == size;
}

void FlushLogFile(intptr_t file) { FlushFileBuffers(reinterpret_cast<HANDLE>(file)); }

void CloseLogFile(intptr_t file) {
  if (file != kNoLogFile) CloseHandle(reinterpret_cast<HANDLE>(file));
}

void TempFolder(char16_t* out, uint32_t capacity) {
  DWORD n = GetTempPathW(capacity, reinterpret_cast<wchar_t*>(out));
  if (n == 0 || n >= capacity) {
    if (capacity) out[0] = 0;
  }
}

}  // namespace plat
