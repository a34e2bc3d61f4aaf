// Singly and doubly linked lists of the WC family, and their iterators.
//
// A list is circular with a tail pointer: tail->next is the first link, so both
// append (at the tail) and insert (at the front) take constant time. get(index)
// removes and returns an element, clamping the index into the list; an empty
// list yields a default element.
// Threads: a list is used by one thread at a time; its owner locks a shared one.
#pragma once
#include <cstddef>
#include <new>
#include <utility>

#include "core/containers/WCExcept.h"
#include "core/containers/WCKeyTraits.h"

struct WCSLink {
  WCSLink* next = nullptr;
};
struct WCDLink : WCSLink {
  WCDLink* prev = nullptr;
};

// Non-intrusive links: the link fields followed by the element.
template <class T>
struct WCNIsvSLink : WCSLink {
  T data;
  template <class... A>
  explicit WCNIsvSLink(A&&... args) : data(std::forward<A>(args)...) {}
};
template <class T>
struct WCNIsvDLink : WCDLink {
  T data;
  template <class... A>
  explicit WCNIsvDLink(A&&... args) : data(std::forward<A>(args)...) {}
};

// Link memory callbacks: allocFn gets the size, deallocFn the block and its size.
using WCListAllocFn = void* (*)(size_t bytes);
using WCListDeallocFn = void (*)(void* block, size_t bytes);

// Core of all lists: the tail and the count, and what needs no element type.
class WCIsvListBase : public WCExcept {
 public:
  int entries() const { return count; }
  bool isEmpty() const { return count == 0; }

 protected:
  WCIsvListBase() = default;
  ~WCIsvListBase() override = default;
  void TakeLinks(WCIsvListBase& other) {
    tail = other.tail;
    count = other.count;
    other.tail = nullptr;
    other.count = 0;
  }

  // Virtual slots after the destructor, in this order.
  virtual void freeLink(WCSLink* link) = 0;
  virtual bool equal(const WCSLink* link, const void* element) const = 0;

  WCSLink* First() const { return tail ? tail->next : nullptr; }
  // The index clamped into [0, count - 1].
  int Clamp(int index) const { return index < 0 ? 0 : index >= count ? count - 1 : index; }
  // Frees all links through freeLink; the list is empty afterwards.
  void FreeAllLinks();

  WCSLink* tail = nullptr;
  int count = 0;

  friend class WCListIterBase;
};

// Singly linked operations.
class WCIsvSListBase : public WCIsvListBase {
 protected:
  void Append(WCSLink* link);
  void Insert(WCSLink* link);
  // The link at the clamped index, or null when empty.
  WCSLink* Find(int index) const;
  // Unlinks the link at the clamped index; null when empty.
  WCSLink* Unlink(int index);
};

// Doubly linked operations; walks by index start at the nearer end.
class WCIsvDListBase : public WCIsvListBase {
 protected:
  void Append(WCSLink* link);
  void Insert(WCSLink* link);
  WCSLink* Find(int index) const;
  WCSLink* Unlink(int index);

 private:
  void LinkBehindTail(WCDLink* link);
};

template <class T>
struct WCListValEqual {
  static bool equal(const T& a, const T& b) { return WCKeyTraits<T>::equal(a, b); }
};
// Pointer elements compare through the pointees; a null pointer equals only null.
template <class T>
struct WCListPtrEqual {
  static bool equal(T* const& a, T* const& b) {
    if (a == nullptr || b == nullptr) return a == b;
    return WCKeyTraits<T>::equal(*a, *b);
  }
};

// The typed list over a singly or doubly linked base.
template <class T, class IsvBase, class Link, class Eq = WCListValEqual<T>>
class WCValListBase : public IsvBase {
 public:
  ~WCValListBase() override { this->FreeAllLinks(); }

  // Adds at the tail; false when no link can be made (the list is unchanged).
  bool append(const T& element) { return Add(element, true); }
  // Adds at the front; false when no link can be made.
  bool insert(const T& element) { return Add(element, false); }
  // Removes and returns the element at the clamped index; a default element
  // when the list is empty.
  T get(int index = 0) {
    WCSLink* l = this->Unlink(index);
    if (l == nullptr) return T{};
    T result(std::move(static_cast<Link*>(l)->data));
    freeLink(l);
    return result;
  }
  T getLast() { return get(this->count - 1); }
  // The element at the clamped index without removing it; default when empty.
  T find(int index = 0) const {
    WCSLink* l = this->Find(index);
    return l ? static_cast<Link*>(l)->data : T{};
  }
  T findLast() const { return this->tail ? static_cast<Link*>(this->tail)->data : T{}; }
  // Position of the first equal element, -1 when missing.
  int index(const T& element) const {
    int i = 0;
    for (WCSLink* l = this->First(); i < this->count; l = l->next, ++i)
      if (WCValListBase::equal(l, &element)) return i;
    return -1;
  }
  bool contains(const T& element) const { return index(element) >= 0; }
  unsigned occurrencesOf(const T& element) const {
    unsigned n = 0;
    int i = 0;
    for (WCSLink* l = this->First(); i < this->count; l = l->next, ++i)
      if (WCValListBase::equal(l, &element)) ++n;
    return n;
  }
  // Frees all links; the elements' destructors run.
  void clear() { this->FreeAllLinks(); }

 protected:
  explicit WCValListBase(WCListAllocFn alloc = nullptr, WCListDeallocFn dealloc = nullptr)
      : allocFn(alloc), deallocFn(dealloc) {}
  // A copy holds copies of the other list's elements in order; if a link cannot
  // be made it stays empty.
  WCValListBase(const WCValListBase& other) : IsvBase(), allocFn(other.allocFn), deallocFn(other.deallocFn) {
    CopyLinks(other);
  }
  WCValListBase(WCValListBase&& other) noexcept
      : IsvBase(), allocFn(other.allocFn), deallocFn(other.deallocFn) {
    this->TakeLinks(other);
  }
  void Assign(const WCValListBase& other) {
    if (this == &other) return;
    WCValListBase copy(other);
    if (copy.count != other.count) return;  // unchanged on failure
    MoveAssign(copy);
  }
  void MoveAssign(WCValListBase& other) {
    if (this == &other) return;
    this->FreeAllLinks();
    allocFn = other.allocFn;
    deallocFn = other.deallocFn;
    this->TakeLinks(other);
  }

  void freeLink(WCSLink* link) final {
    Link* l = static_cast<Link*>(link);
    l->~Link();
    if (deallocFn) {
      deallocFn(l, sizeof(Link));
    } else {
      ::operator delete(l);
    }
  }
  bool equal(const WCSLink* link, const void* element) const final {
    return Eq::equal(static_cast<const Link*>(link)->data, *static_cast<const T*>(element));
  }

  WCListAllocFn allocFn;
  WCListDeallocFn deallocFn;

 private:
  Link* NewLink(const T& element) {
    void* block = allocFn ? allocFn(sizeof(Link)) : ::operator new(sizeof(Link), std::nothrow);
    if (block == nullptr) return nullptr;
    try {
      return ::new (block) Link(element);
    } catch (...) {
      if (deallocFn) {
        deallocFn(block, sizeof(Link));
      } else {
        ::operator delete(block);
      }
      return nullptr;
    }
  }
  bool Add(const T& element, bool atTail) {
    Link* l = NewLink(element);
    if (l == nullptr) return false;
    if (atTail) {
      this->Append(l);
    } else {
      this->Insert(l);
    }
    return true;
  }
  void CopyLinks(const WCValListBase& other) {
    int i = 0;
    for (WCSLink* l = other.First(); i < other.count; l = l->next, ++i) {
      if (!append(static_cast<Link*>(l)->data)) {
        this->FreeAllLinks();
        return;
      }
    }
  }
};

template <class T>
class WCValSList : public WCValListBase<T, WCIsvSListBase, WCNIsvSLink<T>> {
  using Base = WCValListBase<T, WCIsvSListBase, WCNIsvSLink<T>>;

 public:
  explicit WCValSList(WCListAllocFn alloc = nullptr, WCListDeallocFn dealloc = nullptr)
      : Base(alloc, dealloc) {}
  WCValSList(const WCValSList&) = default;
  WCValSList(WCValSList&&) noexcept = default;
  WCValSList& operator=(const WCValSList& o) { this->Assign(o); return *this; }
  WCValSList& operator=(WCValSList&& o) noexcept { this->MoveAssign(o); return *this; }
};

template <class T>
class WCValDList : public WCValListBase<T, WCIsvDListBase, WCNIsvDLink<T>> {
  using Base = WCValListBase<T, WCIsvDListBase, WCNIsvDLink<T>>;

 public:
  explicit WCValDList(WCListAllocFn alloc = nullptr, WCListDeallocFn dealloc = nullptr)
      : Base(alloc, dealloc) {}
  WCValDList(const WCValDList&) = default;
  WCValDList(WCValDList&&) noexcept = default;
  WCValDList& operator=(const WCValDList& o) { this->Assign(o); return *this; }
  WCValDList& operator=(WCValDList&& o) noexcept { this->MoveAssign(o); return *this; }
};

// A list of pointers; index() and contains() compare the pointees. The list does
// not own the pointees unless clearAndDestroy is called.
template <class T>
class WCPtrSList : public WCValListBase<T*, WCIsvSListBase, WCNIsvSLink<T*>, WCListPtrEqual<T>> {
  using Base = WCValListBase<T*, WCIsvSListBase, WCNIsvSLink<T*>, WCListPtrEqual<T>>;

 public:
  explicit WCPtrSList(WCListAllocFn alloc = nullptr, WCListDeallocFn dealloc = nullptr)
      : Base(alloc, dealloc) {}
  WCPtrSList(const WCPtrSList&) = default;
  WCPtrSList(WCPtrSList&&) noexcept = default;
  WCPtrSList& operator=(const WCPtrSList& o) { this->Assign(o); return *this; }
  WCPtrSList& operator=(WCPtrSList&& o) noexcept { this->MoveAssign(o); return *this; }

  // Deletes every pointee, then clears.
  void clearAndDestroy() {
    int i = 0;
    for (WCSLink* l = this->First(); i < this->count; l = l->next, ++i)
      delete static_cast<WCNIsvSLink<T*>*>(l)->data;
    this->clear();
  }
};

// ---- iterators

// State 1: before the first step; 0: at a link; 2: past the tail.
class WCListIterBase : public WCIterExcept {
 public:
  bool operator++() { return Step(); }
  bool operator()() { return Step(); }
  void reset() {
    link = nullptr;
    state = 1;
  }

 protected:
  WCListIterBase() = default;
  explicit WCListIterBase(const WCIsvListBase& l) : list(&l) {}
  void Attach(const WCIsvListBase* l) {
    list = l;
    reset();
  }
  bool Step() {
    if (list == nullptr || state == 2) return false;
    if (state == 1) {
      link = list->First();
    } else {
      link = link == list->tail ? nullptr : link->next;
    }
    state = link ? 0 : 2;
    return link != nullptr;
  }
  bool AtElement() const { return state == 0 && link != nullptr; }

  const WCIsvListBase* list = nullptr;
  WCSLink* link = nullptr;
  int state = 1;
};

// Typed access to the current element of a list of type List with links Link.
template <class T, class List, class Link>
class WCValListIterBase : public WCListIterBase {
 public:
  const List* container() const { return static_cast<const List*>(list); }
  void reset(const List& l) { Attach(&l); }
  using WCListIterBase::reset;

 protected:
  WCValListIterBase() = default;
  explicit WCValListIterBase(const List& l) : WCListIterBase(l) {}
  // The current element, or a default element when not at one.
  T& Current() const { return AtElement() ? static_cast<Link*>(link)->data : WCDefaultElement<T>(); }
};

// Iterators that may change the current element in place.
template <class T>
class WCValSListIter : public WCValListIterBase<T, WCValSList<T>, WCNIsvSLink<T>> {
 public:
  WCValSListIter() = default;
  explicit WCValSListIter(WCValSList<T>& l) : WCValListIterBase<T, WCValSList<T>, WCNIsvSLink<T>>(l) {}
  T& current() const { return this->Current(); }
};
template <class T>
class WCValDListIter : public WCValListIterBase<T, WCValDList<T>, WCNIsvDLink<T>> {
 public:
  WCValDListIter() = default;
  explicit WCValDListIter(WCValDList<T>& l) : WCValListIterBase<T, WCValDList<T>, WCNIsvDLink<T>>(l) {}
  T& current() const { return this->Current(); }
};
template <class T>
class WCPtrSListIter : public WCValListIterBase<T*, WCPtrSList<T>, WCNIsvSLink<T*>> {
 public:
  WCPtrSListIter() = default;
  explicit WCPtrSListIter(WCPtrSList<T>& l) : WCValListIterBase<T*, WCPtrSList<T>, WCNIsvSLink<T*>>(l) {}
  T* current() const { return this->Current(); }
};

// Read-only iterators.
template <class T>
class WCValConstSListIter : public WCValListIterBase<T, WCValSList<T>, WCNIsvSLink<T>> {
 public:
  WCValConstSListIter() = default;
  explicit WCValConstSListIter(const WCValSList<T>& l)
      : WCValListIterBase<T, WCValSList<T>, WCNIsvSLink<T>>(l) {}
  const T& current() const { return this->Current(); }
};
template <class T>
class WCValConstDListIter : public WCValListIterBase<T, WCValDList<T>, WCNIsvDLink<T>> {
 public:
  WCValConstDListIter() = default;
  explicit WCValConstDListIter(const WCValDList<T>& l)
      : WCValListIterBase<T, WCValDList<T>, WCNIsvDLink<T>>(l) {}
  const T& current() const { return this->Current(); }
};
template <class T>
class WCPtrConstSListIter : public WCValListIterBase<T*, WCPtrSList<T>, WCNIsvSLink<T*>> {
 public:
  WCPtrConstSListIter() = default;
  explicit WCPtrConstSListIter(const WCPtrSList<T>& l)
      : WCValListIterBase<T*, WCPtrSList<T>, WCNIsvSLink<T*>>(l) {}
  const T* current() const { return this->Current(); }
};
