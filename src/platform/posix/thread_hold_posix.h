// Linux only: the registers of other threads of this process, for the minidump.
// Each thread gets a real-time signal (SIGRTMAX - 3) by tgkill; its handler copies
// the signal's context into a slot kept for the process, publishes it (atomic store
// and futex wake) and waits on a futex until the hold is released, so that its
// stack stays as captured while the dump is written. The handler allocates nothing
// and takes no lock; it is installed once, restores errno, and hands a signal that
// is not for it to the handler found before it.
// Errors: a thread that is gone, blocks the signal or does not run within the
// answer limit is left out (Answered() false); a held thread leaves the handler by
// itself after 60 s should the hold never be released.
// Threads: one hold at a time per process (a second waits for the first to end).
// After Capture() and until Release() the caller must not allocate or take locks
// another thread may hold: every other thread may stand still holding one.
//
//   plat::ThreadHold hold(plat::ThreadIdsOfProcess());
//   hold.Capture(200);
//   for (size_t i = 0; i < hold.Count(); ++i) if (hold.Answered(i)) use(hold.Context(i));
//   hold.Release();   // also done by the destructor
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/crash_context.h"

namespace plat {

// The ids of the threads of this process (/proc/self/task), in the system's order.
std::vector<uint32_t> ThreadIdsOfProcess();

class ThreadHold {
 public:
  // The most threads one hold takes; the rest are left out.
  static constexpr size_t kMaxThreads = 512;

  // Takes the process's hold lock; `threads` must not hold the calling thread.
  explicit ThreadHold(const std::vector<uint32_t>& threads);
  ~ThreadHold();
  ThreadHold(const ThreadHold&) = delete;
  ThreadHold& operator=(const ThreadHold&) = delete;

  // Signals every thread and waits at most `answerLimitMs` for their answers.
  // Allocates nothing. Once only.
  void Capture(int answerLimitMs);
  // Lets the held threads go on. Allocates nothing. Idempotent.
  void Release();

  size_t Count() const { return count_; }
  uint32_t Id(size_t i) const;
  bool Answered(size_t i) const;
  bool Gone(size_t i) const;   // ended before it could be signalled
  const ContextAmd64& Context(size_t i) const;

 private:
  std::vector<uint32_t> threads_;
  std::vector<uint8_t> state_;   // 0 silent, 1 answered, 2 gone
  size_t count_ = 0;
  uint32_t generation_ = 0;
  bool captured_ = false;
  bool released_ = false;
};

}  // namespace plat
