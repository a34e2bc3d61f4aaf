// Files: open with access, share mode and disposition, read, write, seek, size,
// truncation, flushing, byte-range locks, attributes, folders and the temporary
// path. On Linux paths are converted to UTF-8 and both "\" and "/" separate
// folders; share modes are emulated with open-file-description locks so that two
// opens, in one process or in two, conflict as on Windows (error 32), and
// byte-range locks of two opens conflict with error 33. An open that creates a
// file holds it before any other open can reach it.
//
// Errors: a call returns false (FileOpen: InvalidFile()) and sets the thread's
// error number (plat::LastError(), platform/errors.h) to the Windows number; the
// numbers each call can give are named at its declaration. A call that succeeds
// may leave any number behind except where a number is promised on success
// (FileOpen: 183 or 0).
//
// Threads: every function may be called from any thread. One handle may be used
// by several threads, but its position is shared: a seek and the read after it
// are two calls, so threads that share a handle take turns themselves.
//
//   plat::FileHandle h = plat::FileOpen(u"C:\\log.txt", plat::kGenericWrite, plat::kShareRead,
//                                       plat::kOpenAlways, plat::kAttrNormal);
//   if (!plat::IsValidFile(h)) return plat::LastError();   // 2, 3, 5, 32, ...
//   uint32_t done = 0;
//   plat::FileSeek(h, 0, plat::kSeekEnd, nullptr);
//   const bool ok = plat::FileWrite(h, "line\r\n", 6, &done);   // done: what reached the file
//   plat::FileClose(h);
#pragma once
#include <cstdint>
#include <string>

namespace plat {

// A file handle: the system's HANDLE on Windows, an object of ours elsewhere.
using FileHandle = void*;
inline FileHandle InvalidFile() { return reinterpret_cast<FileHandle>(static_cast<intptr_t>(-1)); }
inline bool IsValidFile(FileHandle h) { return h != nullptr && h != InvalidFile(); }

// The system's values.
constexpr uint32_t kGenericRead = 0x80000000u;
constexpr uint32_t kGenericWrite = 0x40000000u;
constexpr uint32_t kShareRead = 0x1;
constexpr uint32_t kShareWrite = 0x2;
constexpr uint32_t kShareDelete = 0x4;
constexpr uint32_t kCreateNew = 1;
constexpr uint32_t kCreateAlways = 2;
constexpr uint32_t kOpenExisting = 3;
constexpr uint32_t kOpenAlways = 4;
constexpr uint32_t kTruncateExisting = 5;
constexpr uint32_t kFlagWriteThrough = 0x80000000u;
constexpr uint32_t kFlagRandomAccess = 0x10000000u;
constexpr uint32_t kFlagSequentialScan = 0x08000000u;
constexpr uint32_t kFlagDeleteOnClose = 0x04000000u;
constexpr uint32_t kAttrReadOnly = 0x1;
constexpr uint32_t kAttrHidden = 0x2;
constexpr uint32_t kAttrDirectory = 0x10;
constexpr uint32_t kAttrNormal = 0x80;
constexpr uint32_t kAttrTemporary = 0x100;
constexpr uint32_t kSeekBegin = 0;
constexpr uint32_t kSeekCurrent = 1;
constexpr uint32_t kSeekEnd = 2;

// CreateFileW(name, access, share, nullptr, disposition, flags, nullptr). Returns
// InvalidFile() on failure: 2 no such file, 3 no such folder (an empty name too),
// 5 a folder or a read-only file opened for writing, 32 a share-mode conflict, 80
// CREATE_NEW on an existing file, 87 an unknown disposition. OPEN_ALWAYS and
// CREATE_ALWAYS on an existing file set error 183 and succeed; a new file sets 0.
// An open without read or write access takes part in no share test.
FileHandle FileOpen(const char16_t* name, uint32_t access, uint32_t share, uint32_t disposition,
                    uint32_t flagsAndAttributes);
bool FileClose(FileHandle h);
bool FileRead(FileHandle h, void* buffer, uint32_t count, uint32_t* done);
// Read and write: 5 when the handle lacks that access, 33 when another open has
// locked bytes in the way, 6 for a bad handle; a failed write reports in `done`
// what reached the file (112 when the disk is full).
bool FileWrite(FileHandle h, const void* buffer, uint32_t count, uint32_t* done);
// SetFilePointerEx: a negative resulting position fails with error 131 and leaves
// the position; past the end is allowed. An unknown method is 87.
bool FileSeek(FileHandle h, int64_t distance, uint32_t method, uint64_t* newPosition);
bool FileSize(FileHandle h, uint64_t* size);            // GetFileSizeEx
bool FileSetEnd(FileHandle h);                          // SetEndOfFile at the position
bool FileFlush(FileHandle h);                           // FlushFileBuffers
bool FileLockRange(FileHandle h, uint64_t offset, uint64_t length);    // LockFile: 33 on conflict
bool FileUnlockRange(FileHandle h, uint64_t offset, uint64_t length);  // UnlockFile: 158 if not locked
// GetFileTime: FILETIME values (100 ns since 1601) of creation, access, write.
bool FileTimes(FileHandle h, uint64_t* creation, uint64_t* access, uint64_t* write);

// What GetFileAttributesExW and FindFirstFileW tell of a name.
struct FileInfo {
  uint32_t attributes = 0;
  uint64_t creation = 0;    // FILETIME values
  uint64_t lastAccess = 0;
  uint64_t lastWrite = 0;
  uint64_t size = 0;
};
bool FileInfoByName(const char16_t* name, FileInfo* info);   // GetFileAttributesExW
bool FileInfoByFind(const char16_t* name, FileInfo* info);   // FindFirstFileW, first match
bool FileInfoByHandle(FileHandle h, FileInfo* info);         // GetFileInformationByHandle: 6

// FindFirstFileW / FindNextFileW over one pattern ("dir\\*.txt"; a name without
// wildcards finds itself). Folders, "." and ".." come as the system gives them,
// in its order. Linux: "*" and "?" match as on Windows, without regard to case,
// and "*.*" matches every name, also one without a dot.
struct FindEntry {
  FileInfo info;
  std::u16string name;
};
class FileFinder {
 public:
  explicit FileFinder(const char16_t* pattern);
  ~FileFinder();
  FileFinder(const FileFinder&) = delete;
  FileFinder& operator=(const FileFinder&) = delete;
  // False at the end (18), or when nothing matched at all (2, 3).
  bool Next(FindEntry* out);

 private:
  void* handle_ = nullptr;
  void* state_ = nullptr;
  uint32_t error_ = 0;
  bool first_ = true;
};

bool RemoveFile(const char16_t* name);       // DeleteFileW
// SetFileAttributesW. Linux keeps only kAttrReadOnly (the owner's write permission).
bool SetAttributesByName(const char16_t* name, uint32_t attributes);
bool MakeFolder(const char16_t* name);       // CreateDirectoryW: 183 when it exists

// GetTempPathW with a limit of 260 characters (ends with a separator).
bool SystemTempPath(std::u16string& out);
// GetLongPathNameW.
bool LongPathName(const std::u16string& in, std::u16string& out);
// The present time as a FILETIME value (GetSystemTimeAsFileTime).
uint64_t FileTimeNow();

// SetErrorMode(old | SEM_NOOPENFILEERRORBOX) for the life of the object, so that
// no system dialog appears for a missing disk.
class NoOpenFileErrorBox {
 public:
  NoOpenFileErrorBox();
  ~NoOpenFileErrorBox();
  NoOpenFileErrorBox(const NoOpenFileErrorBox&) = delete;
  NoOpenFileErrorBox& operator=(const NoOpenFileErrorBox&) = delete;
 private:
  [[maybe_unused]] uint32_t old_;   // the mode to restore (Windows)
};

}  // namespace plat
