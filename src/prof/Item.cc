#include "prof/clsItem.h"

#include "prof/clsItemList.h"

namespace zx {

clsItem::~clsItem() { delete sublist; }

void clsItem::AttachList(clsItemList* l) {
  if (sublist != l) delete sublist;
  sublist = l;
  name = l->name;
  value = SharedString();
}

}  // namespace zx
