// Linux: the job queue as a ring of pointers under a spinning critical section,
// with a futex word for the getters that have to sleep. A post enters the kernel
// only when a getter sleeps; a getter spins a little on the item count before it
// sleeps, because a producer that is about to post is the common case of a busy
// pool, and a sleep and a wake cost several microseconds each.
#include <linux/futex.h>
#include <sched.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "platform/job_queue.h"
#include "platform/lock.h"
#include "platform/thread.h"

namespace plat {
namespace {

constexpr uint32_t kLockSpin = 200;
constexpr int kGetSpinRounds = 2000;   // pauses of a getter before it sleeps
constexpr int kGetYieldRounds = 4;
constexpr size_t kFirstRoom = 64;

struct Queue {
  CriticalSection lock{kLockSpin};
  void** ring = nullptr;   // room entries; `count` of them from `head` on, wrapping
  size_t room = 0;
  size_t head = 0;
  // Written under the lock; read without it by spinning getters.
  std::atomic<size_t> count{0};
  uint32_t sleepers = 0;   // getters between their last look and their wake-up (lock)
  uint32_t signals = 0;    // wakes sent that no sleeper has come back from yet (lock)
  // Bumped (under the lock) by a post that finds sleepers; the word they sleep on.
  alignas(64) std::atomic<uint32_t> wakes{0};

  ~Queue() { std::free(ring); }

  bool Grow() {
    const size_t bigger = room ? room * 2 : kFirstRoom;
    if (bigger < room) return false;
    void** fresh = static_cast<void**>(std::malloc(bigger * sizeof(void*)));
    if (!fresh) return false;
    const size_t n = count.load(std::memory_order_relaxed);
    for (size_t i = 0; i < n; ++i) fresh[i] = ring[(head + i) % room];
    std::free(ring);
    ring = fresh;
    room = bigger;
    head = 0;
    return true;
  }
  // Lock held; false when empty.
  bool Pop(void** item) {
    const size_t n = count.load(std::memory_order_relaxed);
    if (n == 0) return false;
    *item = ring[head];
    head = head + 1 == room ? 0 : head + 1;
    count.store(n - 1, std::memory_order_relaxed);
    return true;
  }
};

Queue* Q(void* impl) { return static_cast<Queue*>(impl); }

long Futex(std::atomic<uint32_t>* word, int op, uint32_t value, const timespec* timeout) {
  return ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), op, value, timeout, nullptr, 0);
}

timespec Now() {
  timespec t{};
  ::clock_gettime(CLOCK_MONOTONIC, &t);
  return t;
}

// The time left until `deadline`; false when it has passed.
bool Left(const timespec& deadline, timespec* left) {
  const timespec now = Now();
  int64_t ns = (deadline.tv_sec - now.tv_sec) * 1000000000LL + (deadline.tv_nsec - now.tv_nsec);
  if (ns <= 0) return false;
  left->tv_sec = ns / 1000000000LL;
  left->tv_nsec = ns % 1000000000LL;
  return true;
}

}  // namespace

JobQueue::JobQueue(uint32_t) : impl_(new (std::nothrow) Queue) {}

JobQueue::~JobQueue() { delete Q(impl_); }

bool JobQueue::Post(void* item) {
  Queue* q = Q(impl_);
  if (!q) return false;
  Lock guard(q->lock);
  const size_t n = q->count.load(std::memory_order_relaxed);
  if (n == q->room && !q->Grow()) return false;
  q->ring[(q->head + n) % q->room] = item;
  q->count.store(n + 1, std::memory_order_release);
  // Woken under the lock: once a getter has the item, this call touches the
  // queue no more, so the item's owner may even end the queue at once.
  // A sleeper already woken will take an item: only sleepers beyond the wakes
  // in flight cost a call into the kernel.
  if (q->sleepers > q->signals) {
    ++q->signals;
    q->wakes.fetch_add(1, std::memory_order_release);
    Futex(&q->wakes, FUTEX_WAKE_PRIVATE, 1, nullptr);
  }
  return true;
}

int JobQueue::Get(void** item, uint32_t timeoutMs) {
  Queue* q = Q(impl_);
  if (!q || !item) return -1;
  {
    Lock guard(q->lock);
    if (q->Pop(item)) return 1;
  }
  if (timeoutMs == 0) return 0;
  for (int i = 0; i < kGetSpinRounds && q->count.load(std::memory_order_relaxed) == 0; ++i) CpuPause();
  // Then a few turns of the processor to others: on a busy machine the producer
  // may be waiting for this very processor.
  for (int i = 0; i < kGetYieldRounds && q->count.load(std::memory_order_relaxed) == 0; ++i) ::sched_yield();

  timespec deadline{};
  if (timeoutMs != kQueueWaitInfinite) {
    deadline = Now();
    deadline.tv_sec += timeoutMs / 1000;
    deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
      deadline.tv_sec += 1;
      deadline.tv_nsec -= 1000000000L;
    }
  }
  for (;;) {
    uint32_t seen;
    {
      Lock guard(q->lock);
      if (q->Pop(item)) return 1;
      ++q->sleepers;
      seen = q->wakes.load(std::memory_order_relaxed);
    }
    timespec left{};
    const bool timed = timeoutMs != kQueueWaitInfinite;
    bool expired = timed && !Left(deadline, &left);
    if (!expired) Futex(&q->wakes, FUTEX_WAIT_PRIVATE, seen, timed ? &left : nullptr);
    Lock guard(q->lock);
    --q->sleepers;
    if (q->signals > 0) --q->signals;
    if (q->Pop(item)) return 1;
    if (expired || (timed && !Left(deadline, &left))) return 0;
  }
}

}  // namespace plat
