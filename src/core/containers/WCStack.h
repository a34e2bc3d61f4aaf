// The stack of the WC family: an adapter over a singly linked list whose front
// is the top.
// Threads: a stack is used by one thread at a time.
#pragma once
#include "core/containers/WCList.h"

template <class T, class List = WCValSList<T>>
class WCStack : private List {
 public:
  explicit WCStack(WCListAllocFn alloc = nullptr, WCListDeallocFn dealloc = nullptr)
      : List(alloc, dealloc) {}

  // False when no link can be made; the stack is unchanged.
  bool push(const T& element) { return List::insert(element); }
  // Removes the top with get(0): a default element when empty.
  T pop() { return List::get(0); }
  // The top without removing it; a default element when empty.
  T top() const { return List::find(0); }
  using List::clear;
  using List::entries;
  using List::exceptions;
  using List::isEmpty;
};
