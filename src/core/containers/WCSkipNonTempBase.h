// The non-template core of every skip list: the object fields, the level
// chooser with its process-wide random reservoir, the top-down search, and the
// linking, unlinking and clearing of nodes. The element type is opaque here.
//
// Node layout: the payload, then level + 1 forward pointers. A node pointer
// addresses the first forward pointer, so the head (headSlots) is a node without
// payload and the payload of a real node lies at a fixed negative offset.
// Threads: a list is used by one thread at a time; only the level chooser is
// process-wide, behind its own lock.
#pragma once
#include <cstddef>
#include <cstdint>

#include "core/containers/WCExcept.h"
#include "platform/compiler.h"

struct WCSkipNode;  // opaque: always used through its forward pointers

// Node memory callbacks. allocFn gets the block size in bytes; deallocFn gets
// the block and the node's level (its size is NodeBytes(payload, level)).
using WCSkipAllocFn = void* (*)(size_t bytes);
using WCSkipDeallocFn = void (*)(void* block, int level);

class WCSkipNonTempBase : public WCExcept {
 public:
  static constexpr int kMaxLevels = 20;
  static constexpr int kDefaultProbability = 3;
  static constexpr int kDefaultLevels = 8;

  unsigned entries() const { return count; }
  bool isEmpty() const { return count == 0; }
  int levels() const { return maxLevels; }          // maxLevels
  int levelInUse() const { return currentLevel; }    // currentLevel
  uint32_t probabilityMask() const { return levelMask; }

  // Size of a node block: the payload space plus 8 bytes per forward pointer.
  static constexpr size_t NodeBytes(size_t payloadSpace, int level) {
    return payloadSpace + sizeof(WCSkipNode*) * static_cast<size_t>(level + 1);
  }

  // The process-wide level choice: coin tosses of levelMask over the reservoir,
  // limited to maxLevels - 1.
  static int ChooseLevel(uint32_t levelMask, int maxLevels);
  static int TossLevel(uint32_t levelMask);   // ChooseLevel's draw, under the reservoir lock
  // Puts the process-wide generator behind the reservoir into a known state and
  // resets the reservoir, so that tests see reproducible node levels.
  static void SeedForTests(unsigned seed);
  // One draw of the process-wide generator: 15 random bits.
  static unsigned RandomBits();

 protected:
  WCSkipNonTempBase(int probability, int levelCount, bool duplicates, WCSkipAllocFn alloc,
                    WCSkipDeallocFn dealloc);
  // The derived template destroys the nodes (it knows the payload); by then
  // the list is empty.
  ~WCSkipNonTempBase() override = default;
  // Takes over the other list's nodes and leaves it empty.
  void TakeNodes(WCSkipNonTempBase& other);

  // Virtual slots after the destructor, in this order.
  virtual bool equal(const WCSkipNode* node, const void* key) const = 0;
  virtual bool less(const WCSkipNode* node, const void* key) const = 0;
  virtual WCSkipNode* allocNode(const void* element, int level) = 0;
  virtual void freeNode(WCSkipNode* node, int level) = 0;
  virtual WCSkipNode* insertCopy(const void* element) = 0;

  static WCSkipNode*& Next(WCSkipNode* node, int level) {
    return reinterpret_cast<WCSkipNode**>(node)[level];
  }
  static WCSkipNode* Next(const WCSkipNode* node, int level) {
    return reinterpret_cast<WCSkipNode* const*>(node)[level];
  }
  WCSkipNode* First() const { return Next(head, 0); }
  static void Prefetch(const WCSkipNode* n, size_t payloadSpace) {
    if (n) ZX_PREFETCH(reinterpret_cast<const char*>(n) - payloadSpace);
  }

  // Top-down search. lessThanKey(node) tells whether the node's key is less
  // than the wanted one. When update is given, update[i] receives the last node
  // at level i that is less. Returns the candidate: the first node at level 0
  // that is not less (the match if there is one), or null.
  //
  // The walk is a chain of dependent loads. At each node it asks the memory for
  // the node one level down, where the walk continues when it stops here, so
  // that this miss overlaps the horizontal ones; payloadSpace tells where that
  // node's payload (the key) begins.
  template <class LessThanKey>
  WCSkipNode* Search(const LessThanKey& lessThanKey, WCSkipNode** update,
                     size_t payloadSpace) const {
    WCSkipNode* x = head;
    const WCSkipNode* notLess = nullptr;  // the node that ended the walk one level up
    for (int i = currentLevel; i >= 0; --i) {
      WCSkipNode* n;
      if (i > 0) Prefetch(Next(x, i - 1), payloadSpace);
      while ((n = Next(x, i)) != nullptr && n != notLess && lessThanKey(n)) {
        x = n;
        if (i > 0) Prefetch(Next(x, i - 1), payloadSpace);
      }
      notLess = n;
      if (update) update[i] = x;
    }
    return Next(x, 0);
  }

  // Level for a new node: the chosen level, raised above currentLevel by one at
  // most. The list is not touched, so a failing allocation changes nothing.
  int LevelForNewNode() const {
    int level = ChooseLevel(levelMask, maxLevels);
    return level > currentLevel ? currentLevel + 1 : level;
  }
  // Links a node of that level behind the positions noted by Search.
  void LinkNode(WCSkipNode* node, int level, WCSkipNode** update);
  // Unlinks a node found by Search; returns the node's level.
  int UnlinkNode(WCSkipNode* node, WCSkipNode** update);
  // Frees every node through freeNode and empties the list.
  void FreeAllNodes();
  // Appends a node behind all others; last[] holds the current last node per
  // level and starts as the head (used when copying in order).
  void AppendNode(WCSkipNode* node, int level, WCSkipNode** last);

  // Node memory through allocFn or the heap. Null on failure.
  void* AllocBlock(size_t bytes) const;
  void FreeBlock(void* block, int level) const;

  WCSkipNode* headSlots[kMaxLevels];
  bool allowDuplicates;
  WCSkipAllocFn allocFn;
  WCSkipDeallocFn deallocFn;
  int maxLevels;
  uint32_t levelMask;
  int currentLevel;
  WCSkipNode* head;
  uint32_t count;

  friend class WCSkipListIterBase;
};
