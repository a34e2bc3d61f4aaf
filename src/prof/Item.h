// One node of a profile tree: a value (no sublist) or a list (sublist set, the
// value empty and the name the sublist's own shared name). Both kinds live in one
// sequence and may bear the same name.
// Threads: an item belongs to one job; the job's rule (prof/Prof.h) applies.
#pragma once
#include "prof/SharedString.h"

namespace zx {

class clsItemList;
class clsProfJob;

class clsItem {
 public:
  clsItem(clsProfJob* owner, clsItemList* holder) : job(owner), list(holder) {}
  ~clsItem();
  clsItem(const clsItem&) = delete;
  clsItem& operator=(const clsItem&) = delete;

  bool IsList() const { return sublist != nullptr; }
  // Makes this a list item holding `l` (owned from now on; a former sublist is
  // destroyed): the name becomes the list's name and the value empty.
  void AttachList(clsItemList* l);

  SharedString name;
  SharedString value;             // empty pointer: the empty string
  clsItemList* sublist = nullptr; // owned
  clsProfJob* job;
  clsItemList* list;              // the list that holds this node
};

}  // namespace zx
