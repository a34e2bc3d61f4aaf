// Critical sections: recursive, with try-enter and a spin count (the most rounds a
// thread spins on a taken section before it sleeps; none on one processor). On
// Linux a section is a LockWord (platform/lock_word.h), on Windows the system's.
// Errors: none; Enter blocks until the lock is free. A Leave by a thread that does
// not own the section changes nothing.
// Threads: a CriticalSection is recursive: the owning thread may enter it again and
// leaves it as often as it entered; only the owner leaves it.
//
//   plat::CriticalSection lock;
//   { plat::Lock guard(lock); ... }   // left at the end of the scope
#pragma once
#include <cstdint>

#include "platform/thread_annotations.h"

namespace plat {

class ZX_CAPABILITY("mutex") CriticalSection {
 public:
  explicit CriticalSection(uint32_t spinCount = 0);
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  // The analysis checks the callers; these bodies are the lock itself.
  void Enter() ZX_ACQUIRE() ZX_NO_THREAD_SAFETY_ANALYSIS;
  bool TryEnter() ZX_TRY_ACQUIRE(true) ZX_NO_THREAD_SAFETY_ANALYSIS;
  void Leave() ZX_RELEASE() ZX_NO_THREAD_SAFETY_ANALYSIS;
 private:
  alignas(64) unsigned char storage_[128];
};

class ZX_SCOPED_CAPABILITY Lock {
 public:
  explicit Lock(CriticalSection& cs) ZX_ACQUIRE(cs) : cs_(cs) { cs_.Enter(); }
  ~Lock() ZX_RELEASE() { cs_.Leave(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
 private:
  CriticalSection& cs_;
};

}  // namespace plat
