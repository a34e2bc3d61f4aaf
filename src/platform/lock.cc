// The waiting side of LockWord, the same on every OS: spin, nap (a throughput
// lock only), then sleep on the word.
#include "platform/lock_word.h"
#include "platform/process.h"
#include "platform/thread.h"

namespace plat {
namespace {
// A spinner looks at the word after 1, 2, 4, ... up to 64 pauses, and pauses at most
// 64 times per round of the spin count, and 8,192 times, in all (a pause is 10 to
// 150 cycles): a lock held long is not spun on for much more than 200 us. Two
// threads that pass the job lock back and forth measured fastest so: the owner
// keeps its line for dozens of short holds between two looks.
constexpr uint32_t kBackoffMax = 64;
constexpr uint32_t kPausesPerRound = 64;
constexpr uint32_t kPausesMax = 8192;
constexpr uint32_t kNaps = 5;          // of 20, 40, .. 320 us
constexpr uint32_t kNapMicros = 20;
}  // namespace

void LockWord::EnterContended(uint32_t seen) {
  static const bool spinning = ProcessorCount() > 1;   // one processor: the owner cannot run while we spin
  for (;;) {
    // Spin to twice the recent mean, so that a lock held long stops costing rounds.
    uint32_t limit = 0;
    if (spinning && spinMax_) {
      limit = 2 * spinMean_.load(std::memory_order_relaxed) + 16;
      if (limit > spinMax_) limit = spinMax_;
    }
    uint32_t backoff = 1;
    uint32_t pausesLeft = limit < kPausesMax / kPausesPerRound ? limit * kPausesPerRound : kPausesMax;
    for (uint32_t round = 0; round <= limit; ++round) {
      if (!(seen & kLocked)) {
        if (word_.compare_exchange_weak(seen, seen | kLocked, std::memory_order_acquire,
                                        std::memory_order_relaxed)) {
          const int32_t mean = static_cast<int32_t>(spinMean_.load(std::memory_order_relaxed));
          spinMean_.store(static_cast<uint32_t>(mean + (static_cast<int32_t>(round) - mean) / 8),
                          std::memory_order_relaxed);
          return;
        }
        continue;
      }
      if (round == limit || !pausesLeft) break;
      // Look at the word less often the longer it stays taken: every look pulls the
      // line away from the owner, whose next leave then has to fetch it back.
      const uint32_t pauses = backoff < pausesLeft ? backoff : pausesLeft;
      for (uint32_t i = 0; i < pauses; ++i) CpuPause();
      pausesLeft -= pauses;
      if (backoff < kBackoffMax) backoff *= 2;
      seen = word_.load(std::memory_order_relaxed);
    }
    if (limit) {
      const int32_t mean = static_cast<int32_t>(spinMean_.load(std::memory_order_relaxed));
      spinMean_.store(static_cast<uint32_t>(mean + (static_cast<int32_t>(limit) - mean) / 8),
                      std::memory_order_relaxed);
    }
    // A throughput lock: nap a few times, longer each time, without telling anyone.
    // An owner that takes the lock again and again then runs on alone and pays no
    // wake, while this thread costs nothing; a look after each nap takes the lock
    // when it is free.
    for (uint32_t nap = 0; naps_ && limit && nap < kNaps && (seen & kLocked); ++nap) {
      if (!Nap(kNapMicros << nap)) break;
      seen = word_.load(std::memory_order_relaxed);
      while (!(seen & kLocked))
        if (word_.compare_exchange_weak(seen, seen | kLocked, std::memory_order_acquire,
                                        std::memory_order_relaxed))
          return;
    }
    // Count ourselves among the sleepers of the taken lock, then sleep while the word
    // stays as it was: any leave or wake changes it.
    if (!(seen & kLocked)) continue;
    if (!word_.compare_exchange_weak(seen, seen + kSleeper, std::memory_order_relaxed,
                                     std::memory_order_relaxed))
      continue;
    WaitOnWord(word_, seen + kSleeper);
    // Awake: no longer a sleeper, and a wake that was on its way has arrived (or went
    // to another sleeper, who then clears the flag again). The lock is taken in the
    // same step when it is free.
    seen = word_.load(std::memory_order_relaxed);
    // (A taken lock keeps its bit; a free one gets ours.)
    while (!word_.compare_exchange_weak(seen, ((seen - kSleeper) & ~kWakePending) | kLocked,
                                        std::memory_order_acquire, std::memory_order_relaxed)) {
    }
    if (!(seen & kLocked)) return;
    seen = word_.load(std::memory_order_relaxed);
  }
}

void LockWord::WakeOne() {
  // One wake in flight at a time, and none while another thread holds the lock: its
  // own leave wakes then.
  uint32_t seen = word_.load(std::memory_order_relaxed);
  do {
    if (seen < kSleeper || (seen & (kWakePending | kLocked))) return;
  } while (!word_.compare_exchange_weak(seen, seen | kWakePending, std::memory_order_relaxed,
                                        std::memory_order_relaxed));
  WakeOneOnWord(word_);
}

}  // namespace plat
