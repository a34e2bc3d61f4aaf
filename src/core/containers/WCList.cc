// Link handling of the singly and doubly linked lists.
#include "core/containers/WCList.h"

void WCIsvListBase::FreeAllLinks() {
  WCSLink* l = First();
  for (int i = 0; i < count; ++i) {
    WCSLink* next = l->next;
    freeLink(l);
    l = next;
  }
  tail = nullptr;
  count = 0;
}

// ---- singly linked

void WCIsvSListBase::Append(WCSLink* link) {
  Insert(link);
  tail = link;
}

void WCIsvSListBase::Insert(WCSLink* link) {
  if (tail) {
    link->next = tail->next;
    tail->next = link;
  } else {
    link->next = link;
    tail = link;
  }
  ++count;
}

WCSLink* WCIsvSListBase::Find(int index) const {
  if (count == 0) return nullptr;
  WCSLink* l = tail->next;
  for (int i = Clamp(index); i > 0; --i) l = l->next;
  return l;
}

WCSLink* WCIsvSListBase::Unlink(int index) {
  if (count == 0) return nullptr;
  // Walk from the tail to the predecessor of the link at the index.
  WCSLink* prev = tail;
  for (int i = Clamp(index); i > 0; --i) prev = prev->next;
  WCSLink* victim = prev->next;
  if (victim == prev) {
    tail = nullptr;
  } else {
    prev->next = victim->next;
    if (victim == tail) tail = prev;
  }
  --count;
  victim->next = nullptr;
  return victim;
}

// ---- doubly linked

void WCIsvDListBase::LinkBehindTail(WCDLink* link) {
  if (tail) {
    WCDLink* last = static_cast<WCDLink*>(tail);
    WCDLink* first = static_cast<WCDLink*>(tail->next);
    link->next = first;
    link->prev = last;
    last->next = link;
    first->prev = link;
  } else {
    link->next = link;
    link->prev = link;
    tail = link;
  }
  ++count;
}

void WCIsvDListBase::Append(WCSLink* link) {
  LinkBehindTail(static_cast<WCDLink*>(link));
  tail = link;
}

void WCIsvDListBase::Insert(WCSLink* link) {
  // Between the tail and the first link: the new first link; tail stays.
  LinkBehindTail(static_cast<WCDLink*>(link));
}

WCSLink* WCIsvDListBase::Find(int index) const {
  if (count == 0) return nullptr;
  int i = Clamp(index);
  if (i < count / 2) {
    WCSLink* l = tail->next;
    for (; i > 0; --i) l = l->next;
    return l;
  }
  WCDLink* l = static_cast<WCDLink*>(tail);
  for (i = count - 1 - i; i > 0; --i) l = l->prev;
  return l;
}

WCSLink* WCIsvDListBase::Unlink(int index) {
  WCDLink* victim = static_cast<WCDLink*>(Find(index));
  if (victim == nullptr) return nullptr;
  if (victim->next == victim) {
    tail = nullptr;
  } else {
    static_cast<WCDLink*>(victim->next)->prev = victim->prev;
    victim->prev->next = victim->next;
    if (victim == tail) tail = victim->prev;
  }
  --count;
  victim->next = nullptr;
  victim->prev = nullptr;
  return victim;
}
