// A list of a profile tree: its items in the order of appending, in the circular
// singly linked list of the base (a walk starts at the successor of the tail).
// The list owns its items, each item its sublist.
// Threads: a list belongs to one job; the job's rule (prof/Prof.h) applies.
#pragma once
#include <cstdint>
#include <vector>

#include "core/containers/WCList.h"
#include "prof/Item.h"

namespace zx {

class clsItemList : public WCValSList<clsItem*> {
 public:
  // A name that begins with "[" loses its first and its last character (a section
  // line of the text format becomes a name); then it passes through the job's
  // string cache. `length` may be kWholeString.
  clsItemList(clsProfJob* owner, clsItemList* parentList, const char16_t* listName,
              int64_t length = kWholeString);
  // The root of a job: no parent, no name until the job names it with Rename.
  explicit clsItemList(clsProfJob* owner) : job(owner), parent(nullptr) {}
  // Empties the list (destroying the items and their sublists) and drops the name.
  ~clsItemList() override;

  // Renames with the rules of the constructor.
  void Rename(const char16_t* listName, int64_t length = kWholeString);

  // Appends an item this list now owns; false when no link can be made (the
  // item is then still the caller's).
  bool AppendItem(clsItem* item);
  // Makes a list item holding a new list of that name and appends it. Null when
  // memory runs out.
  clsItemList* AppendNewList(const char16_t* listName, int64_t length);
  // The same for a list that keeps `listName` as it is (a copy of another list).
  clsItemList* AppendNewList(const SharedString& listName);
  // Destroys all items; returns how many there were.
  int DeleteAll();
  // Unlinks the item at `index` (clamped) and destroys it with its sublist.
  void DeleteAt(int index);
  // Destroys an unlinked item and everything below it without recursion, so
  // that a tree of any depth can be dropped.
  static void DestroyItem(clsItem* item);
  // Unlinks the item whose sublist is `l`, searching depth-first; the item is
  // destroyed. False when no item holds `l`.
  bool DeleteHolderOf(const clsItemList* l);

  // The first item, in order, for which pred(item) holds; null when none.
  template <class Pred>
  clsItem* FindFirst(Pred pred) const {
    const WCSLink* l = First();
    for (int i = 0; i < count; ++i, l = l->next) {
      clsItem* item = static_cast<const WCNIsvSLink<clsItem*>*>(l)->data;
      if (pred(item)) return item;
    }
    return nullptr;
  }
  // Visits every item below `top` depth-first in order, each before the items of
  // its sublist: visit(list, index, item, depth) with depth 0 for the items of
  // `top`. A visit returning false ends the walk. Iterative, so any depth is safe.
  template <class Visit>
  static void WalkDepthFirst(const clsItemList* top, Visit visit) {
    struct Cursor { const clsItemList* list; const WCSLink* link; int index; };
    std::vector<Cursor> stack;
    stack.push_back({top, top->First(), 0});
    while (!stack.empty()) {
      Cursor& c = stack.back();
      if (c.index >= c.list->count) {
        stack.pop_back();
        continue;
      }
      clsItem* item = static_cast<const WCNIsvSLink<clsItem*>*>(c.link)->data;
      const clsItemList* list = c.list;
      int index = c.index++;
      c.link = c.link->next;
      if (!visit(list, index, item, static_cast<int>(stack.size()) - 1)) return;
      if (item->sublist) stack.push_back({item->sublist, item->sublist->First(), 0});
    }
  }

  // Calls f(index, item) for each item in order; stops when f returns false.
  template <class F>
  void ForEach(F f) const {
    const WCSLink* l = First();
    for (int i = 0; i < count; ++i, l = l->next)
      if (!f(i, static_cast<const WCNIsvSLink<clsItem*>*>(l)->data)) return;
  }

  SharedString name;
  clsProfJob* job;
  clsItemList* parent;  // null for the root
};

}  // namespace zx
