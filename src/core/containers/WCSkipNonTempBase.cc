// Skip-list core: the shared level chooser and the node bookkeeping.
#include "core/containers/WCSkipNonTempBase.h"

#include <atomic>
#include <cstring>
#include <new>

#include "platform/lock.h"
#include "platform/process.h"

namespace {

// The generator behind the reservoir: a 32-bit linear congruential sequence,
// 15 bits per draw from its upper half. Seeded with 1 like a fresh C runtime.
std::atomic<uint32_t> g_randomState{1};

// The reservoir shared by all skip lists of the process: random bits and the
// number of 2-bit tosses left in them. Atomics so that the unguarded reset at
// construction is no data race; the chooser itself runs under the lock.
std::atomic<uint32_t> g_bits{0};
std::atomic<int> g_tossesLeft{0};
constexpr int kTossesPerDraw = 7;

void ResetReservoir() {
  g_bits.store(WCSkipNonTempBase::RandomBits(), std::memory_order_relaxed);
  g_tossesLeft.store(kTossesPerDraw, std::memory_order_relaxed);
}

// The reservoir lock exists only on machines with two or more processors. It is
// created on first use and lives until the process ends (skip lists in static
// objects may still choose levels during exit).
plat::CriticalSection* ReservoirLock() {
  static plat::CriticalSection* const lock =
      plat::ProcessorCount() >= 2 ? new plat::CriticalSection(100) : nullptr;
  return lock;
}

}  // namespace

unsigned WCSkipNonTempBase::RandomBits() {
  uint32_t s = g_randomState.load(std::memory_order_relaxed);
  uint32_t n;
  do {
    n = s * 214013u + 2531011u;
  } while (!g_randomState.compare_exchange_weak(s, n, std::memory_order_relaxed));
  return (n >> 16) & 0x7FFF;
}

void WCSkipNonTempBase::SeedForTests(unsigned seed) {
  g_randomState.store(seed, std::memory_order_relaxed);
  ResetReservoir();
}

int WCSkipNonTempBase::ChooseLevel(uint32_t levelMask, int maxLevels) {
  int level;
  if (plat::CriticalSection* lock = ReservoirLock()) {
    plat::Lock guard(*lock);
    level = TossLevel(levelMask);
  } else {
    level = TossLevel(levelMask);   // one processor: nobody to race with
  }
  return level < maxLevels - 1 ? level : maxLevels - 1;
}

int WCSkipNonTempBase::TossLevel(uint32_t levelMask) {
  uint32_t bits = g_bits.load(std::memory_order_relaxed);
  int left = g_tossesLeft.load(std::memory_order_relaxed);
  int level = 0;
  uint32_t toss;
  do {
    toss = levelMask & bits;
    if (toss == 0) ++level;
    bits >>= 2;
    if (--left <= 0) {
      bits = RandomBits();
      left = kTossesPerDraw;
    }
  } while (toss == 0);
  g_bits.store(bits, std::memory_order_relaxed);
  g_tossesLeft.store(left, std::memory_order_relaxed);
  return level;
}

WCSkipNonTempBase::WCSkipNonTempBase(int probability, int levelCount, bool duplicates,
                                     WCSkipAllocFn alloc, WCSkipDeallocFn dealloc)
    : allowDuplicates(duplicates),
      allocFn(alloc),
      deallocFn(dealloc),
      maxLevels(levelCount < 1 ? 1 : levelCount > kMaxLevels ? kMaxLevels : levelCount),
      levelMask(probability == 1 || probability == 3 ? static_cast<uint32_t>(probability) : 3u),
      currentLevel(0),
      head(reinterpret_cast<WCSkipNode*>(headSlots)),
      count(0) {
  ResetReservoir();
  // Only maxLevels slots are ever used; the rest are zeroed too so that a move
  // never copies indeterminate pointers.
  std::memset(headSlots, 0, sizeof headSlots);
}

void WCSkipNonTempBase::TakeNodes(WCSkipNonTempBase& other) {
  // Nodes never point back at the head, so the head slots move by copy.
  std::memcpy(headSlots, other.headSlots, sizeof headSlots);
  currentLevel = other.currentLevel;
  count = other.count;
  std::memset(other.headSlots, 0, sizeof other.headSlots);
  other.currentLevel = 0;
  other.count = 0;
}

void WCSkipNonTempBase::LinkNode(WCSkipNode* node, int level, WCSkipNode** update) {
  if (level > currentLevel) {
    currentLevel = level;
    update[level] = head;
  }
  for (int i = level; i >= 0; --i) {
    Next(node, i) = Next(update[i], i);
    Next(update[i], i) = node;
  }
  ++count;
}

int WCSkipNonTempBase::UnlinkNode(WCSkipNode* node, WCSkipNode** update) {
  int i = 0;
  for (; i <= currentLevel; ++i) {
    if (Next(update[i], i) != node) break;
    Next(update[i], i) = Next(node, i);
  }
  while (currentLevel > 0 && Next(head, currentLevel) == nullptr) --currentLevel;
  --count;
  return i - 1;
}

void WCSkipNonTempBase::FreeAllNodes() {
  if (deallocFn == nullptr || currentLevel == 0) {
    // The heap needs no level; with a callback and one level in use, every node is at level 0.
    for (WCSkipNode* n = First(); n != nullptr;) {
      WCSkipNode* next = Next(n, 0);
      freeNode(n, 0);
      n = next;
    }
  } else {
    // The callback is told each node's level, which the node does not store: a
    // node is freed on the walk of its topmost level. Level i is walked side by
    // side with level i + 1; a node met on both is left for a higher walk.
    for (int i = 0; i < currentLevel; ++i) {
      WCSkipNode* above = Next(head, i + 1);
      for (WCSkipNode* n = Next(head, i); n != nullptr;) {
        WCSkipNode* next = Next(n, i);
        if (n == above) {
          above = Next(n, i + 1);
        } else {
          freeNode(n, i);
        }
        n = next;
      }
    }
    for (WCSkipNode* n = Next(head, currentLevel); n != nullptr;) {
      WCSkipNode* next = Next(n, currentLevel);
      freeNode(n, currentLevel);
      n = next;
    }
  }
  for (int i = 0; i < maxLevels; ++i) headSlots[i] = nullptr;
  currentLevel = 0;
  count = 0;
}

void WCSkipNonTempBase::AppendNode(WCSkipNode* node, int level, WCSkipNode** last) {
  if (level > currentLevel) {
    currentLevel = level;
    last[level] = head;
  }
  for (int i = 0; i <= level; ++i) {
    Next(node, i) = nullptr;
    Next(last[i], i) = node;
    last[i] = node;
  }
  ++count;
}

void* WCSkipNonTempBase::AllocBlock(size_t bytes) const {
  return allocFn ? allocFn(bytes) : ::operator new(bytes, std::nothrow);
}

void WCSkipNonTempBase::FreeBlock(void* block, int level) const {
  if (deallocFn) {
    deallocFn(block, level);
  } else {
    ::operator delete(block);
  }
}
