// Error numbers are the thread's own system error; texts come from the system.
#include <windows.h>

#include "platform/errors.h"

namespace plat {

// The table of errors.h against the system's own names.
static_assert(kErrSuccess == ERROR_SUCCESS);
static_assert(kErrInvalidFunction == ERROR_INVALID_FUNCTION);
static_assert(kErrFileNotFound == ERROR_FILE_NOT_FOUND);
static_assert(kErrPathNotFound == ERROR_PATH_NOT_FOUND);
static_assert(kErrTooManyOpenFiles == ERROR_TOO_MANY_OPEN_FILES);
static_assert(kErrAccessDenied == ERROR_ACCESS_DENIED);
static_assert(kErrInvalidHandle == ERROR_INVALID_HANDLE);
static_assert(kErrNotEnoughMemory == ERROR_NOT_ENOUGH_MEMORY);
static_assert(kErrInvalidData == ERROR_INVALID_DATA);
static_assert(kErrOutOfMemory == ERROR_OUTOFMEMORY);
static_assert(kErrInvalidDrive == ERROR_INVALID_DRIVE);
static_assert(kErrNotSameDevice == ERROR_NOT_SAME_DEVICE);
static_assert(kErrNoMoreFiles == ERROR_NO_MORE_FILES);
static_assert(kErrWriteProtect == ERROR_WRITE_PROTECT);
static_assert(kErrNotReady == ERROR_NOT_READY);
static_assert(kErrGenFailure == ERROR_GEN_FAILURE);
static_assert(kErrSharingViolation == ERROR_SHARING_VIOLATION);
static_assert(kErrLockViolation == ERROR_LOCK_VIOLATION);
static_assert(kErrHandleEof == ERROR_HANDLE_EOF);
static_assert(kErrNotSupported == ERROR_NOT_SUPPORTED);
static_assert(kErrBadNetPath == ERROR_BAD_NETPATH);
static_assert(kErrDevNotExist == ERROR_DEV_NOT_EXIST);
static_assert(kErrFileExists == ERROR_FILE_EXISTS);
static_assert(kErrInvalidParameter == ERROR_INVALID_PARAMETER);
static_assert(kErrBrokenPipe == ERROR_BROKEN_PIPE);
static_assert(kErrDiskFull == ERROR_DISK_FULL);
static_assert(kErrInsufficientBuffer == ERROR_INSUFFICIENT_BUFFER);
static_assert(kErrInvalidName == ERROR_INVALID_NAME);
static_assert(kErrModNotFound == ERROR_MOD_NOT_FOUND);
static_assert(kErrProcNotFound == ERROR_PROC_NOT_FOUND);
static_assert(kErrNegativeSeek == ERROR_NEGATIVE_SEEK);
static_assert(kErrDirNotEmpty == ERROR_DIR_NOT_EMPTY);
static_assert(kErrNotLocked == ERROR_NOT_LOCKED);
static_assert(kErrBusy == ERROR_BUSY);
static_assert(kErrAlreadyExists == ERROR_ALREADY_EXISTS);
static_assert(kErrFilenameExcedRange == ERROR_FILENAME_EXCED_RANGE);
static_assert(kErrFileTooLarge == ERROR_FILE_TOO_LARGE);
static_assert(kErrMoreData == ERROR_MORE_DATA);
static_assert(kErrWaitTimeout == WAIT_TIMEOUT);
static_assert(kErrNoMoreItems == ERROR_NO_MORE_ITEMS);
static_assert(kErrDirectory == ERROR_DIRECTORY);
static_assert(kErrMrMidNotFound == ERROR_MR_MID_NOT_FOUND);
static_assert(kErrOperationAborted == ERROR_OPERATION_ABORTED);
static_assert(kErrIoPending == ERROR_IO_PENDING);
static_assert(kErrInvalidFlags == ERROR_INVALID_FLAGS);
static_assert(kErrNoUnicodeTranslation == ERROR_NO_UNICODE_TRANSLATION);
static_assert(kErrIoDevice == ERROR_IO_DEVICE);
static_assert(kErrNotFound == ERROR_NOT_FOUND);
static_assert(kErrCancelled == ERROR_CANCELLED);
static_assert(kErrTimeout == ERROR_TIMEOUT);
static_assert(kErrResourceTypeNotFound == ERROR_RESOURCE_TYPE_NOT_FOUND);
static_assert(kErrResourceNameNotFound == ERROR_RESOURCE_NAME_NOT_FOUND);
static_assert(kErrResourceLangNotFound == ERROR_RESOURCE_LANG_NOT_FOUND);
static_assert(kErrCantResolveFilename == ERROR_CANT_RESOLVE_FILENAME);

uint32_t LastError() { return ::GetLastError(); }
void SetLastError(uint32_t code) { ::SetLastError(code); }

bool SystemErrorText(uint32_t code, uint16_t langId, std::u16string& out) {
  wchar_t* buffer = nullptr;
  DWORD n = ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                                 FORMAT_MESSAGE_ALLOCATE_BUFFER,
                             nullptr, code, langId, reinterpret_cast<wchar_t*>(&buffer), 0,
                             nullptr);
  if (!n || !buffer) return false;
  out.assign(reinterpret_cast<const char16_t*>(buffer), n);
  ::LocalFree(buffer);
  return true;
}

}  // namespace plat
