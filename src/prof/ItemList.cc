#include "prof/ItemList.h"

#include "prof/ProfJob.h"

namespace zx {

clsItemList::clsItemList(clsProfJob* owner, clsItemList* parentList, const char16_t* listName,
                         int64_t length)
    : job(owner), parent(parentList) {
  Rename(listName, length);
}

clsItemList::~clsItemList() { DeleteAll(); }

void clsItemList::Rename(const char16_t* listName, int64_t length) {
  if (listName == nullptr) listName = u"";
  if (length == kWholeString) length = static_cast<int64_t>(std::char_traits<char16_t>::length(listName));
  if (length > 0 && listName[0] == u'[') {
    ++listName;
    length = length >= 2 ? length - 2 : 0;
  }
  name = job->MakeName(listName, length);
}

bool clsItemList::AppendItem(clsItem* item) {
  item->list = this;
  return append(item);
}

namespace {
// Appends a list item holding `l`; destroys `l` and gives null on failure.
clsItemList* AppendHolder(clsItemList* into, clsItemList* l) {
  clsItem* item = l && l->name ? new (into->job) clsItem(into->job, into) : nullptr;
  if (item == nullptr) {
    delete l;
    return nullptr;
  }
  item->AttachList(l);
  if (!into->AppendItem(item)) {
    delete item;
    return nullptr;
  }
  return l;
}
}  // namespace

clsItemList* clsItemList::AppendNewList(const char16_t* listName, int64_t length) {
  return AppendHolder(this, new (std::nothrow) clsItemList(job, this, listName, length));
}

clsItemList* clsItemList::AppendNewList(const SharedString& listName) {
  clsItemList* l = new (std::nothrow) clsItemList(job);
  if (l) {
    l->parent = this;
    l->name = job->AdoptName(listName);
  }
  return AppendHolder(this, l);
}

namespace {
// Moves the sublist out of an item so that destroying the item does not recurse.
void DetachSublist(clsItem* item, std::vector<clsItemList*>& pending) {
  if (item->sublist) {
    pending.push_back(item->sublist);
    item->sublist = nullptr;
  }
}
}  // namespace

void clsItemList::DestroyItem(clsItem* item) {
  if (item == nullptr) return;
  std::vector<clsItemList*> pending;
  DetachSublist(item, pending);
  delete item;
  while (!pending.empty()) {
    clsItemList* l = pending.back();
    pending.pop_back();
    while (l->count > 0) {
      clsItem* inner = l->get(0);
      DetachSublist(inner, pending);
      delete inner;
    }
    delete l;  // empty by now
  }
}

int clsItemList::DeleteAll() {
  int n = count;
  while (count > 0) DestroyItem(get(0));
  return n;
}

void clsItemList::DeleteAt(int index) {
  if (count > 0) DestroyItem(get(index));
}

bool clsItemList::DeleteHolderOf(const clsItemList* l) {
  clsItemList* holder = nullptr;
  int position = -1;
  WalkDepthFirst(this, [&](const clsItemList* list, int index, clsItem* item, int) {
    if (item->sublist != l) return true;
    holder = const_cast<clsItemList*>(list);
    position = index;
    return false;
  });
  if (holder == nullptr) return false;
  holder->DeleteAt(position);
  return true;
}

}  // namespace zx
