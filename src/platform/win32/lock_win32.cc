// Windows: critical sections are the system's; a LockWord (the job lock) sleeps on
// its word with the system's address wait (Windows 8 and later, bound late; the
// standard library's wait on this target lost wake-ups under load). Windows 7 has
// no address wait: the sleeper looks at the word again every millisecond.
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

namespace {
struct AddressWait {
  BOOL(WINAPI* wait)(volatile VOID*, PVOID, SIZE_T, DWORD) = nullptr;
  void(WINAPI* wakeOne)(PVOID) = nullptr;
};
const AddressWait& AddressWaitApi() {
  static const AddressWait api = [] {
    AddressWait a;
    if (HMODULE lib = ::GetModuleHandleW(L"kernelbase.dll")) {
      a.wait = reinterpret_cast<decltype(a.wait)>(reinterpret_cast<void*>(::GetProcAddress(lib, "WaitOnAddress")));
      a.wakeOne =
          reinterpret_cast<decltype(a.wakeOne)>(reinterpret_cast<void*>(::GetProcAddress(lib, "WakeByAddressSingle")));
    }
    if (!a.wait || !a.wakeOne) a = AddressWait{};
    return a;
  }();
  return api;
}
}  // namespace

void WaitOnWord(std::atomic<uint32_t>& word, uint32_t expected) {
  static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t), "the word is waited on in place");
  if (const auto wait = AddressWaitApi().wait) {
    wait(reinterpret_cast<volatile VOID*>(&word), &expected, sizeof expected, INFINITE);
    return;
  }
  while (word.load(std::memory_order_relaxed) == expected) ::Sleep(1);
}
void WakeOneOnWord(std::atomic<uint32_t>& word) {
  if (const auto wake = AddressWaitApi().wakeOne) wake(reinterpret_cast<PVOID>(&word));
}

// The system's timed waits count in milliseconds, on a tick that may be 15 ms long.
bool Nap(uint32_t) { return false; }

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
