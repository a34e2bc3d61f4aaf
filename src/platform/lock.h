// Critical sections: recursive, with try-enter and a spin count.
#pragma once
#include <cstdint>

namespace plat {

class CriticalSection {
 public:
  explicit CriticalSection(uint32_t spinCount = 0);
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  void Enter();
  bool TryEnter();
  void Leave();
 private:
  alignas(16) unsigned char storage_[64];
};

class Lock {
 public:
  explicit Lock(CriticalSection& cs) : cs_(cs) { cs_.Enter(); }
  ~Lock() { cs_.Leave(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
 private:
  CriticalSection& cs_;
};

}  // namespace plat
