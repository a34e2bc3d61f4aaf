// The WC container family, chief header: the skip-list dictionary, sets and bag
// are defined here; the linked lists, the vector and the stack come with it from
// their own headers. The containers never throw: a failed allocation leaves a
// container unchanged and is reported by the return value, and misuse yields a
// default element.
//
// Every skip list of the library is built with probability 3 (a toss succeeds
// one time in four) and 8 levels. Equal elements of a bag keep the newest first:
// an insert goes in front of the equal ones, and find/remove take the first one
// reached at level 0.
#pragma once
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

#include "core/containers/WCExcept.h"
#include "core/containers/WCKeyTraits.h"
#include "core/containers/WCList.h"
#include "core/containers/WCSkipNonTempBase.h"
#include "core/containers/WCStack.h"
#include "core/containers/WCVector.h"

template <class K, class V>
struct WCSkipListDictKeyVal {
  K key;
  V value;
  explicit WCSkipListDictKeyVal(const K& k) : key(k), value() {}
  WCSkipListDictKeyVal(const K& k, const V& v) : key(k), value(v) {}
};

// Comparison policies: the key type, the key of a payload, and the payload's
// relation to a key.
template <class T>
struct WCSkipValCompare {
  using Key = T;
  static const T& keyOf(const T& e) { return e; }
  static bool less(const T& e, const T& k) { return WCKeyTraits<T>::less(e, k); }
  static bool equal(const T& e, const T& k) { return WCKeyTraits<T>::equal(e, k); }
};

template <class K, class V>
struct WCSkipDictCompare {
  using Key = K;
  static const K& keyOf(const WCSkipListDictKeyVal<K, V>& e) { return e.key; }
  static bool less(const WCSkipListDictKeyVal<K, V>& e, const K& k) {
    return WCKeyTraits<K>::less(e.key, k);
  }
  static bool equal(const WCSkipListDictKeyVal<K, V>& e, const K& k) {
    return WCKeyTraits<K>::equal(e.key, k);
  }
};

// Pointer elements compared through the pointees (never null inside a list).
template <class T>
struct WCSkipPtrCompare {
  using Key = const T*;
  static const T* keyOf(T* const& e) { return e; }
  static bool less(T* const& e, const T* k) { return WCKeyTraits<T>::less(*e, *k); }
  static bool equal(T* const& e, const T* k) { return WCKeyTraits<T>::equal(*e, *k); }
};

// The payload of a node of payload type T lies this far before the node pointer.
template <class T>
constexpr size_t WCSkipPayloadSpace =
    (sizeof(T) + alignof(WCSkipNode*) - 1) & ~(alignof(WCSkipNode*) - 1);

template <class T>
T& WCSkipPayload(WCSkipNode* node) {
  return *std::launder(reinterpret_cast<T*>(reinterpret_cast<char*>(node) - WCSkipPayloadSpace<T>));
}

template <class T, class Cmp = WCSkipValCompare<T>>
class WCSkipListBase : public WCSkipNonTempBase {
  static_assert(alignof(T) <= alignof(std::max_align_t), "node payload alignment");

 public:
  using Key = typename Cmp::Key;
  static constexpr size_t kPayloadSpace = WCSkipPayloadSpace<T>;

  ~WCSkipListBase() override { FreeAllNodes(); }

  // Destroys all nodes; currentLevel and count return to 0.
  void clear() { FreeAllNodes(); }

 protected:
  WCSkipListBase(int probability, int levelCount, bool duplicates, WCSkipAllocFn alloc,
                 WCSkipDeallocFn dealloc)
      : WCSkipNonTempBase(probability, levelCount, duplicates, alloc, dealloc) {}
  // A copy has the other list's parameters and copies of its elements in the
  // same order. If a node cannot be allocated the copy stays empty.
  WCSkipListBase(const WCSkipListBase& other)
      : WCSkipNonTempBase(static_cast<int>(other.levelMask), other.maxLevels, other.allowDuplicates,
                          other.allocFn, other.deallocFn) {
    CopyNodes(other);
  }
  WCSkipListBase(WCSkipListBase&& other) noexcept
      : WCSkipNonTempBase(static_cast<int>(other.levelMask), other.maxLevels, other.allowDuplicates,
                          other.allocFn, other.deallocFn) {
    TakeNodes(other);
  }
  // Assignment builds the copy first: if that fails the target is unchanged.
  void Assign(const WCSkipListBase& other) {
    if (this == &other) return;
    WCSkipListBase copy(other);
    if (copy.count != other.count) return;
    MoveAssign(copy);
  }
  void MoveAssign(WCSkipListBase& other) {
    if (this == &other) return;
    FreeAllNodes();
    allocFn = other.allocFn;
    deallocFn = other.deallocFn;
    maxLevels = other.maxLevels;
    levelMask = other.levelMask;
    allowDuplicates = other.allowDuplicates;
    TakeNodes(other);
  }

  // The virtual slots. Within this class they are called by qualified name, so
  // the hot paths need no dispatch.
  bool equal(const WCSkipNode* node, const void* key) const final {
    return Cmp::equal(Payload(node), *static_cast<const Key*>(key));
  }
  bool less(const WCSkipNode* node, const void* key) const final {
    return Cmp::less(Payload(node), *static_cast<const Key*>(key));
  }
  WCSkipNode* allocNode(const void* element, int level) final {
    return NewNode(level, *static_cast<const T*>(element));
  }
  void freeNode(WCSkipNode* node, int level) final {
    Payload(node).~T();
    FreeBlock(reinterpret_cast<char*>(node) - kPayloadSpace, level);
  }
  WCSkipNode* insertCopy(const void* element) final {
    return InsertElement(*static_cast<const T*>(element));
  }

  static T& Payload(WCSkipNode* node) { return WCSkipPayload<T>(node); }
  static const T& Payload(const WCSkipNode* node) {
    return WCSkipPayload<T>(const_cast<WCSkipNode*>(node));
  }

  // A node of the given level with its payload built from args; null when the
  // memory or the payload's construction fails.
  template <class... A>
  WCSkipNode* NewNode(int level, A&&... args) {
    char* block = static_cast<char*>(AllocBlock(NodeBytes(kPayloadSpace, level)));
    if (block == nullptr) return nullptr;
    try {
      ::new (static_cast<void*>(block)) T(std::forward<A>(args)...);
    } catch (...) {
      FreeBlock(block, level);
      return nullptr;
    }
    return reinterpret_cast<WCSkipNode*>(block + kPayloadSpace);
  }

  // Candidate for key (see Search); update may be null.
  WCSkipNode* SearchKey(const Key& key, WCSkipNode** update) const {
    return Search([this, &key](const WCSkipNode* n) { return WCSkipListBase::less(n, &key); },
                  update, kPayloadSpace);
  }
  bool IsMatch(const WCSkipNode* candidate, const Key& key) const {
    return candidate != nullptr && WCSkipListBase::equal(candidate, &key);
  }
  WCSkipNode* FindNode(const Key& key) const {
    WCSkipNode* c = SearchKey(key, nullptr);
    return IsMatch(c, key) ? c : nullptr;
  }

  // Links a new node built from args behind the positions of a search.
  template <class... A>
  WCSkipNode* InsertAt(WCSkipNode** update, A&&... args) {
    int level = LevelForNewNode();
    WCSkipNode* node = NewNode(level, std::forward<A>(args)...);
    if (node != nullptr) LinkNode(node, level, update);
    return node;
  }
  // Inserts a copy; null when the key exists in a list without duplicates or
  // the node cannot be made.
  WCSkipNode* InsertElement(const T& element) {
    WCSkipNode* update[kMaxLevels];
    const Key& key = Cmp::keyOf(element);
    WCSkipNode* c = SearchKey(key, update);
    if (!allowDuplicates && IsMatch(c, key)) return nullptr;
    return InsertAt(update, element);
  }
  // Unlinks the first node with the key; the caller frees it with *level.
  WCSkipNode* UnlinkKey(const Key& key, int* level) {
    WCSkipNode* update[kMaxLevels];
    WCSkipNode* c = SearchKey(key, update);
    if (!IsMatch(c, key)) return nullptr;
    *level = UnlinkNode(c, update);
    return c;
  }
  bool RemoveKey(const Key& key) {
    int level;
    WCSkipNode* node = UnlinkKey(key, &level);
    if (node == nullptr) return false;
    WCSkipListBase::freeNode(node, level);
    return true;
  }
  // The payloads of the equal nodes, starting at the first.
  unsigned CountKey(const Key& key) const {
    unsigned n = 0;
    for (WCSkipNode* c = FindNode(key); c != nullptr && WCSkipListBase::equal(c, &key);
         c = Next(c, 0))
      ++n;
    return n;
  }

 private:
  void CopyNodes(const WCSkipListBase& other) {
    WCSkipNode* last[kMaxLevels];
    for (WCSkipNode*& l : last) l = head;
    for (WCSkipNode* n = other.First(); n != nullptr; n = Next(n, 0)) {
      int level = LevelForNewNode();
      WCSkipNode* node = NewNode(level, Payload(n));
      if (node == nullptr) {
        FreeAllNodes();
        return;
      }
      AppendNode(node, level, last);
    }
  }
};

// Skip-list base that keeps equal elements.
template <class T, class Cmp = WCSkipValCompare<T>>
class WCSkipListDuplicatesBase : public WCSkipListBase<T, Cmp> {
 protected:
  using Base = WCSkipListBase<T, Cmp>;
  WCSkipListDuplicatesBase(int probability, int levelCount, WCSkipAllocFn alloc,
                           WCSkipDeallocFn dealloc)
      : Base(probability, levelCount, true, alloc, dealloc) {}
  WCSkipListDuplicatesBase(const WCSkipListDuplicatesBase&) = default;
  WCSkipListDuplicatesBase(WCSkipListDuplicatesBase&&) = default;
};

// Sorted bag of values; equal elements are kept, the newest first.
template <class T>
class WCValSkipList : public WCSkipListDuplicatesBase<T> {
  using Base = WCSkipListBase<T>;

 public:
  explicit WCValSkipList(int probability = WCSkipNonTempBase::kDefaultProbability,
                         int levelCount = WCSkipNonTempBase::kDefaultLevels,
                         WCSkipAllocFn alloc = nullptr, WCSkipDeallocFn dealloc = nullptr)
      : WCSkipListDuplicatesBase<T>(probability, levelCount, alloc, dealloc) {}
  WCValSkipList(const WCValSkipList&) = default;
  WCValSkipList(WCValSkipList&&) noexcept = default;
  WCValSkipList& operator=(const WCValSkipList& o) { this->Assign(o); return *this; }
  WCValSkipList& operator=(WCValSkipList&& o) noexcept { this->MoveAssign(o); return *this; }

  bool insert(const T& element) { return this->InsertElement(element) != nullptr; }
  bool contains(const T& element) const { return this->FindNode(element) != nullptr; }
  // The first equal element reached at level 0.
  bool find(const T& element, T& result) const {
    WCSkipNode* n = this->FindNode(element);
    if (n == nullptr) return false;
    result = Base::Payload(n);
    return true;
  }
  unsigned occurrencesOf(const T& element) const { return this->CountKey(element); }
  // Removes the first equal element.
  bool remove(const T& element) { return this->RemoveKey(element); }
  unsigned removeAll(const T& element) {
    unsigned n = 0;
    while (this->RemoveKey(element)) ++n;
    return n;
  }
};

// Sorted set of values.
template <class T>
class WCValSkipListSet : public WCSkipListBase<T> {
  using Base = WCSkipListBase<T>;

 public:
  explicit WCValSkipListSet(int probability = WCSkipNonTempBase::kDefaultProbability,
                            int levelCount = WCSkipNonTempBase::kDefaultLevels,
                            WCSkipAllocFn alloc = nullptr, WCSkipDeallocFn dealloc = nullptr)
      : Base(probability, levelCount, false, alloc, dealloc) {}
  WCValSkipListSet(const WCValSkipListSet&) = default;
  WCValSkipListSet(WCValSkipListSet&&) noexcept = default;
  WCValSkipListSet& operator=(const WCValSkipListSet& o) { this->Assign(o); return *this; }
  WCValSkipListSet& operator=(WCValSkipListSet&& o) noexcept { this->MoveAssign(o); return *this; }

  // False when an equal element exists (it stays) or on allocation failure.
  bool insert(const T& element) { return this->InsertElement(element) != nullptr; }
  bool contains(const T& element) const { return this->FindNode(element) != nullptr; }
  bool find(const T& element, T& result) const {
    WCSkipNode* n = this->FindNode(element);
    if (n == nullptr) return false;
    result = Base::Payload(n);
    return true;
  }
  bool remove(const T& element) { return this->RemoveKey(element); }
};

// Sorted set of pointers, compared through the pointees. The set does not own
// the pointees unless clearAndDestroy is called. Null pointers are refused.
template <class T>
class WCPtrSkipListBase : public WCSkipListBase<T*, WCSkipPtrCompare<T>> {
  using Base = WCSkipListBase<T*, WCSkipPtrCompare<T>>;

 public:
  bool insert(T* element) { return element != nullptr && this->InsertElement(element) != nullptr; }
  bool contains(const T* element) const { return find(element) != nullptr; }
  // The element that equals *element, or null.
  T* find(const T* element) const {
    if (element == nullptr) return nullptr;
    WCSkipNode* n = this->FindNode(element);
    return n ? Base::Payload(n) : nullptr;
  }
  // Unlinks the element that equals *element and returns it (not deleted), or null.
  T* remove(const T* element) {
    if (element == nullptr) return nullptr;
    int level;
    WCSkipNode* n = this->UnlinkKey(element, &level);
    if (n == nullptr) return nullptr;
    T* result = Base::Payload(n);
    this->freeNode(n, level);
    return result;
  }
  // Deletes every pointee, then clears.
  void clearAndDestroy() {
    for (WCSkipNode* n = this->First(); n != nullptr; n = WCSkipNonTempBase::Next(n, 0))
      delete Base::Payload(n);
    this->clear();
  }

 protected:
  WCPtrSkipListBase(int probability, int levelCount, bool duplicates, WCSkipAllocFn alloc,
                    WCSkipDeallocFn dealloc)
      : Base(probability, levelCount, duplicates, alloc, dealloc) {}
  WCPtrSkipListBase(const WCPtrSkipListBase&) = default;
  WCPtrSkipListBase(WCPtrSkipListBase&&) = default;
};

template <class T>
class WCPtrSkipListSet : public WCPtrSkipListBase<T> {
 public:
  explicit WCPtrSkipListSet(int probability = WCSkipNonTempBase::kDefaultProbability,
                            int levelCount = WCSkipNonTempBase::kDefaultLevels,
                            WCSkipAllocFn alloc = nullptr, WCSkipDeallocFn dealloc = nullptr)
      : WCPtrSkipListBase<T>(probability, levelCount, false, alloc, dealloc) {}
  WCPtrSkipListSet(const WCPtrSkipListSet&) = default;
  WCPtrSkipListSet(WCPtrSkipListSet&&) noexcept = default;
  WCPtrSkipListSet& operator=(const WCPtrSkipListSet& o) { this->Assign(o); return *this; }
  WCPtrSkipListSet& operator=(WCPtrSkipListSet&& o) noexcept { this->MoveAssign(o); return *this; }
};

// Sorted dictionary; each key at most once.
template <class K, class V>
class WCValSkipListDict : public WCSkipListBase<WCSkipListDictKeyVal<K, V>, WCSkipDictCompare<K, V>> {
  using KeyVal = WCSkipListDictKeyVal<K, V>;
  using Base = WCSkipListBase<KeyVal, WCSkipDictCompare<K, V>>;

 public:
  explicit WCValSkipListDict(int probability = WCSkipNonTempBase::kDefaultProbability,
                             int levelCount = WCSkipNonTempBase::kDefaultLevels,
                             WCSkipAllocFn alloc = nullptr, WCSkipDeallocFn dealloc = nullptr)
      : Base(probability, levelCount, false, alloc, dealloc) {}
  WCValSkipListDict(const WCValSkipListDict&) = default;
  WCValSkipListDict(WCValSkipListDict&&) noexcept = default;
  WCValSkipListDict& operator=(const WCValSkipListDict& o) { this->Assign(o); return *this; }
  WCValSkipListDict& operator=(WCValSkipListDict&& o) noexcept { this->MoveAssign(o); return *this; }

  // False when the key exists (its value stays) or on allocation failure.
  bool insert(const K& key, const V& value) {
    WCSkipNode* update[WCSkipNonTempBase::kMaxLevels];
    WCSkipNode* c = this->SearchKey(key, update);
    if (this->IsMatch(c, key)) return false;
    return this->InsertAt(update, key, value) != nullptr;
  }
  bool contains(const K& key) const { return this->FindNode(key) != nullptr; }
  bool find(const K& key, V& value) const {
    WCSkipNode* n = this->FindNode(key);
    if (n == nullptr) return false;
    value = Base::Payload(n).value;
    return true;
  }
  bool findKeyAndValue(const K& key, K& foundKey, V& value) const {
    WCSkipNode* n = this->FindNode(key);
    if (n == nullptr) return false;
    foundKey = Base::Payload(n).key;
    value = Base::Payload(n).value;
    return true;
  }
  bool remove(const K& key) { return this->RemoveKey(key); }
  // The value of the key, inserted with a default value when missing. If that
  // insertion fails, a per-thread default value stands in.
  V& operator[](const K& key) {
    WCSkipNode* update[WCSkipNonTempBase::kMaxLevels];
    WCSkipNode* c = this->SearchKey(key, update);
    if (!this->IsMatch(c, key)) c = this->InsertAt(update, key);
    return c ? Base::Payload(c).value : WCDefaultElement<V>();
  }
  const V& operator[](const K& key) const {
    WCSkipNode* n = this->FindNode(key);
    return n ? Base::Payload(n).value : WCDefaultElement<V>();
  }
};

// ---- iterators

// Walks level 0. State 1: before the first step; 0: at an element; 2: past the end.
class WCSkipListIterBase : public WCIterExcept {
 public:
  bool operator++() { return Step(); }
  bool operator()() { return Step(); }
  void reset() {
    node = nullptr;
    state = 1;
  }

 protected:
  WCSkipListIterBase() = default;
  explicit WCSkipListIterBase(const WCSkipNonTempBase& l) : list(&l) {}
  void Attach(const WCSkipNonTempBase* l) {
    list = l;
    reset();
  }
  bool Step() {
    if (list == nullptr || state == 2) return false;
    node = state == 1 ? list->First() : WCSkipNonTempBase::Next(node, 0);
    state = node ? 0 : 2;
    return node != nullptr;
  }
  bool AtElement() const { return state == 0 && node != nullptr; }

  const WCSkipNonTempBase* list = nullptr;
  WCSkipNode* node = nullptr;
  int state = 1;
};

// Iterator over a value set, a bag or a pointer set (T is then the pointer).
template <class T>
class WCValSkipListSetIter : public WCSkipListIterBase {
 public:
  WCValSkipListSetIter() = default;
  template <class Cmp>
  explicit WCValSkipListSetIter(const WCSkipListBase<T, Cmp>& l) : WCSkipListIterBase(l) {}
  template <class Cmp>
  void reset(const WCSkipListBase<T, Cmp>& l) { Attach(&l); }
  using WCSkipListIterBase::reset;
  // The current element; a default one when not at an element.
  T current() const { return AtElement() ? WCSkipPayload<T>(node) : T{}; }
};

template <class K, class V>
class WCValSkipListDictIter : public WCSkipListIterBase {
  using KeyVal = WCSkipListDictKeyVal<K, V>;

 public:
  WCValSkipListDictIter() = default;
  explicit WCValSkipListDictIter(const WCValSkipListDict<K, V>& d) : WCSkipListIterBase(d) {}
  void reset(const WCValSkipListDict<K, V>& d) { Attach(&d); }
  using WCSkipListIterBase::reset;
  const WCValSkipListDict<K, V>* container() const {
    return static_cast<const WCValSkipListDict<K, V>*>(list);
  }
  // Key and value of the current entry; defaults when not at an entry.
  K key() const { return AtElement() ? WCSkipPayload<KeyVal>(node).key : K{}; }
  V value() const { return AtElement() ? WCSkipPayload<KeyVal>(node).value : V{}; }
};
