// Files on Linux. Share modes live in open-file-description locks on marker bytes
// far past any real data: an open holds a shared lock on "has read", "has
// write", "denies read" and "denies write" as they apply, then tests the opposite
// markers for anybody else's lock. Each open takes its own markers before it
// tests, so of two racing opens at least one sees the other (at worst both fail
// with 32, never both succeed). Byte-range locks work the same way on the range
// itself, which gives Windows' exclusive LockFile without needing a writable
// descriptor. A new file gets its markers before it has a name (CreateLocked), so
// that the open which creates a file always holds it first.
#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "platform/codepage.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/internal/file_faults.h"

namespace plat {
namespace {

constexpr uint32_t kGenericAll = 0x10000000u;
constexpr uint32_t kReadDataBits = kGenericRead | kGenericAll | 0x1;       // FILE_READ_DATA
constexpr uint32_t kWriteDataBits = kGenericWrite | kGenericAll | 0x2 | 0x4;  // WRITE, APPEND

// The marker bytes of the share-mode emulation; byte ranges stop below them.
constexpr off_t kMarkerBase = INT64_MAX - 0xFF;
enum Marker { kHasRead = 0, kHasWrite = 1, kDeniesRead = 2, kDeniesWrite = 3 };

struct PosixFile {
  int fd = -1;
  int lockFd = -1;   // a readable description of the same file (fd itself when readable)
  std::string deletePath;
  std::mutex rangesLock;
  std::vector<std::pair<uint64_t, uint64_t>> ranges;   // this handle's byte-range locks
};

PosixFile* Get(FileHandle h) { return IsValidFile(h) ? static_cast<PosixFile*>(h) : nullptr; }

bool BadHandle() {
  SetLastError(kErrInvalidHandle);
  return false;
}

std::string ToPosixPath(const char16_t* name) {
  std::string path = Utf16ToUtf8(name ? std::u16string_view(name) : std::u16string_view());
  for (char& c : path)
    if (c == '\\') c = '/';
  return path;
}

bool ParentExists(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return true;
  if (slash == 0) return true;
  struct stat st;
  return ::stat(path.substr(0, slash).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The Windows number of an open or stat failure: a missing folder is 3, a
// missing file 2.
uint32_t PathError(int err, const std::string& path) {
  switch (err) {
    case ENOENT: return ParentExists(path) ? kErrFileNotFound : kErrPathNotFound;
    case ENOTDIR: return kErrPathNotFound;
    case EISDIR: return kErrAccessDenied;
    case EEXIST: return kErrFileExists;
    case ENAMETOOLONG: return kErrFilenameExcedRange;
    case EROFS: return kErrWriteProtect;
    case ENOSPC: return kErrDiskFull;
    default: return ErrorFromErrno(err);
  }
}

bool SetMarkerLock(int fd, off_t start, off_t length, short type) {
  struct flock fl {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = length;
  while (fcntl(fd, F_OFD_SETLK, &fl) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

// True when another open file description holds any lock in the range.
bool OthersHold(int fd, off_t start, off_t length) {
  struct flock fl {};
  fl.l_type = F_WRLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = length;
  if (fcntl(fd, F_OFD_GETLK, &fl) != 0) return false;
  return fl.l_type != F_UNLCK;
}

// An open without data access takes part in no share test, as on Windows.
bool ShareConflict(int lockFd, bool read, bool write, bool deniesRead, bool deniesWrite) {
  if (!read && !write) return false;
  const bool mine[4] = {read, write, deniesRead, deniesWrite};
  for (int m = 0; m < 4; ++m)
    if (mine[m] && !SetMarkerLock(lockFd, kMarkerBase + m, 1, F_RDLCK)) return false;  // no locks here: no emulation
  return (read && OthersHold(lockFd, kMarkerBase + kDeniesRead, 1)) ||
         (write && OthersHold(lockFd, kMarkerBase + kDeniesWrite, 1)) ||
         (deniesRead && OthersHold(lockFd, kMarkerBase + kHasRead, 1)) ||
         (deniesWrite && OthersHold(lockFd, kMarkerBase + kHasWrite, 1));
}

void CloseDescriptors(PosixFile* f) {
  if (f->lockFd >= 0 && f->lockFd != f->fd) ::close(f->lockFd);
  if (f->fd >= 0) ::close(f->fd);
  f->fd = f->lockFd = -1;
}

uint64_t ToFileTime(const timespec& ts) {
  const int64_t secs = static_cast<int64_t>(ts.tv_sec) + 11644473600LL;
  if (secs < 0) return 0;
  return static_cast<uint64_t>(secs) * 10000000u + static_cast<uint64_t>(ts.tv_nsec) / 100u;
}

void FillInfo(const struct stat& st, const std::string& path, FileInfo* info) {
  uint32_t attr = 0;
  if (S_ISDIR(st.st_mode)) attr |= kAttrDirectory;
  if (!(st.st_mode & S_IWUSR)) attr |= kAttrReadOnly;
  const size_t slash = path.find_last_of('/');
  const size_t base = slash == std::string::npos ? 0 : slash + 1;
  if (base < path.size() && path[base] == '.') attr |= kAttrHidden;
  info->attributes = attr ? attr : kAttrNormal;
  info->creation = ToFileTime(st.st_ctim);
  info->lastAccess = ToFileTime(st.st_atim);
  info->lastWrite = ToFileTime(st.st_mtim);
  info->size = S_ISDIR(st.st_mode) ? 0 : static_cast<uint64_t>(st.st_size);
}

}  // namespace

namespace {

struct ShareWants {
  bool read, write, deniesRead, deniesWrite;
};

// The descriptors of an open, without its share markers yet.
struct Descriptors {
  int fd = -1;
  int lockFd = -1;
};

void CloseBoth(Descriptors& d) {
  if (d.lockFd >= 0 && d.lockFd != d.fd) ::close(d.lockFd);
  if (d.fd >= 0) ::close(d.fd);
  d.fd = d.lockFd = -1;
}

enum class Made { kDone, kExists, kCannot };

// Creates a new file under `path` with its share markers already taken: an
// unnamed file in the folder is locked first and then linked under the name, so
// that no other open can reach it between its creation and its locks (two
// creators of one log file would otherwise both write at offset 0). kCannot where
// the folder, the file system or /proc do not allow it: the caller then creates
// the file by name as before.
Made CreateLocked(const std::string& path, int mode, mode_t perms, const ShareWants& s, Descriptors& out) {
  const size_t slash = path.find_last_of('/');
  const std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  const int access = mode & O_ACCMODE;
  const int made = ::open(folder.c_str(), O_TMPFILE | O_CLOEXEC | (access == O_RDONLY ? O_RDWR : access), perms);
  if (made < 0) return Made::kCannot;
  const std::string self = "/proc/self/fd/" + std::to_string(made);
  Descriptors d;
  d.fd = access == O_RDONLY ? ::open(self.c_str(), O_RDONLY | O_CLOEXEC) : made;
  d.lockFd = access == O_WRONLY ? ::open(self.c_str(), O_RDONLY | O_CLOEXEC) : d.fd;
  bool ok = d.fd >= 0 && d.lockFd >= 0 &&
            !ShareConflict(d.lockFd, s.read, s.write, s.deniesRead, s.deniesWrite);
  int err = 0;
  if (ok && ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0) {
    err = errno;
    ok = false;
  }
  if (made != d.fd) ::close(made);
  if (!ok) {
    CloseBoth(d);
    return err == EEXIST ? Made::kExists : Made::kCannot;
  }
  out = d;
  return Made::kDone;
}

}  // namespace

FileHandle detail::RealFileOpen(const char16_t* name, uint32_t access, uint32_t share, uint32_t disposition,
                                uint32_t flags) {
  const std::string path = ToPosixPath(name);
  if (path.empty()) {
    SetLastError(kErrPathNotFound);
    return InvalidFile();
  }
  if (disposition < kCreateNew || disposition > kTruncateExisting) {
    SetLastError(kErrInvalidParameter);
    return InvalidFile();
  }
  const ShareWants wants{(access & kReadDataBits) != 0, (access & kWriteDataBits) != 0,
                         !(share & kShareRead), !(share & kShareWrite)};
  int mode = wants.write ? (wants.read ? O_RDWR : O_WRONLY) : O_RDONLY;
  mode |= O_CLOEXEC;
  const mode_t perms = (flags & kAttrReadOnly) ? 0444 : 0666;

  // An existing file is opened and then its markers taken; a new one is made with
  // them. When another process makes the file between our two tries, it is opened
  // again as an existing file.
  Descriptors d;
  bool existed = true;
  bool locked = false;
  for (int round = 0; round < 100; ++round) {
    if (disposition != kCreateNew) {
      d.fd = ::open(path.c_str(), mode);
      if (d.fd >= 0 || errno != ENOENT || disposition == kOpenExisting || disposition == kTruncateExisting)
        break;
    }
    existed = false;
    const Made made = CreateLocked(path, mode, perms, wants, d);
    if (made == Made::kDone) {
      locked = true;
      break;
    }
    if (made == Made::kExists) {
      if (disposition == kCreateNew) {
        errno = EEXIST;
        break;
      }
      existed = true;
      continue;
    }
    d.fd = ::open(path.c_str(), mode | O_CREAT | O_EXCL, perms);
    if (d.fd >= 0 || errno != EEXIST || disposition == kCreateNew) break;
    existed = true;   // somebody else made it: open again
  }
  if (d.fd < 0) {
    SetLastError(PathError(errno, path));
    return InvalidFile();
  }
  struct stat st;
  // A folder is no file; a read-only file refuses writers even to a privileged
  // user, as the read-only attribute does on Windows.
  if (fstat(d.fd, &st) == 0 && (S_ISDIR(st.st_mode) || (existed && wants.write && !(st.st_mode & S_IWUSR)))) {
    CloseBoth(d);
    SetLastError(kErrAccessDenied);
    return InvalidFile();
  }
  if (!locked) {
    d.lockFd = (mode & O_ACCMODE) == O_WRONLY ? ::open(path.c_str(), O_RDONLY | O_CLOEXEC) : d.fd;
    if (d.lockFd >= 0 && ShareConflict(d.lockFd, wants.read, wants.write, wants.deniesRead, wants.deniesWrite)) {
      CloseBoth(d);
      if (!existed) ::unlink(path.c_str());   // made by name above, never used
      SetLastError(kErrSharingViolation);
      return InvalidFile();
    }
  }
  auto* f = new (std::nothrow) PosixFile();
  if (!f) {
    CloseBoth(d);
    SetLastError(kErrNotEnoughMemory);
    return InvalidFile();
  }
  f->fd = d.fd;
  f->lockFd = d.lockFd;
  // Truncation waits for the share test: a file in use keeps its data.
  if (existed && (disposition == kCreateAlways || disposition == kTruncateExisting) &&
      ::ftruncate(f->fd, 0) != 0) {
    const uint32_t err = PathError(errno, path);
    CloseDescriptors(f);
    delete f;
    SetLastError(err);
    return InvalidFile();
  }
  if (flags & kFlagDeleteOnClose) f->deletePath = path;
  SetLastError(existed && (disposition == kCreateAlways || disposition == kOpenAlways) ? kErrAlreadyExists
                                                                                          : kErrSuccess);
  return f;
}

bool FileClose(FileHandle h) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  if (!f->deletePath.empty()) ::unlink(f->deletePath.c_str());
  CloseDescriptors(f);
  delete f;
  return true;
}

namespace {
// As on Windows, a range that another open has locked refuses this open's reads
// and writes (the whole call fails with ERROR_LOCK_VIOLATION). Other opens' ranges
// are their locks on the file's descriptions, in this process or another.
// Bytes this handle has locked are tested no further: another handle's marker
// there can only be the probe of a lock attempt that is about to fail, and it
// must not fail the holder's own access.
bool LockedByOthers(PosixFile* f, uint32_t count) {
  if (f->lockFd < 0 || count == 0) return false;
  const off_t pos = ::lseek(f->fd, 0, SEEK_CUR);
  if (pos < 0 || pos >= kMarkerBase) return false;
  const off_t room = kMarkerBase - pos;
  const uint64_t end = static_cast<uint64_t>(pos) + static_cast<uint64_t>(static_cast<off_t>(count) < room ? static_cast<off_t>(count) : room);
  std::vector<std::pair<uint64_t, uint64_t>> own;
  {
    std::lock_guard<std::mutex> guard(f->rangesLock);
    own = f->ranges;
  }
  std::sort(own.begin(), own.end());
  uint64_t from = static_cast<uint64_t>(pos);
  bool locked = false;
  for (const auto& r : own) {
    if (from >= end) break;
    if (r.first + r.second <= from || r.first >= end) continue;
    if (r.first > from) locked = locked || OthersHold(f->lockFd, static_cast<off_t>(from), static_cast<off_t>(r.first - from));
    from = std::max(from, r.first + r.second);
  }
  if (from < end) locked = locked || OthersHold(f->lockFd, static_cast<off_t>(from), static_cast<off_t>(end - from));
  if (!locked) return false;
  SetLastError(kErrLockViolation);
  return true;
}
}  // namespace

bool FileRead(FileHandle h, void* buffer, uint32_t count, uint32_t* done) {
  if (done) *done = 0;
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  if (LockedByOthers(f, count)) return false;
  uint32_t total = 0;
  auto* p = static_cast<char*>(buffer);
  while (total < count) {
    const ssize_t n = ::read(f->fd, p + total, count - total);
    if (n < 0) {
      if (errno == EINTR) continue;
      if (done) *done = total;
      SetLastError(errno == EBADF ? kErrAccessDenied : ErrorFromErrno(errno));   // not opened for reading
      return false;
    }
    if (n == 0) break;
    total += static_cast<uint32_t>(n);
  }
  if (done) *done = total;
  return true;
}

bool detail::RealFileWriteCall(FileHandle h, const void* buffer, uint32_t count, uint32_t* done) {
  if (done) *done = 0;
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  if (LockedByOthers(f, count)) return false;
  uint32_t total = 0;
  const auto* p = static_cast<const char*>(buffer);
  while (total < count) {
    const ssize_t n = ::write(f->fd, p + total, count - total);
    if (n <= 0) {
      if (n < 0 && errno == EINTR) continue;
      if (done) *done = total;
      SetLastError(n == 0 || errno == ENOSPC ? kErrDiskFull
                   : errno == EBADF            ? kErrAccessDenied   // not opened for writing
                                               : ErrorFromErrno(errno));
      return false;
    }
    total += static_cast<uint32_t>(n);
  }
  if (done) *done = total;
  return true;
}

bool FileSeek(FileHandle h, int64_t distance, uint32_t method, uint64_t* newPosition) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  int whence = method == kSeekBegin ? SEEK_SET : method == kSeekCurrent ? SEEK_CUR : method == kSeekEnd ? SEEK_END : -1;
  if (whence < 0) {
    SetLastError(kErrInvalidParameter);
    return false;
  }
  const off_t pos = ::lseek(f->fd, static_cast<off_t>(distance), whence);
  if (pos < 0) {
    SetLastError(errno == EINVAL ? kErrNegativeSeek : ErrorFromErrno(errno));
    return false;
  }
  if (newPosition) *newPosition = static_cast<uint64_t>(pos);
  return true;
}

namespace {
// The status of an open file, with the error set on failure.
bool StatOf(FileHandle h, struct stat* st) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  if (fstat(f->fd, st) != 0) {
    SetLastErrorFromErrno();
    return false;
  }
  return true;
}
}  // namespace

bool FileSize(FileHandle h, uint64_t* size) {
  struct stat st;
  if (!StatOf(h, &st)) return false;
  *size = static_cast<uint64_t>(st.st_size);
  return true;
}

bool FileSetEnd(FileHandle h) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  const off_t pos = ::lseek(f->fd, 0, SEEK_CUR);
  if (pos < 0 || ::ftruncate(f->fd, pos) != 0) {
    SetLastError(errno == EBADF || errno == EINVAL ? kErrAccessDenied : PathError(errno, std::string()));
    return false;
  }
  return true;
}

bool FileFlush(FileHandle h) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  if (::fsync(f->fd) != 0 && errno != EINVAL) {
    SetLastErrorFromErrno();
    return false;
  }
  return true;
}

bool FileLockRange(FileHandle h, uint64_t offset, uint64_t length) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  if (length == 0) return true;
  if (offset >= static_cast<uint64_t>(kMarkerBase)) {
    SetLastError(kErrInvalidParameter);
    return false;
  }
  const uint64_t room = static_cast<uint64_t>(kMarkerBase) - offset;
  const off_t start = static_cast<off_t>(offset);
  const off_t len = static_cast<off_t>(length < room ? length : room);
  std::lock_guard<std::mutex> guard(f->rangesLock);
  for (const auto& r : f->ranges) {
    if (offset < r.first + r.second && r.first < offset + static_cast<uint64_t>(len)) {
      SetLastError(kErrLockViolation);
      return false;
    }
  }
  if (f->lockFd >= 0) {
    if (!SetMarkerLock(f->lockFd, start, len, F_RDLCK)) {
      SetLastErrorFromErrno();
      return false;
    }
    if (OthersHold(f->lockFd, start, len)) {
      SetMarkerLock(f->lockFd, start, len, F_UNLCK);
      SetLastError(kErrLockViolation);
      return false;
    }
  }
  f->ranges.emplace_back(offset, length);
  return true;
}

bool FileUnlockRange(FileHandle h, uint64_t offset, uint64_t length) {
  PosixFile* f = Get(h);
  if (!f) return BadHandle();
  std::lock_guard<std::mutex> guard(f->rangesLock);
  for (size_t i = 0; i < f->ranges.size(); ++i) {
    if (f->ranges[i].first == offset && f->ranges[i].second == length) {
      const uint64_t room = static_cast<uint64_t>(kMarkerBase) - offset;
      if (f->lockFd >= 0)
        SetMarkerLock(f->lockFd, static_cast<off_t>(offset), static_cast<off_t>(length < room ? length : room), F_UNLCK);
      f->ranges.erase(f->ranges.begin() + static_cast<ptrdiff_t>(i));
      return true;
    }
  }
  SetLastError(length == 0 ? kErrSuccess : kErrNotLocked);
  return length == 0;
}

bool FileTimes(FileHandle h, uint64_t* creation, uint64_t* access, uint64_t* write) {
  struct stat st;
  if (!StatOf(h, &st)) return false;
  if (creation) *creation = ToFileTime(st.st_ctim);
  if (access) *access = ToFileTime(st.st_atim);
  if (write) *write = ToFileTime(st.st_mtim);
  return true;
}

bool FileInfoByName(const char16_t* name, FileInfo* info) {
  const std::string path = ToPosixPath(name);
  struct stat st;
  if (path.empty() || ::stat(path.c_str(), &st) != 0) {
    SetLastError(path.empty() ? kErrPathNotFound : PathError(errno, path));
    return false;
  }
  FillInfo(st, path, info);
  return true;
}

bool FileInfoByHandle(FileHandle h, FileInfo* info) {
  struct stat st;
  if (!StatOf(h, &st)) return false;
  FillInfo(st, std::string(), info);
  return true;
}

namespace {

// The state of one FileFinder: a folder being read, or the one name of a
// pattern without wildcards.
struct FindState {
  DIR* dir = nullptr;
  std::string folder;
  std::string pattern;   // "" matches every name
  std::string single;    // the path of a pattern without wildcards
};

bool MatchesPattern(const std::string& pattern, const char* name) {
  return pattern.empty() || fnmatch(pattern.c_str(), name, FNM_CASEFOLD) == 0;
}

}  // namespace

FileFinder::FileFinder(const char16_t* pattern) {
  const std::string path = ToPosixPath(pattern);
  const size_t slash = path.find_last_of('/');
  auto* state = new FindState;
  state->folder = slash == std::string::npos ? "." : (slash == 0 ? "/" : path.substr(0, slash));
  state->pattern = slash == std::string::npos ? path : path.substr(slash + 1);
  struct stat st;
  if (state->pattern.find_first_of("*?") == std::string::npos) {
    if (state->pattern.empty() || ::lstat(path.c_str(), &st) != 0) {
      error_ = kErrFileNotFound;
      delete state;
      return;
    }
    state->single = path;
  } else if (state->pattern == "*" || state->pattern == "*.*") {
    state->pattern.clear();
  }
  if (state->single.empty() && !(state->dir = ::opendir(state->folder.c_str()))) {
    error_ = kErrPathNotFound;
    delete state;
    return;
  }
  state_ = state;
  error_ = kErrFileNotFound;   // until something matched
}

FileFinder::~FileFinder() {
  auto* state = static_cast<FindState*>(state_);
  if (state && state->dir) ::closedir(state->dir);
  delete state;
}

bool FileFinder::Next(FindEntry* out) {
  auto* state = static_cast<FindState*>(state_);
  struct stat st;
  if (state && !state->single.empty()) {
    const bool got = first_ && ::lstat(state->single.c_str(), &st) == 0;
    if (got) {
      FillInfo(st, state->single, &out->info);
      out->name = Utf8ToUtf16(state->single.substr(state->single.find_last_of('/') + 1));
      first_ = false;
      return true;
    }
  } else if (state) {
    while (dirent* e = ::readdir(state->dir)) {
      if (!MatchesPattern(state->pattern, e->d_name)) continue;
      const std::string full = state->folder + "/" + e->d_name;
      if (::lstat(full.c_str(), &st) != 0) continue;
      FillInfo(st, full, &out->info);
      out->name = Utf8ToUtf16(e->d_name);
      first_ = false;
      return true;
    }
  }
  SetLastError(first_ ? error_ : kErrNoMoreFiles);
  return false;
}

bool SetAttributesByName(const char16_t* name, uint32_t attributes) {
  const std::string path = ToPosixPath(name);
  struct stat st;
  if (path.empty() || ::stat(path.c_str(), &st) != 0) {
    SetLastError(path.empty() ? kErrPathNotFound : PathError(errno, path));
    return false;
  }
  const mode_t mode = (attributes & kAttrReadOnly) ? st.st_mode & ~(S_IWUSR | S_IWGRP | S_IWOTH) : st.st_mode | S_IWUSR;
  if (::chmod(path.c_str(), mode & 07777) != 0) {
    SetLastError(PathError(errno, path));
    return false;
  }
  return true;
}

bool RemoveFile(const char16_t* name) {
  const std::string path = ToPosixPath(name);
  struct stat st;
  if (::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    SetLastError(kErrAccessDenied);
    return false;
  }
  if (path.empty() || ::unlink(path.c_str()) != 0) {
    SetLastError(path.empty() ? kErrPathNotFound : PathError(errno, path));
    return false;
  }
  return true;
}

bool MakeFolder(const char16_t* name) {
  const std::string path = ToPosixPath(name);
  if (path.empty() || ::mkdir(path.c_str(), 0777) != 0) {
    SetLastError(path.empty() ? kErrPathNotFound : errno == EEXIST ? kErrAlreadyExists : PathError(errno, path));
    return false;
  }
  return true;
}

bool SystemTempPath(std::u16string& out) {
  const char* env = std::getenv("TMPDIR");
  std::string dir = env && *env ? env : "/tmp";
  if (dir.back() != '/') dir += '/';
  if (dir.size() > 260) {
    SetLastError(kErrInsufficientBuffer);
    return false;
  }
  out = Utf8ToUtf16(dir);
  return true;
}

bool LongPathName(const std::u16string& in, std::u16string& out) {
  const std::string path = ToPosixPath(in.c_str());
  struct stat st;
  if (path.empty() || ::stat(path.c_str(), &st) != 0) {
    SetLastError(path.empty() ? kErrPathNotFound : PathError(errno, path));
    return false;
  }
  out = in;
  return true;
}

uint64_t FileTimeNow() {
  timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  return ToFileTime(ts);
}

NoOpenFileErrorBox::NoOpenFileErrorBox() : old_(0) {}
NoOpenFileErrorBox::~NoOpenFileErrorBox() = default;

}  // namespace plat
