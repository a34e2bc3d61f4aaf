// Linux: holding the other threads of this process in a signal handler.
//
// The slots live as long as the process, so a late handler (a thread that unblocks
// the signal long after its hold gave up on it) never touches freed memory. A slot's
// owner word is (generation << 32 | thread id); the handler claims it by setting the
// claimed bit with a compare-exchange, so only the hold that signalled the thread
// and is still waiting for it can be answered; a hold that gives up on a slot takes
// the owner word back to 0 with the same compare-exchange, and so knows whether a
// handler got in first.
#include "platform/posix/thread_hold_posix.h"

#include <dirent.h>
#include <linux/futex.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>

#include "platform/posix/signal_context_posix.h"

namespace plat {
namespace {

constexpr uint64_t kClaimed = 1ull << 31;    // thread ids stay below 2^22
constexpr int64_t kHoldLimitNs = 60'000'000'000;   // a held thread's own way out
// A handler that claimed its slot only copies registers; this bounds the wait for
// it should it be stopped right there.
constexpr int64_t kClaimedLimitNs = 1'000'000'000;

std::atomic<uint64_t> g_owner[ThreadHold::kMaxThreads];
std::atomic<uint32_t> g_ready[ThreadHold::kMaxThreads];   // the generation answered (futex word)
ContextAmd64 g_context[ThreadHold::kMaxThreads];
std::atomic<uint32_t> g_count{0};
std::atomic<uint32_t> g_generation{0};   // of the hold running or last run
std::atomic<uint32_t> g_released{0};     // the last generation released (futex word)
uint32_t g_nextGeneration = 0;           // guarded by g_holdLock
pthread_mutex_t g_holdLock = PTHREAD_MUTEX_INITIALIZER;
pthread_once_t g_installOnce = PTHREAD_ONCE_INIT;
struct sigaction g_previous;
int g_signal = 0;

int64_t NowNs() {
  timespec t{};
  ::clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<int64_t>(t.tv_sec) * 1'000'000'000 + t.tv_nsec;
}

long FutexWait(std::atomic<uint32_t>* word, uint32_t seen, int64_t ns) {
  timespec t{static_cast<time_t>(ns / 1'000'000'000), static_cast<long>(ns % 1'000'000'000)};
  return ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), FUTEX_WAIT_PRIVATE, seen, &t, nullptr, 0);
}

void FutexWake(std::atomic<uint32_t>* word, int count) {
  ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

// Generations wrap; "a is b or later".
bool Reached(uint32_t a, uint32_t b) { return static_cast<int32_t>(a - b) >= 0; }

void PassOn(int sig, siginfo_t* info, void* uc) {
  // Only a handler of somebody else's: the default action of a real-time signal
  // would end the process for a signal of ours that came late.
  if (g_previous.sa_flags & SA_SIGINFO) {
    if (g_previous.sa_sigaction) g_previous.sa_sigaction(sig, info, uc);
  } else if (g_previous.sa_handler != SIG_DFL && g_previous.sa_handler != SIG_IGN) {
    g_previous.sa_handler(sig);
  }
}

void Handler(int sig, siginfo_t* info, void* ucv) {
  const int saved = errno;
  const uint32_t generation = g_generation.load(std::memory_order_acquire);
  const uint64_t tid = static_cast<uint64_t>(::syscall(SYS_gettid));
  const uint64_t mine = (static_cast<uint64_t>(generation) << 32) | tid;
  const uint32_t count = g_count.load(std::memory_order_acquire);
  bool held = false;
  if (info->si_code == SI_TKILL && info->si_pid == ::getpid()) {
    for (uint32_t i = 0; i < count && !held; ++i) {
      if (g_owner[i].load(std::memory_order_relaxed) != mine) continue;
      uint64_t expected = mine;
      if (!g_owner[i].compare_exchange_strong(expected, mine | kClaimed, std::memory_order_acq_rel)) continue;
      ContextFromSignal(static_cast<const ucontext_t*>(ucv), &g_context[i]);
      g_ready[i].store(generation, std::memory_order_release);
      FutexWake(&g_ready[i], 1);
      held = true;
    }
  }
  if (held) {
    const int64_t until = NowNs() + kHoldLimitNs;
    for (;;) {
      const uint32_t released = g_released.load(std::memory_order_acquire);
      if (Reached(released, generation)) break;
      const int64_t left = until - NowNs();
      if (left <= 0) break;
      FutexWait(&g_released, released, left);
    }
  } else if (info->si_code != SI_TKILL || info->si_pid != ::getpid()) {
    PassOn(sig, info, ucv);
  }
  errno = saved;
}

void Install() {
  g_signal = SIGRTMAX - 3;
  struct sigaction sa{};
  sa.sa_sigaction = &Handler;
  // On the alternate stack where the thread has one: a protected thread deep in its
  // stack must not overflow because of the handler's frame.
  sa.sa_flags = SA_SIGINFO | SA_RESTART | SA_ONSTACK;
  sigemptyset(&sa.sa_mask);
  ::sigaction(g_signal, &sa, &g_previous);
}

}  // namespace

std::vector<uint32_t> ThreadIdsOfProcess() {
  std::vector<uint32_t> out;
  DIR* dir = ::opendir("/proc/self/task");
  if (!dir) return out;
  while (dirent* e = ::readdir(dir)) {
    char* end = nullptr;
    const unsigned long id = std::strtoul(e->d_name, &end, 10);
    if (end != e->d_name && *end == 0 && id > 0) out.push_back(static_cast<uint32_t>(id));
  }
  ::closedir(dir);
  return out;
}

ThreadHold::ThreadHold(const std::vector<uint32_t>& threads) {
  ::pthread_once(&g_installOnce, &Install);
  ::pthread_mutex_lock(&g_holdLock);
  if (++g_nextGeneration == 0) ++g_nextGeneration;   // 0 never names a hold
  generation_ = g_nextGeneration;
  count_ = threads.size() < kMaxThreads ? threads.size() : kMaxThreads;
  threads_.assign(threads.begin(), threads.begin() + static_cast<std::ptrdiff_t>(count_));
  state_.assign(count_, 0);
  const uint32_t self = static_cast<uint32_t>(::syscall(SYS_gettid));
  for (size_t i = 0; i < count_; ++i) {
    // The calling thread would hold itself.
    const uint64_t owner = threads[i] == self ? 0 : (static_cast<uint64_t>(generation_) << 32) | threads[i];
    g_owner[i].store(owner, std::memory_order_relaxed);
    g_ready[i].store(0, std::memory_order_relaxed);
  }
  // Threads past the end of the list were left out: no handler may claim them.
  for (size_t i = count_; i < kMaxThreads && g_owner[i].load(std::memory_order_relaxed); ++i)
    g_owner[i].store(0, std::memory_order_relaxed);
  g_count.store(static_cast<uint32_t>(count_), std::memory_order_release);
  g_generation.store(generation_, std::memory_order_release);
}

ThreadHold::~ThreadHold() {
  Release();
  ::pthread_mutex_unlock(&g_holdLock);
}

void ThreadHold::Capture(int answerLimitMs) {
  if (captured_ || released_) return;
  captured_ = true;
  const pid_t pid = ::getpid();
  for (size_t i = 0; i < count_; ++i) {
    const uint64_t owner = g_owner[i].load(std::memory_order_relaxed);
    if (!owner) continue;
    if (::syscall(SYS_tgkill, pid, static_cast<pid_t>(owner & 0xFFFFFFFFu), g_signal) != 0) {
      uint64_t expected = owner;   // gone: nobody may answer for it
      g_owner[i].compare_exchange_strong(expected, 0);
      state_[i] = 2;
    }
  }
  const int64_t deadline = NowNs() + static_cast<int64_t>(answerLimitMs) * 1'000'000;
  for (size_t i = 0; i < count_; ++i) {
    int64_t limit = deadline;
    for (;;) {
      const uint32_t ready = g_ready[i].load(std::memory_order_acquire);
      if (ready == generation_) break;
      const uint64_t owner = g_owner[i].load(std::memory_order_acquire);
      if (owner == 0) break;   // gone, or given up
      const int64_t left = limit - NowNs();
      if (left <= 0) {
        uint64_t expected = owner;
        if (!(owner & kClaimed) && g_owner[i].compare_exchange_strong(expected, 0)) break;
        // Claimed: the handler is copying the registers right now; a short grace.
        if (limit != deadline) {
          g_owner[i].store(0, std::memory_order_release);
          break;
        }
        limit = NowNs() + kClaimedLimitNs;
        continue;
      }
      FutexWait(&g_ready[i], ready, left);
    }
    if (g_ready[i].load(std::memory_order_acquire) == generation_) state_[i] = 1;
  }
}

void ThreadHold::Release() {
  if (released_) return;
  released_ = true;
  // No handler may claim a slot of this hold any more.
  g_generation.store(0, std::memory_order_release);
  g_released.store(generation_, std::memory_order_release);
  FutexWake(&g_released, INT_MAX);
}

uint32_t ThreadHold::Id(size_t i) const { return threads_[i]; }

bool ThreadHold::Answered(size_t i) const { return state_[i] == 1; }

bool ThreadHold::Gone(size_t i) const { return state_[i] == 2; }

const ContextAmd64& ThreadHold::Context(size_t i) const { return g_context[i]; }

}  // namespace plat
