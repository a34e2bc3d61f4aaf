// The shared buffer record of String: allocation, release with its double-release
// check, copy-on-write and growth.
#include <cstring>
#include <new>

#include "core/diag/Diag.h"
#include "core/diag/StackTraceHook.h"
#include "core/strings/String.h"
#include "platform/debugout.h"

namespace zx {
namespace {

// The plain allocator already aligns to 16 bytes on both targets (x86-64).
static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= 16, "buffer records need 16-byte alignment");

// Whether a debugger is attached, asked at the first double release:
// 0 not asked, 1 present, 2 absent.
std::atomic<int> g_debuggerState{0};

size_t BlockBytes(int64_t capacity) {
  return sizeof(scStringBuffer) + 2 * static_cast<size_t>(capacity);
}

void FreeBlock(scStringBuffer* b) {
  b->usage.~atomic();
  ::operator delete(static_cast<void*>(b));
}

}  // namespace

scStringBuffer* AllocateStringBuffer(int64_t capacity) {
  if (capacity < 1 || capacity > StringCapacityFor(kWholeString)) return nullptr;
  void* block = ::operator new(BlockBytes(capacity), std::nothrow);
  if (!block) return nullptr;
  auto* b = static_cast<scStringBuffer*>(block);
  b->chars = reinterpret_cast<char16_t*>(b + 1);
  b->capacity = capacity;
  new (&b->usage) std::atomic<int32_t>(1);
  b->chars[0] = 0;
  return b;
}

void StringBufferReleased(scStringBuffer* b, int32_t left) {
  if (left == 0) {
    FreeBlock(b);
    return;
  }
  DiagFormat(u"WRN: String buffer released twice (usage=%d)", left);
  int state = g_debuggerState.load(std::memory_order_relaxed);
  if (state == 0) {
    state = plat::DebuggerPresent() ? 1 : 2;
    g_debuggerState.store(state, std::memory_order_relaxed);
  }
  if (state == 1)
    plat::BreakIntoDebugger();
  else
    DiagStackTraceHook(50);
}

void String::Unshare(bool keepText) {
  scStringBuffer* shared = buffer;
  buffer = nullptr;
  if (keepText) {
    // Same capacity, same text; the shared block stays alive for its other owners
    // until the release below.
    buffer = AllocateStringBuffer(shared->capacity);
    if (buffer) std::memcpy(buffer->chars, shared->chars, 2 * static_cast<size_t>(length + 1));
    else length = 0;
  } else {
    length = 0;
  }
  ReleaseStringBuffer(shared);
}

bool String::Reallocate(int64_t needed, bool keepText) {
  if (needed < 0 || needed > kWholeString) return false;
  const int64_t want = StringCapacityFor(needed);
  if (buffer && buffer->capacity >= want) return true;
  scStringBuffer* fresh = AllocateStringBuffer(want);
  if (!fresh) return false;
  if (buffer) {
    if (keepText) std::memcpy(fresh->chars, buffer->chars, 2 * static_cast<size_t>(buffer->capacity));
    ReleaseStringBuffer(buffer);
  }
  if (!keepText) length = 0;
  buffer = fresh;
  return true;
}

char16_t* String::Reserve(int64_t count) {
  MakePrivate(true);
  if (!Grow(count, true)) return nullptr;
  return buffer->chars;
}

void String::SetLength(int64_t count) {
  MakePrivate(true);
  if (!buffer) {
    length = 0;
    return;
  }
  if (count < 0) count = 0;
  if (count > buffer->capacity - 1) count = buffer->capacity - 1;
  length = count;
  buffer->chars[length] = 0;
}

}  // namespace zx
