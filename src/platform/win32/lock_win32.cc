// Windows: critical sections are the system's; a LockWord (the job lock) sleeps with
// the standard library's wait on the word.
#include <windows.h>

#include <new>

#include "platform/lock.h"
#include "platform/lock_word.h"

namespace plat {
namespace {
static_assert(sizeof(CRITICAL_SECTION) <= 64, "CriticalSection storage too small");
CRITICAL_SECTION* Cs(unsigned char* storage) {
  return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}
}  // namespace

void WaitOnWord(std::atomic<uint32_t>& word, uint32_t expected) { word.wait(expected, std::memory_order_relaxed); }
void WakeOneOnWord(std::atomic<uint32_t>& word) { word.notify_one(); }

CriticalSection::CriticalSection(uint32_t spinCount) {
  auto* cs = new (storage_) CRITICAL_SECTION;
  ::InitializeCriticalSectionAndSpinCount(cs, spinCount);
}
CriticalSection::~CriticalSection() { ::DeleteCriticalSection(Cs(storage_)); }
void CriticalSection::Enter() { ::EnterCriticalSection(Cs(storage_)); }
bool CriticalSection::TryEnter() { return ::TryEnterCriticalSection(Cs(storage_)) != FALSE; }
// The system leaves a section for any caller; a thread that does not own it is
// refused here, as on Linux.
void CriticalSection::Leave() {
  CRITICAL_SECTION* cs = Cs(storage_);
  if (cs->OwningThread != reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(::GetCurrentThreadId()))) return;
  ::LeaveCriticalSection(cs);
}

}  // namespace plat
