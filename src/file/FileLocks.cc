// Region locks with their list. A lock is retried for 10,000 ms (the first three
// attempts always), with an idle step of the backoff between attempts.
#include "core/diag/Diag.h"
#include "file/File.h"
#include "core/timing/Backoff.h"
#include "core/timing/TickCount.h"

namespace zx {
namespace {

constexpr uint64_t kLockTimeoutMs = 10000;

ULARGE_INTEGER U64(uint64_t v) {
  ULARGE_INTEGER u;
  u.QuadPart = v;
  return u;
}

}  // namespace

scFileLock* clsFile::Lock(uint64_t offset, uint64_t length) {
  if (!IsOpen()) return nullptr;
  const uint64_t start = UtilTickCount64();
  bool locked = false;
  {
    clsBackoff backoff(clsBackoff::kTimed);   // its end lowers a raised timer period
    for (int attempt = 0;; ++attempt) {
      if (attempt >= 3 && UtilTickCount64() - start >= kLockTimeoutMs) break;
      if (m_hFile.Valid()) {
        locked = plat::FileLockRange(m_hFile.Get(), offset, length);
      } else if (m_pStream) {
        const HRESULT hr = m_pStream->LockRegion(U64(offset), U64(length), LOCK_EXCLUSIVE);
        // A stream without locking counts as locked.
        locked = hr >= 0 || hr == plat::kSTG_E_INVALIDFUNCTION || hr == plat::kE_NOTIMPL;
      }
      if (locked) break;
      backoff.Idle(clsBackoff::kTimed);
    }
  }
  if (!locked) return nullptr;
  scFileLock* node = m_pRetired;
  if (node) m_pRetired = node->next;
  else node = new scFileLock;
  *node = scFileLock{offset, length, nullptr, m_pLocksTail};
  if (m_pLocksTail) m_pLocksTail->next = node;
  else m_pLocks = node;
  m_pLocksTail = node;
  return node;
}

void clsFile::Unlock(scFileLock* node) {
  if (!node) return;
  const uint64_t offset = node->offset, length = node->length;
  if (m_hFile.Valid()) plat::FileUnlockRange(m_hFile.Get(), offset, length);
  else if (m_pStream) m_pStream->UnlockRegion(U64(offset), U64(length), LOCK_EXCLUSIVE);
  for (scFileLock* n = m_pLocks; n; n = n->next) {
    if (n->offset == offset && n->length == length) {
      (n->prev ? n->prev->next : m_pLocks) = n->next;
      (n->next ? n->next->prev : m_pLocksTail) = n->prev;
      n->next = m_pRetired;
      n->prev = nullptr;
      m_pRetired = n;
      return;
    }
  }
  DiagFormat(u"\nFile '%s': %s\n", DiagName(),
             u"tried to unlock a lock that has already been removed (or has never existed)");
}

}  // namespace zx
