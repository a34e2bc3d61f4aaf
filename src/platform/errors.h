// Windows error numbers, kept per thread on every OS, and their texts.
// Errors: this is how the platform layer reports failure: a failing function says so
// by its result (false, -1, an invalid handle, or the number itself where its header
// says so) and, unless its header says otherwise, sets the calling thread's number.
// Threads: the number is per thread; SystemErrorText may be called from any thread.
//
//   if (!plat::FileFlush(h) && plat::LastError() == plat::kErrDiskFull) ...
#pragma once
#include <cstdint>
#include <string>

namespace plat {

// Every Windows error number the library sets or tests, by number; the comment is
// the system's name of the number. Code names them here rather than by number.
constexpr uint32_t kErrSuccess = 0;                   // ERROR_SUCCESS
constexpr uint32_t kErrInvalidFunction = 1;           // ERROR_INVALID_FUNCTION
constexpr uint32_t kErrFileNotFound = 2;              // ERROR_FILE_NOT_FOUND
constexpr uint32_t kErrPathNotFound = 3;              // ERROR_PATH_NOT_FOUND
constexpr uint32_t kErrTooManyOpenFiles = 4;          // ERROR_TOO_MANY_OPEN_FILES
constexpr uint32_t kErrAccessDenied = 5;              // ERROR_ACCESS_DENIED
constexpr uint32_t kErrInvalidHandle = 6;             // ERROR_INVALID_HANDLE
constexpr uint32_t kErrNotEnoughMemory = 8;           // ERROR_NOT_ENOUGH_MEMORY
constexpr uint32_t kErrInvalidData = 13;              // ERROR_INVALID_DATA
constexpr uint32_t kErrOutOfMemory = 14;              // ERROR_OUTOFMEMORY
constexpr uint32_t kErrInvalidDrive = 15;             // ERROR_INVALID_DRIVE
constexpr uint32_t kErrNotSameDevice = 17;            // ERROR_NOT_SAME_DEVICE: a move across volumes
constexpr uint32_t kErrNoMoreFiles = 18;              // ERROR_NO_MORE_FILES: a search is done
constexpr uint32_t kErrWriteProtect = 19;             // ERROR_WRITE_PROTECT: read-only medium
constexpr uint32_t kErrNotReady = 21;                 // ERROR_NOT_READY: no such device
constexpr uint32_t kErrGenFailure = 31;               // ERROR_GEN_FAILURE: errno without counterpart
constexpr uint32_t kErrSharingViolation = 32;         // ERROR_SHARING_VIOLATION: share modes conflict
constexpr uint32_t kErrLockViolation = 33;            // ERROR_LOCK_VIOLATION: a locked byte range
constexpr uint32_t kErrHandleEof = 38;                // ERROR_HANDLE_EOF
constexpr uint32_t kErrNotSupported = 50;             // ERROR_NOT_SUPPORTED
constexpr uint32_t kErrBadNetPath = 53;               // ERROR_BAD_NETPATH
constexpr uint32_t kErrDevNotExist = 55;              // ERROR_DEV_NOT_EXIST: a network resource gone
constexpr uint32_t kErrFileExists = 80;               // ERROR_FILE_EXISTS: CREATE_NEW on a file
constexpr uint32_t kErrInvalidParameter = 87;         // ERROR_INVALID_PARAMETER
constexpr uint32_t kErrBrokenPipe = 109;              // ERROR_BROKEN_PIPE
constexpr uint32_t kErrDiskFull = 112;                // ERROR_DISK_FULL
constexpr uint32_t kErrInsufficientBuffer = 122;      // ERROR_INSUFFICIENT_BUFFER
constexpr uint32_t kErrInvalidName = 123;             // ERROR_INVALID_NAME
constexpr uint32_t kErrModNotFound = 126;             // ERROR_MOD_NOT_FOUND: no such library
constexpr uint32_t kErrProcNotFound = 127;            // ERROR_PROC_NOT_FOUND: no such export
constexpr uint32_t kErrNegativeSeek = 131;            // ERROR_NEGATIVE_SEEK: a position before 0
constexpr uint32_t kErrDirNotEmpty = 145;             // ERROR_DIR_NOT_EMPTY
constexpr uint32_t kErrNotLocked = 158;               // ERROR_NOT_LOCKED: unlock of an unlocked range
constexpr uint32_t kErrBusy = 170;                    // ERROR_BUSY
constexpr uint32_t kErrAlreadyExists = 183;           // ERROR_ALREADY_EXISTS
constexpr uint32_t kErrFilenameExcedRange = 206;      // ERROR_FILENAME_EXCED_RANGE: name too long
constexpr uint32_t kErrFileTooLarge = 223;            // ERROR_FILE_TOO_LARGE
constexpr uint32_t kErrMoreData = 234;                // ERROR_MORE_DATA: the buffer was short
constexpr uint32_t kErrWaitTimeout = 258;             // WAIT_TIMEOUT
constexpr uint32_t kErrNoMoreItems = 259;             // ERROR_NO_MORE_ITEMS: an enumeration is done
constexpr uint32_t kErrDirectory = 267;               // ERROR_DIRECTORY: not a folder name
constexpr uint32_t kErrMrMidNotFound = 317;           // ERROR_MR_MID_NOT_FOUND: no text for a number
constexpr uint32_t kErrOperationAborted = 995;        // ERROR_OPERATION_ABORTED
constexpr uint32_t kErrIoPending = 997;               // ERROR_IO_PENDING
constexpr uint32_t kErrInvalidFlags = 1004;           // ERROR_INVALID_FLAGS
constexpr uint32_t kErrBadDb = 1009;                  // ERROR_BADDB: a registry file that does not read
constexpr uint32_t kErrNoUnicodeTranslation = 1113;   // ERROR_NO_UNICODE_TRANSLATION
constexpr uint32_t kErrIoDevice = 1117;               // ERROR_IO_DEVICE: EIO
constexpr uint32_t kErrNotFound = 1168;               // ERROR_NOT_FOUND
constexpr uint32_t kErrCancelled = 1223;              // ERROR_CANCELLED: the user said no
constexpr uint32_t kErrTimeout = 1460;                // ERROR_TIMEOUT
constexpr uint32_t kErrResourceTypeNotFound = 1813;   // ERROR_RESOURCE_TYPE_NOT_FOUND
constexpr uint32_t kErrResourceNameNotFound = 1814;   // ERROR_RESOURCE_NAME_NOT_FOUND
constexpr uint32_t kErrResourceLangNotFound = 1815;   // ERROR_RESOURCE_LANG_NOT_FOUND
constexpr uint32_t kErrCantResolveFilename = 1921;    // ERROR_CANT_RESOLVE_FILENAME: a link loop

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
