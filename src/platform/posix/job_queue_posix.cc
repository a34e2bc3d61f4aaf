#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>

#include "platform/job_queue.h"

namespace plat {
namespace {

struct Queue {
  std::mutex lock;
  std::condition_variable ready;
  std::deque<void*> items;
  uint32_t waiting = 0;   // getters blocked in `ready`
  uint32_t woken = 0;     // of them, woken by a post and not yet back
};

Queue* Q(void* impl) { return static_cast<Queue*>(impl); }

}  // namespace

JobQueue::JobQueue(uint32_t) : impl_(new (std::nothrow) Queue) {}

JobQueue::~JobQueue() { delete Q(impl_); }

bool JobQueue::Post(void* item) {
  Queue* q = Q(impl_);
  if (!q) return false;
  try {
    std::lock_guard<std::mutex> guard(q->lock);
    q->items.push_back(item);
    // Notified under the lock: once a getter has the item, this call touches the
    // queue no more, so the item's owner may even end the queue at once.
    // One wake for each sleeping getter at most: a post that finds every sleeper
    // woken already leaves its item to them, and costs no call into the kernel.
    if (q->waiting > q->woken) {
      ++q->woken;
      q->ready.notify_one();
    }
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

int JobQueue::Get(void** item, uint32_t timeoutMs) {
  Queue* q = Q(impl_);
  if (!q || !item) return -1;
  std::unique_lock<std::mutex> guard(q->lock);
  if (q->items.empty()) {
    if (timeoutMs == 0) return 0;   // a look, which neither waits nor counts as a waiter
    ++q->waiting;
    const bool forever = timeoutMs == kQueueWaitInfinite;
    const auto deadline = forever ? std::chrono::steady_clock::time_point::max()
                                  : std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    bool late = false;
    while (q->items.empty() && !late) {
      if (forever)
        q->ready.wait(guard);
      else
        late = q->ready.wait_until(guard, deadline) == std::cv_status::timeout;
      // Whichever getter comes back takes one pending wake off the count, so that
      // the count never exceeds the getters still on their way.
      if (q->woken > 0) --q->woken;
    }
    --q->waiting;
    if (q->items.empty()) return 0;
  }
  *item = q->items.front();
  q->items.pop_front();
  return 1;
}

}  // namespace plat
