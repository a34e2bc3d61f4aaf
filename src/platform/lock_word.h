// The recursive lock of critical sections on Linux and of the job lock on every OS,
// built as the system's critical section behaves: one 32-bit word, and the owner and
// its recursion count on a cache line of their own, so that a waiter looking at the
// word never pulls away the line the owner writes. Entering a free lock is one compare-exchange and leaving
// it one atomic add; a thread that finds it taken spins a bounded number of rounds
// (fewer when spinning has lately not paid), looking at the word less and less
// often, and then sleeps on the word. A lock made with `naps` (a throughput lock,
// taken back to back by short holds) has the waiter nap a few times first (20 to
// 320 us, where the OS has so fine a timer) without telling the owner: an owner
// that takes the lock back at once runs on alone instead of handing it over on
// every leave, and the waiter burns no processor meanwhile. Leaving
// wakes one sleeper, and no other while that one has not yet run: a lock handed
// back and forth does not make every waiter run on every leave.
// Errors: a leave by a thread that does not own the lock is refused (false) and
// changes nothing.
// Threads: any; only the owner leaves. Constant-initialised, so a static one is
// there before any static initialiser runs.
//
//   constinit plat::LockWord lock(100);
//   lock.Enter(); ... lock.Leave();
#pragma once
#include <atomic>
#include <cstdint>

#include "platform/stamps.h"
#include "platform/thread_annotations.h"

namespace plat {

class ZX_CAPABILITY("mutex") LockWord {
 public:
  // spinCount: the most rounds a thread spins before it sleeps (none on a machine
  // with one processor); naps: whether it naps between the spin and the sleep.
  constexpr explicit LockWord(uint32_t spinCount = 0, bool naps = false) : spinMax_(spinCount), naps_(naps) {}
  LockWord(const LockWord&) = delete;
  LockWord& operator=(const LockWord&) = delete;

  // The analysis checks the callers; these bodies are the lock itself.
  void Enter() ZX_ACQUIRE() ZX_NO_THREAD_SAFETY_ANALYSIS {
    const uintptr_t me = ThreadToken();
    if (owner_.load(std::memory_order_relaxed) == me) {
      ++recursion_;
      return;
    }
    uint32_t seen = 0;
    if (!word_.compare_exchange_strong(seen, kLocked, std::memory_order_acquire,
                                       std::memory_order_relaxed))
      EnterContended(seen);
    owner_.store(me, std::memory_order_relaxed);
    recursion_ = 1;
  }

  bool TryEnter() ZX_TRY_ACQUIRE(true) ZX_NO_THREAD_SAFETY_ANALYSIS {
    const uintptr_t me = ThreadToken();
    if (owner_.load(std::memory_order_relaxed) == me) {
      ++recursion_;
      return true;
    }
    uint32_t seen = word_.load(std::memory_order_relaxed);
    while (!(seen & kLocked))
      if (word_.compare_exchange_weak(seen, seen | kLocked, std::memory_order_acquire,
                                      std::memory_order_relaxed)) {
        owner_.store(me, std::memory_order_relaxed);
        recursion_ = 1;
        return true;
      }
    return false;
  }

  bool Leave() ZX_RELEASE() ZX_NO_THREAD_SAFETY_ANALYSIS {
    if (owner_.load(std::memory_order_relaxed) != ThreadToken()) return false;
    if (--recursion_ != 0) return true;
    owner_.store(0, std::memory_order_relaxed);
    const uint32_t was = word_.fetch_sub(kLocked, std::memory_order_release);
    if (was >= kSleeper && !(was & kWakePending)) WakeOne();
    return true;
  }

  // Whether the calling thread owns the lock.
  bool OwnedByMe() const { return owner_.load(std::memory_order_relaxed) == ThreadToken(); }

 private:
  // The word: bit 0 taken, bit 1 a sleeper was woken and has not run yet, above
  // them the number of sleepers.
  static constexpr uint32_t kLocked = 1, kWakePending = 2, kSleeper = 4;

  void EnterContended(uint32_t seen);
  void WakeOne();

  alignas(64) std::atomic<uint32_t> word_{0};
  const uint32_t spinMax_;
  const bool naps_;
  // A running mean of the rounds that entering took lately (as the system's
  // adaptive mutex keeps it); the next spin goes to twice that, within spinMax_.
  std::atomic<uint32_t> spinMean_{0};
  alignas(64) std::atomic<uintptr_t> owner_{0};
  uint32_t recursion_ = 0;   // the owner's alone
};

// The sleep and wake on a lock word (the OS files): WaitOnWord returns when the word
// no longer holds `expected`, when woken, or spuriously.
void WaitOnWord(std::atomic<uint32_t>& word, uint32_t expected);
void WakeOneOnWord(std::atomic<uint32_t>& word);
// A nap of about `micros` that no leave cuts short (it is not on the word, whose
// wakes are meant for the sleepers): false, and no nap, where the OS has no timer
// that fine.
bool Nap(uint32_t micros);

}  // namespace plat
