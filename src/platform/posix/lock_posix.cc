// Linux: critical sections are LockWords; a sleeper waits on the word with a futex.
#include <linux/futex.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <new>

#include "platform/lock.h"
#include "platform/lock_word.h"

namespace plat {
namespace {

static_assert(sizeof(LockWord) <= 128 && alignof(LockWord) <= 64, "CriticalSection storage too small");
LockWord& W(unsigned char* storage) { return *std::launder(reinterpret_cast<LockWord*>(storage)); }

long Futex(std::atomic<uint32_t>& word, int op, uint32_t value) {
  return ::syscall(SYS_futex, reinterpret_cast<uint32_t*>(&word), op, value, nullptr, nullptr, 0);
}

}  // namespace

void WaitOnWord(std::atomic<uint32_t>& word, uint32_t expected) { Futex(word, FUTEX_WAIT_PRIVATE, expected); }
void WakeOneOnWord(std::atomic<uint32_t>& word) { Futex(word, FUTEX_WAKE_PRIVATE, 1); }
bool Nap(uint32_t micros) {
  const timespec nap{static_cast<time_t>(micros / 1000000), static_cast<long>(micros % 1000000) * 1000};
  ::nanosleep(&nap, nullptr);
  return true;
}

CriticalSection::CriticalSection(uint32_t spinCount) { new (storage_) LockWord(spinCount); }
CriticalSection::~CriticalSection() { W(storage_).~LockWord(); }
void CriticalSection::Enter() { W(storage_).Enter(); }
bool CriticalSection::TryEnter() { return W(storage_).TryEnter(); }
void CriticalSection::Leave() { W(storage_).Leave(); }

}  // namespace plat
