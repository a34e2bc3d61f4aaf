// Events and the wait for any of several objects, on one mutex and a condition
// variable per waiter. A setter doesn't just wake waiters to race for the signal:
// it decides under the lock who gets it (for an auto-reset event, the first waiter
// in line), so an auto-reset signal wakes exactly one thread and nobody spins.
#include <sys/time.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <unordered_set>

#include "platform/errors.h"
#include "platform/posix/wait_object_posix.h"

namespace plat {
namespace detail {

struct Waiter {
  std::condition_variable cv;
  std::vector<WaitObject*> objects;
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
  for (WaitObject* o : w->objects) {
    auto& v = o->waiters;
    v.erase(std::remove(v.begin(), v.end(), w), v.end());
  }
}

// Gives `w` the signal of `o`: its lowest index of `o` is the result.
void Satisfy(Waiter* w, WaitObject* o) {
  for (uint32_t i = 0; i < w->objects.size(); ++i)
    if (w->objects[i] == o) {
      w->result = i;
      break;
    }
  Unlink(w);
  w->cv.notify_one();
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

void SignalAll(WaitObject* object) {
  object->signalled = true;
  std::vector<Waiter*> waiting = object->waiters;
  for (Waiter* w : waiting) Satisfy(w, object);
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
  std::lock_guard<std::mutex> g(detail::WaitLock());
  WaitObject* o = detail::Lookup(event);
  if (!o || o->kind != WaitObject::Kind::Event) {
    SetLastError(kErrInvalidHandle);
    return false;
  }
  if (o->manual) {
    detail::SignalAll(o);
  } else if (!o->waiters.empty()) {
    detail::Satisfy(o->waiters.front(), o);   // consumed by that wait: stays reset
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
  const auto deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
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
  w.objects.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    WaitObject* o = detail::Lookup(handles[i]);
    if (!o) return kWaitFailed;
    w.objects.push_back(o);
  }
  for (uint32_t i = 0; i < count; ++i) {
    WaitObject* o = w.objects[i];
    if (o->signalled) {
      if (!o->manual) o->signalled = false;
      return i;
    }
  }
  if (timeoutMs == 0) return kWaitTimeout;
  for (WaitObject* o : w.objects) {
    ++o->refs;   // a handle closed during the wait keeps its object until we leave
    o->waiters.push_back(&w);
  }
  while (w.result == detail::Waiter::kPending) {
    if (timeoutMs == kInfinite) {
      w.cv.wait(l);
    } else if (w.cv.wait_until(l, deadline) == std::cv_status::timeout &&
               w.result == detail::Waiter::kPending) {
      detail::Unlink(&w);
      w.result = kWaitTimeout;
    }
  }
  for (WaitObject* o : w.objects) detail::Release(o);
  return w.result;
}

void PumpMessages() {}

}  // namespace plat
