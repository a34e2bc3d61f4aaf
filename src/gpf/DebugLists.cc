// The two enumerators over one template: a circular singly linked list whose tail
// points back at the head, a cursor that walks it once per Reset.
#include "gpf/DebugLists.h"

#include <cstring>
#include <new>

namespace zx {

void CopyField(char* field, size_t size, const char* text) {
  if (!size) return;
  size_t n = text ? std::strlen(text) : 0;
  if (n >= size) n = size - 1;
  if (n) std::memcpy(field, text, n);
  field[n] = 0;
}

template <typename Item, typename Interface>
struct clsDBGList<Item, Interface>::Node {
  Item item;
  Node* next;
};

template <typename Item, typename Interface>
struct clsDBGList<Item, Interface>::Items {
  std::atomic<int> refs{1};
  Node* tail = nullptr;   // tail->next is the head
  size_t count = 0;
  ~Items() {
    if (!tail) return;
    Node* n = tail->next;
    tail->next = nullptr;
    while (n) {
      Node* next = n->next;
      delete n;
      n = next;
    }
  }
};

template <typename Item, typename Interface>
clsDBGList<Item, Interface>::clsDBGList() : items_(new Items) {}

template <typename Item, typename Interface>
clsDBGList<Item, Interface>::clsDBGList(Items* items) : items_(items) {
  items_->refs.fetch_add(1);
}

template <typename Item, typename Interface>
clsDBGList<Item, Interface>::~clsDBGList() {
  if (items_->refs.fetch_sub(1) == 1) delete items_;
}

template <typename Item, typename Interface>
bool clsDBGList<Item, Interface>::Append(const Item& item) {
  Node* n = new (std::nothrow) Node{item, nullptr};
  if (!n) return false;
  if (!items_->tail) {
    n->next = n;
  } else {
    n->next = items_->tail->next;
    items_->tail->next = n;
  }
  items_->tail = n;
  ++items_->count;
  return true;
}

template <typename Item, typename Interface>
size_t clsDBGList<Item, Interface>::Count() const { return items_->count; }

template <typename Item, typename Interface>
HRESULT ZX_COMCALL clsDBGList<Item, Interface>::QueryInterface(REFIID riid, void** ppv) {
  if (!ppv) return static_cast<HRESULT>(0x80004003L);   // E_POINTER
  if (riid == plat::kIID_IUnknown) {
    *ppv = static_cast<IUnknown*>(this);
    AddRef();
    return 0;
  }
  *ppv = nullptr;
  return static_cast<HRESULT>(0x80004002L);   // E_NOINTERFACE
}

template <typename Item, typename Interface>
ULONG ZX_COMCALL clsDBGList<Item, Interface>::AddRef() { return refs_.fetch_add(1) + 1; }

template <typename Item, typename Interface>
ULONG ZX_COMCALL clsDBGList<Item, Interface>::Release() {
  const ULONG left = refs_.fetch_sub(1) - 1;
  if (left == 0) delete this;
  return left;
}

template <typename Item, typename Interface>
bool clsDBGList<Item, Interface>::Step(Item** out) {
  if (state_ == 2 || !items_->tail) {
    state_ = 2;
    return false;
  }
  cursor_ = cursor_ ? cursor_->next : items_->tail->next;
  if (out) *out = &cursor_->item;
  if (cursor_ == items_->tail) state_ = 2;
  return true;
}

template <typename Item, typename Interface>
HRESULT ZX_COMCALL clsDBGList<Item, Interface>::Next(ULONG count, Item** items, ULONG* fetched) {
  ULONG got = 0;
  while (got < count && Step(items ? &items[got] : nullptr)) ++got;
  if (fetched) *fetched = got;
  return got == count ? 0 : 1;   // S_OK, S_FALSE
}

template <typename Item, typename Interface>
HRESULT ZX_COMCALL clsDBGList<Item, Interface>::Skip(ULONG count) {
  ULONG done = 0;
  while (done < count && Step(nullptr)) ++done;
  return done == count ? 0 : 1;
}

template <typename Item, typename Interface>
HRESULT ZX_COMCALL clsDBGList<Item, Interface>::Reset() {
  cursor_ = nullptr;
  state_ = 0;
  return 0;
}

template <typename Item, typename Interface>
HRESULT ZX_COMCALL clsDBGList<Item, Interface>::Clone(IDBGList<Item>** out) {
  if (!out) return static_cast<HRESULT>(0x80004003L);
  auto* c = new (std::nothrow) clsDBGList(items_);
  if (!c) return static_cast<HRESULT>(0x8007000EL);   // E_OUTOFMEMORY
  c->cursor_ = cursor_;
  c->state_ = state_;
  *out = c;
  return 0;
}

template <typename Item, typename Interface>
BOOL ZX_COMCALL clsDBGList<Item, Interface>::IsEmpty() { return items_->count == 0; }

template class clsDBGList<DBGStackTraceItem, IDBGStackTraceList>;
template class clsDBGList<DBGModuleItem, IDBGModuleList>;

}  // namespace zx
