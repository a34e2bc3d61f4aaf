// Named shared blocks as page-file mappings with a null DACL, an unnamed mutex for
// the in-process sender state, and GlobalAlloc memory.
#include "platform/shared_memory.h"

#include <windows.h>

#include "platform/clock.h"
#include "platform/errors.h"

namespace plat {
namespace {

// A security descriptor without a DACL: any account may open the block.
SECURITY_ATTRIBUTES* NullDaclAttributes() {
  static SECURITY_DESCRIPTOR sd;
  static SECURITY_ATTRIBUTES sa;
  static bool ok = [] {
    if (!InitializeSecurityDescriptor(&sd, SECURITY_DESCRIPTOR_REVISION)) return false;
    if (!SetSecurityDescriptorDacl(&sd, TRUE, nullptr, FALSE)) return false;
    sa.nLength = sizeof sa;
    sa.lpSecurityDescriptor = &sd;
    sa.bInheritHandle = FALSE;
    return true;
  }();
  return ok ? &sa : nullptr;
}

const wchar_t* W(const char16_t* s) { return reinterpret_cast<const wchar_t*>(s); }

}  // namespace

SharedBlock::~SharedBlock() { Close(); }

bool SharedBlock::Create(const char16_t* name, uint32_t size, bool* existed, bool) {
  Close();
  HANDLE h = CreateFileMappingW(INVALID_HANDLE_VALUE, NullDaclAttributes(),
                                PAGE_READWRITE | SEC_COMMIT, 0, size, W(name));
  DWORD err = GetLastError();
  if (!h) {
    plat::SetLastError(err);
    return false;
  }
  void* v = MapViewOfFile(h, FILE_MAP_ALL_ACCESS, 0, 0, size);
  if (!v) {
    err = GetLastError();
    CloseHandle(h);
    plat::SetLastError(err);
    return false;
  }
  handle_ = reinterpret_cast<intptr_t>(h);
  base_ = view_ = v;
  viewSize_ = size;
  if (existed) *existed = err == ERROR_ALREADY_EXISTS;
  ::SetLastError(err);
  plat::SetLastError(err == ERROR_ALREADY_EXISTS ? kErrAlreadyExists : 0);
  return true;
}

bool SharedBlock::OpenReadOnly(const char16_t* name) {
  Close();
  HANDLE h = OpenFileMappingW(FILE_MAP_READ, FALSE, W(name));
  if (!h) {
    plat::SetLastError(GetLastError());
    return false;
  }
  handle_ = reinterpret_cast<intptr_t>(h);
  return true;
}

const void* SharedBlock::MapReadOnly(uint32_t size) {
  Unmap();
  if (!IsOpen()) {
    plat::SetLastError(kErrInvalidHandle);
    return nullptr;
  }
  void* v = MapViewOfFile(reinterpret_cast<HANDLE>(handle_), FILE_MAP_READ, 0, 0, size);
  if (!v) {
    plat::SetLastError(GetLastError());
    return nullptr;
  }
  base_ = view_ = v;
  viewSize_ = size;
  return v;
}

void SharedBlock::Unmap() {
  if (base_) UnmapViewOfFile(base_);
  base_ = view_ = nullptr;
  viewSize_ = 0;
}

void SharedBlock::Close() {
  Unmap();
  if (handle_ != kNoHandle) CloseHandle(reinterpret_cast<HANDLE>(handle_));
  handle_ = kNoHandle;
}

// The hookable tick, so a fake clock in tests moves the back-off as well.
void SharedBlock::RemoveName() {}
void RemoveStaleBlocks(const char16_t*) {}

uint64_t PublicationEpoch() { return TickCount64(); }
uint64_t PublicationNextDue(uint64_t, uint64_t retryTick) { return retryTick + 1; }
bool PublicationLiftsBackoff() { return false; }
const std::atomic<uint64_t>* PublicationCounter() { return nullptr; }

uint64_t MutexCreate() { return reinterpret_cast<uint64_t>(CreateMutexW(nullptr, FALSE, nullptr)); }

void MutexLock(uint64_t mutex) {
  if (mutex) WaitForSingleObject(reinterpret_cast<HANDLE>(mutex), INFINITE);
}

void MutexUnlock(uint64_t mutex) {
  if (mutex) ReleaseMutex(reinterpret_cast<HANDLE>(mutex));
}

void MutexClose(uint64_t mutex) {
  if (mutex) CloseHandle(reinterpret_cast<HANDLE>(mutex));
}

void* GlobalAllocZero(size_t size) { return GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, size ? size : 1); }
void GlobalFreeBlock(void* block) {
  if (block) GlobalFree(block);
}

}  // namespace plat
