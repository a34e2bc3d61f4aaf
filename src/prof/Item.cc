#include "prof/Item.h"

#include "prof/ItemList.h"
#include "prof/ProfJob.h"

namespace zx {

static_assert(alignof(clsItem) <= clsItemPool::kAlign, "items fit the pool's alignment");

clsItem::~clsItem() { delete sublist; }

void* clsItem::operator new(size_t size, clsProfJob* owner) noexcept {
  return size == sizeof(clsItem) ? owner->itemPool.Allocate() : nullptr;
}

void clsItem::operator delete(clsItem* item, std::destroying_delete_t) {
  if (item == nullptr) return;
  clsProfJob* owner = item->job;
  item->~clsItem();
  owner->itemPool.Free(item);
}

void clsItem::AttachList(clsItemList* l) {
  if (sublist != l) delete sublist;
  sublist = l;
  name = l->name;
  value = SharedString();
}

}  // namespace zx
