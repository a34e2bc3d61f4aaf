// Paths of the profile tree: names joined by "/". Each name before a "/" takes
// part in comparisons with its first 255 characters only (it is cut where a
// buffer of 256 characters would cut it); the last name counts at full length.
// Names compare case-sensitively, character by character.
// Threads: any thread; no state.
#pragma once
#include <cstdint>

#include "prof/ProfJob.h"

namespace zx::prof {

constexpr int64_t kPathNameLimit = 255;

struct PathName {
  const char16_t* chars;
  int64_t length;
};

// Reads a path name by name.
class PathCursor {
 public:
  explicit PathCursor(const char16_t* path);
  // True when no "/" follows: what is left is the last name.
  bool AtLastName() const;
  // The name up to the next "/" (cut to 255 characters); moves behind the "/".
  PathName NextName();
  // What is left, at full length.
  PathName Rest() const;
  const char16_t* Position() const { return p_; }

 private:
  const char16_t* p_;
  const char16_t* lastSlash_;  // null when the path has no "/"
  const char16_t* end_;        // the terminator
};

bool NameEquals(const SharedString& name, PathName n);
clsItem* FindListItem(const clsItemList* l, PathName n);
clsItem* FindValueItem(const clsItemList* l, PathName n);

// The list a get, set, append or create starts from: the root for a null list
// or a path with a leading "/" (which is then skipped), else the list.
clsItemList* StartList(clsProfJob* job, clsItemList* list, const char16_t** path);
// Walks the names before the last one, entering the first list of each name.
// With `create`, a missing list is appended. Returns the deepest list and the
// last name, or null when a list is missing (or memory ran out).
clsItemList* WalkToLastName(clsItemList* from, const char16_t* path, bool create, PathName* last);

}  // namespace zx::prof
