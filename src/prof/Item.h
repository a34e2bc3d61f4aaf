// One node of a profile tree: a value (no sublist) or a list (sublist set, the
// value empty and the name the sublist's own shared name). Both kinds live in one
// sequence and may bear the same name.
// Memory: items live in their job's item pool, made with `new (job) clsItem(job,
// list)` (null when memory runs out) and returned there by delete.
// Threads: an item belongs to one job; the job's rule (prof/Prof.h) applies.
#pragma once
#include <cstddef>
#include <new>

#include "prof/SharedString.h"

namespace zx {

class clsItemList;
class clsProfJob;

class clsItem {
 public:
  clsItem(clsProfJob* owner, clsItemList* holder) noexcept : job(owner), list(holder) {}
  static void* operator new(size_t size, clsProfJob* owner) noexcept;
  // Destroys the item and gives its block back to the pool of its job.
  void operator delete(clsItem* item, std::destroying_delete_t);
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
