// Windows error numbers, kept per thread on every OS, and their texts.
#pragma once
#include <cstdint>
#include <string>

namespace plat {

constexpr uint32_t kErrSuccess = 0;
constexpr uint32_t kErrInvalidFunction = 1;
constexpr uint32_t kErrFileNotFound = 2;
constexpr uint32_t kErrPathNotFound = 3;
constexpr uint32_t kErrTooManyOpenFiles = 4;
constexpr uint32_t kErrAccessDenied = 5;
constexpr uint32_t kErrInvalidHandle = 6;
constexpr uint32_t kErrNotEnoughMemory = 8;
constexpr uint32_t kErrInvalidData = 13;
constexpr uint32_t kErrOutOfMemory = 14;
constexpr uint32_t kErrNotSameDevice = 17;
constexpr uint32_t kErrNoMoreFiles = 18;
constexpr uint32_t kErrWriteProtect = 19;
constexpr uint32_t kErrNotReady = 21;
constexpr uint32_t kErrGenFailure = 31;
constexpr uint32_t kErrSharingViolation = 32;
constexpr uint32_t kErrLockViolation = 33;
constexpr uint32_t kErrHandleEof = 38;
constexpr uint32_t kErrNotSupported = 50;
constexpr uint32_t kErrFileExists = 80;
constexpr uint32_t kErrInvalidParameter = 87;
constexpr uint32_t kErrBrokenPipe = 109;
constexpr uint32_t kErrDiskFull = 112;
constexpr uint32_t kErrInsufficientBuffer = 122;
constexpr uint32_t kErrInvalidName = 123;
constexpr uint32_t kErrModNotFound = 126;
constexpr uint32_t kErrProcNotFound = 127;
constexpr uint32_t kErrDirNotEmpty = 145;
constexpr uint32_t kErrBusy = 170;
constexpr uint32_t kErrAlreadyExists = 183;
constexpr uint32_t kErrFilenameExcedRange = 206;
constexpr uint32_t kErrFileTooLarge = 223;
constexpr uint32_t kErrMoreData = 234;
constexpr uint32_t kErrWaitTimeout = 258;
constexpr uint32_t kErrNoMoreItems = 259;
constexpr uint32_t kErrDirectory = 267;
constexpr uint32_t kErrMrMidNotFound = 317;
constexpr uint32_t kErrOperationAborted = 995;
constexpr uint32_t kErrIoPending = 997;
constexpr uint32_t kErrInvalidFlags = 1004;
constexpr uint32_t kErrNoUnicodeTranslation = 1113;
constexpr uint32_t kErrIoDevice = 1117;
constexpr uint32_t kErrNotFound = 1168;
constexpr uint32_t kErrCancelled = 1223;
constexpr uint32_t kErrTimeout = 1460;
constexpr uint32_t kErrResourceTypeNotFound = 1813;
constexpr uint32_t kErrResourceNameNotFound = 1814;
constexpr uint32_t kErrResourceLangNotFound = 1815;
constexpr uint32_t kErrCantResolveFilename = 1921;

uint32_t LastError();
void SetLastError(uint32_t code);
// Maps an errno value to the Windows error number (ENOENT -> 2, EACCES -> 5, EEXIST
// -> 183, ...). 0 -> 0; an errno without a counterpart -> 31 (ERROR_GEN_FAILURE).
uint32_t ErrorFromErrno(int err);
// SetLastError(ErrorFromErrno(errno)); returns the number.
uint32_t SetLastErrorFromErrno();

// FormatMessageW(FROM_SYSTEM | IGNORE_INSERTS) for `code` in `langId` (0: neutral,
// the user's language). The text ends with "\r\n" as the system returns it.
// Returns false when the system has no text for the code (error 317), or none in
// that language (error 1815), with the thread's error number set. HRESULTs of the
// Win32 facility (0x8007xxxx) read as their error number. On Linux the texts are the
// system's English ones from a table.
bool SystemErrorText(uint32_t code, uint16_t langId, std::u16string& out);

}  // namespace plat
