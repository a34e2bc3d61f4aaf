#include "prof/Item.h"

#include "prof/ItemList.h"

namespace zx {

clsItem::~clsItem() { delete sublist; }

void clsItem::AttachList(clsItemList* l) {
  if (sublist != l) delete sublist;
  sublist = l;
  name = l->name;
  value = SharedString();
}

}  // namespace zx
