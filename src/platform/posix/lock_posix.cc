// Linux: critical sections on a recursive pthread mutex. With a spin count, Enter first
// retries the try-lock that often (on machines with two or more processors) before
// it blocks, as the system's critical section spins before it waits.
#include <pthread.h>
#include <sched.h>

#include <new>

#include "platform/lock.h"
#include "platform/process.h"

namespace plat {
namespace {

struct State {
  pthread_mutex_t mutex;
  uint32_t spin;
};
static_assert(sizeof(State) <= 64, "CriticalSection storage too small");

State& S(unsigned char* storage) { return *std::launder(reinterpret_cast<State*>(storage)); }

inline void CpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#endif
}

}  // namespace

CriticalSection::CriticalSection(uint32_t spinCount) {
  State* s = new (storage_) State;
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&s->mutex, &attr);
  pthread_mutexattr_destroy(&attr);
  s->spin = ProcessorCount() > 1 ? spinCount : 0;
}

CriticalSection::~CriticalSection() {
  State& s = S(storage_);
  pthread_mutex_destroy(&s.mutex);
  s.~State();
}

void CriticalSection::Enter() {
  State& s = S(storage_);
  for (uint32_t i = 0; i < s.spin; ++i) {
    if (pthread_mutex_trylock(&s.mutex) == 0) return;
    CpuRelax();
  }
  pthread_mutex_lock(&s.mutex);
}

bool CriticalSection::TryEnter() { return pthread_mutex_trylock(&S(storage_).mutex) == 0; }

void CriticalSection::Leave() { pthread_mutex_unlock(&S(storage_).mutex); }

}  // namespace plat
