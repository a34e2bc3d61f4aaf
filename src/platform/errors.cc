// errno to Windows error numbers: the same meaning on both OSes (the C runtime of the
// Windows build sets errno too).
#include <cerrno>

#include "platform/errors.h"

namespace plat {

uint32_t ErrorFromErrno(int err) {
  switch (err) {
    case 0: return kErrSuccess;
    case ENOENT: return kErrFileNotFound;
    case ENOTDIR: return kErrPathNotFound;
    case EACCES:
    case EPERM:
    case EISDIR: return kErrAccessDenied;
    case EBADF: return kErrInvalidHandle;
    case ENOMEM: return kErrNotEnoughMemory;
    case EEXIST: return kErrAlreadyExists;
    case EINVAL: return kErrInvalidParameter;
    case ENOSPC: return kErrDiskFull;
#ifdef EDQUOT
    case EDQUOT: return kErrDiskFull;
#endif
    case ENAMETOOLONG: return kErrFilenameExcedRange;
    case EMFILE:
    case ENFILE: return kErrTooManyOpenFiles;
    case EBUSY: return kErrBusy;
#ifdef ETXTBSY
    case ETXTBSY: return kErrSharingViolation;
#endif
    case EAGAIN: return kErrLockViolation;   // a refused record lock
    case EDEADLK: return kErrLockViolation;
    case EROFS: return kErrWriteProtect;
    case EXDEV: return kErrNotSameDevice;
    case ENOTEMPTY: return kErrDirNotEmpty;
    case EIO: return kErrIoDevice;
    case EPIPE: return kErrBrokenPipe;
    case EFBIG: return kErrFileTooLarge;
    case ENOSYS: return kErrNotSupported;
#if defined(ENOTSUP)
    case ENOTSUP: return kErrNotSupported;
#endif
#if defined(EOPNOTSUPP) && defined(ENOTSUP) && EOPNOTSUPP != ENOTSUP
    case EOPNOTSUPP: return kErrNotSupported;
#endif
#ifdef ETIMEDOUT
    case ETIMEDOUT: return kErrTimeout;
#endif
#ifdef ELOOP
    case ELOOP: return kErrCantResolveFilename;
#endif
#ifdef ECANCELED
    case ECANCELED: return kErrOperationAborted;
#endif
    case ENXIO:
    case ENODEV: return kErrNotReady;
    default: return kErrGenFailure;
  }
}

uint32_t SetLastErrorFromErrno() {
  uint32_t code = ErrorFromErrno(errno);
  SetLastError(code);
  return code;
}

}  // namespace plat
