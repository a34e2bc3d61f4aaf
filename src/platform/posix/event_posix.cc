// Linux: events and the wait for any of several objects, on one mutex and a futex word
// per waiter. A setter doesn't just wake waiters to race for the signal: it
// decides under the lock who gets it (for an auto-reset event, the first waiter in
// line), so an auto-reset signal wakes exactly one thread and nobody spins. The
// chosen waiter is woken after the lock is released, so that it doesn't wake into
// a held lock.
#include <linux/futex.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <unordered_set>

#include "platform/errors.h"
#include "platform/posix/wait_object_posix.h"

namespace plat {
namespace detail {

struct Waiter {
  // kAwake, kChosen or kAsleep. The setter's wake may reach the word after the
  // waiter has left; a futex wake on a stale word is at worst a spurious wake-up,
  // which every futex user tolerates (ours loops on the word).
  static constexpr uint32_t kAwake = 0, kChosen = 1, kAsleep = 2;
  std::atomic<uint32_t> state{kAwake};
  WaitObject* objects[kMaxWaitObjects];
  uint32_t count = 0;
  uint32_t result = kPending;
  static constexpr uint32_t kPending = 0xFFFFFFFEu;
};

namespace {

// Leaked on purpose: threads may still wait while static destructors run.
std::mutex& TheLock() {
  static std::mutex* lock = new std::mutex;
  return *lock;
}
std::unordered_set<WaitObject*>& Live() {
  static auto* live = new std::unordered_set<WaitObject*>;
  return *live;
}

void Unlink(Waiter* w) {
  for (uint32_t i = 0; i < w->count; ++i) {
    auto& v = w->objects[i]->waiters;
    v.erase(std::remove(v.begin(), v.end(), w), v.end());
  }
}

// Gives `w` the signal of `o` (its lowest index of `o` is the result). WaitLock
// is held; the caller wakes `w` with Wake after releasing it.
Waiter* Satisfy(Waiter* w, WaitObject* o) {
  for (uint32_t i = 0; i < w->count; ++i)
    if (w->objects[i] == o) {
      w->result = i;
      break;
    }
  Unlink(w);
  return w;
}

long Futex(std::atomic<uint32_t>* word, int op, uint32_t value, const timespec* timeout) {
  return ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), op, value, timeout, nullptr, 0);
}

// The kernel is entered only for a waiter that has gone to sleep: one that has not
// got that far sees the word change and does not sleep.
void Wake(Waiter* w) {
  if (w->state.exchange(Waiter::kChosen, std::memory_order_release) == Waiter::kAsleep)
    Futex(&w->state, FUTEX_WAKE_PRIVATE, 1, nullptr);
}

// Waits until chosen or until `deadline` (none: forever). True when chosen. (No
// spinning first: on a busy machine the spinner takes the time of the thread that
// would signal it.)
template <class TimePoint>
bool Sleep(Waiter* w, const TimePoint* deadline) {
  for (;;) {
    uint32_t s = Waiter::kAwake;
    if (!w->state.compare_exchange_strong(s, Waiter::kAsleep, std::memory_order_acquire) &&
        s == Waiter::kChosen)
      return true;
    timespec ts, *pts = nullptr;
    if (deadline) {
      const auto left = *deadline - std::chrono::steady_clock::now();
      if (left <= decltype(left)::zero()) return false;
      const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
      ts.tv_sec = static_cast<time_t>(ns / 1000000000);
      ts.tv_nsec = static_cast<long>(ns % 1000000000);
      pts = &ts;
    }
    Futex(&w->state, FUTEX_WAIT_PRIVATE, Waiter::kAsleep, pts);
  }
}

}  // namespace

std::mutex& WaitLock() { return TheLock(); }

WaitObject* Lookup(WaitHandle h) {
  auto* o = static_cast<WaitObject*>(h);
  if (!HandleIsValid(h) || !Live().count(o)) {
    SetLastError(kErrInvalidHandle);
    return nullptr;
  }
  return o;
}

WaitHandle Register(WaitObject* object) {
  Live().insert(object);
  return object;
}

void Release(WaitObject* object) {
  if (--object->refs > 0) return;
  Live().erase(object);
  delete object;
}

std::vector<Waiter*> SignalAll(WaitObject* object) {
  object->signalled = true;
  std::vector<Waiter*> chosen = object->waiters;
  for (Waiter* w : chosen) Satisfy(w, object);
  return chosen;
}

void WakeAll(const std::vector<Waiter*>& chosen) {
  for (Waiter* w : chosen) Wake(w);
}

uint64_t FileTimeNow() {
  timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  constexpr uint64_t kEpochDelta = 116444736000000000ull;   // 1601 to 1970
  return kEpochDelta + static_cast<uint64_t>(ts.tv_sec) * 10000000u + static_cast<uint64_t>(ts.tv_nsec) / 100u;
}

}  // namespace detail

using detail::WaitObject;

WaitHandle EventCreate(bool manualReset, bool initiallySignalled) {
  auto* e = new (std::nothrow) WaitObject(WaitObject::Kind::Event, manualReset, initiallySignalled);
  if (!e) {
    SetLastError(kErrNotEnoughMemory);
    return nullptr;
  }
  std::lock_guard<std::mutex> g(detail::WaitLock());
  return detail::Register(e);
}

bool EventSet(WaitHandle event) {
  std::unique_lock<std::mutex> l(detail::WaitLock());
  WaitObject* o = detail::Lookup(event);
  if (!o || o->kind != WaitObject::Kind::Event) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  if (o->manual) {
    std::vector<detail::Waiter*> chosen = detail::SignalAll(o);
    l.unlock();
    detail::WakeAll(chosen);
  } else if (!o->waiters.empty()) {
    detail::Waiter* w = detail::Satisfy(o->waiters.front(), o);   // consumed by that wait: stays reset
    l.unlock();
    detail::Wake(w);
  } else {
    o->signalled = true;
  }
  return true;
}

bool EventReset(WaitHandle event) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  WaitObject* o = detail::Lookup(event);
  if (!o || o->kind != WaitObject::Kind::Event) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  o->signalled = false;
  return true;
}

bool HandleClose(WaitHandle h) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  WaitObject* o = detail::Lookup(h);
  if (!o) return false;
  detail::Release(o);
  return true;
}

bool HandleDuplicate(WaitHandle source, WaitHandle* target) {
  std::lock_guard<std::mutex> g(detail::WaitLock());
  WaitObject* o = detail::Lookup(source);
  if (!o || !target) {
    if (o) SetLastError(kErrInvalidParameter);
    return false;
  }
  ++o->refs;   // one object, counted: closing either handle leaves the other valid
  *target = o;
  return true;
}

uint32_t WaitAny(uint32_t count, const WaitHandle* handles, uint32_t timeoutMs, WaitMode mode) {
  using Clock = std::chrono::steady_clock;
  // (No clock read for the waits that need none.)
  const auto deadline = timeoutMs == 0 || timeoutMs == kInfinite ? Clock::time_point{}
                                                                  : Clock::now() + std::chrono::milliseconds(timeoutMs);
  if (count == 0 && mode.pumpMessages) {
    // No message queue here: a pumping wait on nothing is a sleep.
    if (timeoutMs == kInfinite) {
      SetLastError(kErrInvalidParameter);
      return kWaitFailed;
    }
    std::mutex m;
    std::condition_variable cv;
    std::unique_lock<std::mutex> l(m);
    while (cv.wait_until(l, deadline) != std::cv_status::timeout) {
    }
    return kWaitTimeout;
  }
  if (count == 0 || count > kMaxWaitObjects || !handles) {
    SetLastError(kErrInvalidParameter);
    return kWaitFailed;
  }
  std::unique_lock<std::mutex> l(detail::WaitLock());
  detail::Waiter w;
  for (uint32_t i = 0; i < count; ++i) {
    WaitObject* o = detail::Lookup(handles[i]);
    if (!o) return kWaitFailed;
    w.objects[w.count++] = o;
  }
  for (uint32_t i = 0; i < count; ++i) {
    WaitObject* o = w.objects[i];
    if (o->signalled) {
      if (!o->manual) o->signalled = false;
      return i;
    }
  }
  if (timeoutMs == 0) return kWaitTimeout;
  for (uint32_t i = 0; i < count; ++i) {
    ++w.objects[i]->refs;   // a handle closed during the wait keeps its object until we leave
    w.objects[i]->waiters.push_back(&w);
  }
  l.unlock();
  const bool chosen = detail::Sleep(&w, timeoutMs == kInfinite ? nullptr : &deadline);
  l.lock();
  if (!chosen && w.result == detail::Waiter::kPending) {
    detail::Unlink(&w);   // nobody can choose us any more
    w.result = kWaitTimeout;
  } else if (!chosen) {
    // Chosen just as the time ran out: the setter's store to our word is a few
    // instructions away, and must land before this frame goes.
    while (w.state.load(std::memory_order_acquire) != detail::Waiter::kChosen) sched_yield();
  }
  for (uint32_t i = 0; i < count; ++i) detail::Release(w.objects[i]);
  return w.result;
}

void PumpMessages() {}

}  // namespace plat
