// Internal to the Linux platform files: the objects behind a WaitHandle. All wait
// state (signal flags, waiter lists, reference counts, the table of live objects)
// is guarded by one lock, so a wait over several objects sees them at one instant
// and a setter hands an auto-reset signal to exactly one waiter.
#pragma once
#include <pthread.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <vector>

#include "platform/event.h"

namespace plat::detail {

struct Waiter;

struct WaitObject {
  enum class Kind { Event, Thread };
  explicit WaitObject(Kind k, bool manualReset, bool signalledAtStart)
      : kind(k), manual(manualReset), signalled(signalledAtStart) {}
  virtual ~WaitObject() = default;
  Kind kind;
  bool manual;
  bool signalled;
  int refs = 1;
  std::vector<Waiter*> waiters;   // first come, first served
};

struct ThreadObject final : WaitObject {
  ThreadObject() : WaitObject(Kind::Thread, true, false) {}
  pthread_t pthread{};
  uint32_t tid = 0;
  bool tidKnown = false;           // published by the thread itself
  uint32_t suspendCount = 1;      // created suspended
  std::condition_variable gate;   // tid published, suspend count reached 0
  uint32_t exitCode = 259;
  int priority = 0;
  bool abandoned = false;
  uint64_t creation = 0, exit = 0, kernel = 0, user = 0;   // 100 ns units
  uint32_t (*entry)(void*) = nullptr;
  void* arg = nullptr;
};

std::mutex& WaitLock();
// The live object behind a handle, or null (error 6 set). WaitLock is held.
WaitObject* Lookup(WaitHandle h);
// Registers a new object (refs 1) and returns its handle. WaitLock is held.
WaitHandle Register(WaitObject* object);
// Drops one reference; the last one deletes the object. WaitLock is held.
void Release(WaitObject* object);
// Signals `object` for good (a manual-reset set, a thread's end): every waiter is
// chosen. WaitLock is held; the caller wakes the chosen with WakeAll after
// releasing it.
std::vector<Waiter*> SignalAll(WaitObject* object);
void WakeAll(const std::vector<Waiter*>& chosen);
// Wall-clock time in 100 ns units since 1601, as the system's file times.
uint64_t FileTimeNow();

}  // namespace plat::detail
