// Files on Windows: the system's own calls.
#include "platform/win32/pch.h"

#include <string>

#include "platform/errors.h"
#include "platform/file.h"
#include "platform/internal/file_faults.h"

namespace plat {
namespace {

const wchar_t* W(const char16_t* s) { return reinterpret_cast<const wchar_t*>(s); }

uint64_t Join(const FILETIME& ft) {
  return (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
}

// The system sets the thread's error number; ours follows it.
template <typename T>
T Sync(T result) {
  plat::SetLastError(::GetLastError());
  return result;
}

}  // namespace

FileHandle detail::RealFileOpen(const char16_t* name, uint32_t access, uint32_t share, uint32_t disposition,
                                uint32_t flags) {
  HANDLE h = ::CreateFileW(W(name), access, share, nullptr, disposition, flags, nullptr);
  return Sync(static_cast<FileHandle>(h));
}

bool FileClose(FileHandle h) { return Sync(::CloseHandle(h) != FALSE); }

bool FileRead(FileHandle h, void* buffer, uint32_t count, uint32_t* done) {
  DWORD n = 0;
  const bool ok = ::ReadFile(h, buffer, count, &n, nullptr) != FALSE;
  if (done) *done = n;
  return Sync(ok);
}

bool detail::RealFileWriteCall(FileHandle h, const void* buffer, uint32_t count, uint32_t* done) {
  DWORD n = 0;
  const bool ok = ::WriteFile(h, buffer, count, &n, nullptr) != FALSE;
  if (done) *done = n;
  return Sync(ok);
}

bool FileSeek(FileHandle h, int64_t distance, uint32_t method, uint64_t* newPosition) {
  LARGE_INTEGER d, out;
  d.QuadPart = distance;
  const bool ok = ::SetFilePointerEx(h, d, &out, method) != FALSE;
  if (ok && newPosition) *newPosition = static_cast<uint64_t>(out.QuadPart);
  return Sync(ok);
}

bool FileSize(FileHandle h, uint64_t* size) {
  LARGE_INTEGER s;
  const bool ok = ::GetFileSizeEx(h, &s) != FALSE;
  if (ok) *size = static_cast<uint64_t>(s.QuadPart);
  return Sync(ok);
}

bool FileSetEnd(FileHandle h) { return Sync(::SetEndOfFile(h) != FALSE); }
bool FileFlush(FileHandle h) { return Sync(::FlushFileBuffers(h) != FALSE); }

bool FileLockRange(FileHandle h, uint64_t offset, uint64_t length) {
  return Sync(::LockFile(h, static_cast<DWORD>(offset), static_cast<DWORD>(offset >> 32),
                         static_cast<DWORD>(length), static_cast<DWORD>(length >> 32)) != FALSE);
}

bool FileUnlockRange(FileHandle h, uint64_t offset, uint64_t length) {
  return Sync(::UnlockFile(h, static_cast<DWORD>(offset), static_cast<DWORD>(offset >> 32),
                           static_cast<DWORD>(length), static_cast<DWORD>(length >> 32)) != FALSE);
}

bool FileTimes(FileHandle h, uint64_t* creation, uint64_t* access, uint64_t* write) {
  FILETIME c{}, a{}, w{};
  const bool ok = ::GetFileTime(h, &c, &a, &w) != FALSE;
  if (ok) {
    if (creation) *creation = Join(c);
    if (access) *access = Join(a);
    if (write) *write = Join(w);
  }
  return Sync(ok);
}

namespace {
// The fields both system records share.
template <class Data>
void FillInfo(const Data& d, FileInfo* info) {
  info->attributes = d.dwFileAttributes;
  info->creation = Join(d.ftCreationTime);
  info->lastAccess = Join(d.ftLastAccessTime);
  info->lastWrite = Join(d.ftLastWriteTime);
  info->size = (static_cast<uint64_t>(d.nFileSizeHigh) << 32) | d.nFileSizeLow;
}
}  // namespace

bool FileInfoByName(const char16_t* name, FileInfo* info) {
  WIN32_FILE_ATTRIBUTE_DATA d{};
  if (!::GetFileAttributesExW(W(name), GetFileExInfoStandard, &d)) return Sync(false);
  FillInfo(d, info);
  return Sync(true);
}

bool FileInfoByHandle(FileHandle h, FileInfo* info) {
  BY_HANDLE_FILE_INFORMATION d{};
  if (!::GetFileInformationByHandle(h, &d)) return Sync(false);
  FillInfo(d, info);
  return Sync(true);
}

FileFinder::FileFinder(const char16_t* pattern) {
  auto* d = new WIN32_FIND_DATAW{};
  HANDLE f = ::FindFirstFileW(W(pattern), d);
  if (f == INVALID_HANDLE_VALUE) {
    error_ = ::GetLastError();
    delete d;
    return;
  }
  handle_ = f;
  state_ = d;
}

FileFinder::~FileFinder() {
  delete static_cast<WIN32_FIND_DATAW*>(state_);
  if (handle_) ::FindClose(handle_);
}

bool FileFinder::Next(FindEntry* out) {
  auto* d = static_cast<WIN32_FIND_DATAW*>(state_);
  if (!handle_ || !d) {
    plat::SetLastError(error_);
    return false;
  }
  if (!first_ && !::FindNextFileW(handle_, d)) return Sync(false);
  first_ = false;
  FillInfo(*d, &out->info);
  out->name.assign(reinterpret_cast<const char16_t*>(d->cFileName));
  return true;
}

bool RemoveFile(const char16_t* name) { return Sync(::DeleteFileW(W(name)) != FALSE); }
bool SetAttributesByName(const char16_t* name, uint32_t attributes) {
  return Sync(::SetFileAttributesW(W(name), attributes) != FALSE);
}
bool MakeFolder(const char16_t* name) { return Sync(::CreateDirectoryW(W(name), nullptr) != FALSE); }

bool SystemTempPath(std::u16string& out) {
  wchar_t buf[261];
  const DWORD n = ::GetTempPathW(260, buf);
  if (n == 0 || n > 260) return Sync(false);
  out.assign(reinterpret_cast<const char16_t*>(buf), n);
  return Sync(true);
}

bool LongPathName(const std::u16string& in, std::u16string& out) {
  const DWORD need = ::GetLongPathNameW(W(in.c_str()), nullptr, 0);
  if (need == 0) return Sync(false);
  std::wstring buf(need, L'\0');
  const DWORD n = ::GetLongPathNameW(W(in.c_str()), buf.data(), need);
  if (n == 0 || n >= need) return Sync(false);
  out.assign(reinterpret_cast<const char16_t*>(buf.data()), n);
  return Sync(true);
}

uint64_t FileTimeNow() {
  FILETIME ft;
  ::GetSystemTimeAsFileTime(&ft);
  return Join(ft);
}

NoOpenFileErrorBox::NoOpenFileErrorBox() : old_(::SetErrorMode(SEM_NOOPENFILEERRORBOX)) {
  ::SetErrorMode(old_ | SEM_NOOPENFILEERRORBOX);
}
NoOpenFileErrorBox::~NoOpenFileErrorBox() { ::SetErrorMode(old_); }

}  // namespace plat
