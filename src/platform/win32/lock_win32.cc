#include <windows.h>

#include <new>

#include "platform/lock.h"

namespace plat {
namespace {
static_assert(sizeof(CRITICAL_SECTION) <= 64, "CriticalSection storage too small");
CRITICAL_SECTION* Cs(unsigned char* storage) {
  return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}
}  // namespace

CriticalSection::CriticalSection(uint32_t spinCount) {
  auto* cs = new (storage_) CRITICAL_SECTION;
  ::InitializeCriticalSectionAndSpinCount(cs, spinCount);
}
CriticalSection::~CriticalSection() { ::DeleteCriticalSection(Cs(storage_)); }
void CriticalSection::Enter() { ::EnterCriticalSection(Cs(storage_)); }
bool CriticalSection::TryEnter() { return ::TryEnterCriticalSection(Cs(storage_)) != FALSE; }
void CriticalSection::Leave() { ::LeaveCriticalSection(Cs(storage_)); }

}  // namespace plat
