// Private heaps on Windows: the system's heap functions. Validation, compaction,
// walking and locking are looked up in kernel32 at run time.
#include <windows.h>

#include "platform/heap.h"

namespace plat {
namespace {

using ValidateFn = BOOL(WINAPI*)(HANDLE, DWORD, LPCVOID);
using CompactFn = SIZE_T(WINAPI*)(HANDLE, DWORD);
using WalkFn = BOOL(WINAPI*)(HANDLE, LPPROCESS_HEAP_ENTRY);
using LockFn = BOOL(WINAPI*)(HANDLE);

struct LateBound {
  ValidateFn validate = nullptr;
  CompactFn compact = nullptr;
  WalkFn walk = nullptr;
  LockFn lock = nullptr;
  LockFn unlock = nullptr;
};

const LateBound& Kernel() {
  static const LateBound fns = [] {
    LateBound f;
    HMODULE k = ::GetModuleHandleW(L"kernel32.dll");
    if (!k) return f;
    f.validate = reinterpret_cast<ValidateFn>(reinterpret_cast<void*>(::GetProcAddress(k, "HeapValidate")));
    f.compact = reinterpret_cast<CompactFn>(reinterpret_cast<void*>(::GetProcAddress(k, "HeapCompact")));
    f.walk = reinterpret_cast<WalkFn>(reinterpret_cast<void*>(::GetProcAddress(k, "HeapWalk")));
    f.lock = reinterpret_cast<LockFn>(reinterpret_cast<void*>(::GetProcAddress(k, "HeapLock")));
    f.unlock = reinterpret_cast<LockFn>(reinterpret_cast<void*>(::GetProcAddress(k, "HeapUnlock")));
    return f;
  }();
  return fns;
}

SysHeap Create(uint32_t options, size_t initialSize, size_t maximumSize) {
  return ::HeapCreate(options, initialSize, maximumSize);
}
bool Destroy(SysHeap heap) { return heap && ::HeapDestroy(heap) != FALSE; }
void* Alloc(SysHeap heap, uint32_t flags, size_t size) {
  return heap ? ::HeapAlloc(heap, flags, size) : nullptr;
}
bool Free(SysHeap heap, uint32_t flags, void* block) {
  return heap && ::HeapFree(heap, flags, block) != FALSE;
}
size_t Size(SysHeap heap, uint32_t flags, const void* block) {
  return heap ? ::HeapSize(heap, flags, block) : kHeapBadBlock;
}
bool Validate(SysHeap heap, uint32_t flags, const void* block) {
  return heap && Kernel().validate(heap, flags, block) != FALSE;
}
size_t Compact(SysHeap heap, uint32_t flags) { return heap ? Kernel().compact(heap, flags) : 0; }
bool Walk(SysHeap heap, HeapWalkFn fn, void* context) {
  if (!heap) return false;
  PROCESS_HEAP_ENTRY e{};
  e.lpData = nullptr;
  while (Kernel().walk(heap, &e)) {
    HeapWalkEntry entry{e.lpData, e.cbData, (e.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0};
    if (!fn(context, entry)) break;
  }
  return true;
}
bool LockHeap(SysHeap heap) { return heap && Kernel().lock(heap) != FALSE; }
bool UnlockHeap(SysHeap heap) { return heap && Kernel().unlock(heap) != FALSE; }

}  // namespace

const HeapServices& SystemHeapServices() {
  static const HeapServices services = [] {
    const LateBound& k = Kernel();
    HeapServices s{&Create, &Destroy, &Alloc, &Free, &Size, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
    if (k.validate) s.validate = &Validate;
    if (k.compact) s.compact = &Compact;
    if (k.walk) s.walk = &Walk;
    if (k.lock) s.lock = &LockHeap;
    if (k.unlock) s.unlock = &UnlockHeap;
    return s;
  }();
  return services;
}

// ReadProcessMemory on our own process fails instead of faulting.
bool MemoryReadable(const void* at, size_t n) {
  unsigned char scratch[256];
  auto* from = static_cast<const unsigned char*>(at);
  while (n > 0) {
    const size_t piece = n < sizeof scratch ? n : sizeof scratch;
    SIZE_T got = 0;
    if (!ReadProcessMemory(GetCurrentProcess(), from, scratch, piece, &got) || got != piece) return false;
    n -= piece;
    from += piece;
  }
  return true;
}

}  // namespace plat
