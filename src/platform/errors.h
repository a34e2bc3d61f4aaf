// Windows error numbers, kept per thread on every OS, and their texts.
#pragma once
#include <cstdint>
#include <string>

namespace plat {

constexpr uint32_t kErrFileNotFound = 2;
constexpr uint32_t kErrPathNotFound = 3;
constexpr uint32_t kErrAccessDenied = 5;
constexpr uint32_t kErrInvalidHandle = 6;
constexpr uint32_t kErrNotEnoughMemory = 8;
constexpr uint32_t kErrSharingViolation = 32;
constexpr uint32_t kErrLockViolation = 33;
constexpr uint32_t kErrInvalidParameter = 87;
constexpr uint32_t kErrInsufficientBuffer = 122;
constexpr uint32_t kErrAlreadyExists = 183;
constexpr uint32_t kErrMoreData = 234;
constexpr uint32_t kErrNoMoreItems = 259;
constexpr uint32_t kErrNoUnicodeTranslation = 1113;
constexpr uint32_t kErrResourceLangNotFound = 1815;

uint32_t LastError();
void SetLastError(uint32_t code);
// Maps an errno value to the Windows error number (ENOENT -> 2, EACCES -> 5, ...).
uint32_t ErrorFromErrno(int err);

// FormatMessageW(FROM_SYSTEM | IGNORE_INSERTS) for `code` in `langId` (0: neutral).
// Returns false when the system has no text for the code.
bool SystemErrorText(uint32_t code, uint16_t langId, std::u16string& out);

}  // namespace plat
