// The queue of the job dispatcher: an ordered queue of pointers with a blocking
// get, as an I/O completion port is used (PostQueuedCompletionStatus and
// GetQueuedCompletionStatus with key 0 and the pointer as the OVERLAPPED). Windows:
// a real completion port whose concurrency value is the worker limit. Linux: a
// mutex, a condition variable and a deque of pointers; a get wakes only when there
// is something to take, a get with no time-out only looks, and a burst of posts
// wakes each sleeping getter once.
// Errors: Post false when the queue can't take the item (out of memory, closed
// port); Get -1 on failure.
// Threads: any number of threads post and get at once.
//
//   plat::JobQueue q(2);
//   q.Post(job);
//   void* item; if (q.Get(&item, plat::kInfinite) == 1) Run(item);
#pragma once
#include <cstdint>

namespace plat {

constexpr uint32_t kQueueWaitInfinite = 0xFFFFFFFFu;

class JobQueue {
 public:
  explicit JobQueue(uint32_t concurrency);
  ~JobQueue();
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;

  bool IsValid() const { return impl_ != nullptr; }
  // Appends an item (null is an item too: the dispatcher's "leave" packet).
  bool Post(void* item);
  // 1 with the oldest item, 0 when nothing came within the time-out, -1 on failure.
  int Get(void** item, uint32_t timeoutMs);

 private:
  void* impl_ = nullptr;
};

}  // namespace plat
