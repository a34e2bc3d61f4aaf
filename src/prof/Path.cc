#include "prof/Path.h"

#include <cstring>
#include <string>

namespace zx::prof {

PathCursor::PathCursor(const char16_t* path) : p_(path), lastSlash_(nullptr) {
  const char16_t* q = path;
  for (; *q; ++q)
    if (*q == u'/') lastSlash_ = q;
  end_ = q;
}

bool PathCursor::AtLastName() const { return lastSlash_ == nullptr || p_ > lastSlash_; }

PathName PathCursor::NextName() {
  const char16_t* start = p_;
  while (*p_ && *p_ != u'/') ++p_;
  int64_t n = p_ - start;
  if (*p_) ++p_;
  return {start, n < kPathNameLimit ? n : kPathNameLimit};
}

PathName PathCursor::Rest() const {
  return {p_, end_ - p_};
}

bool NameEquals(const SharedString& name, PathName n) {
  // Names are case-sensitive texts: equal in length and in every character.
  return name.View() == std::u16string_view(n.chars, static_cast<size_t>(n.length));
}

clsItem* FindListItem(const clsItemList* l, PathName n) {
  return l->FindFirst([n](const clsItem* item) { return item->sublist && NameEquals(item->name, n); });
}

clsItem* FindValueItem(const clsItemList* l, PathName n) {
  return l->FindFirst([n](const clsItem* item) { return !item->sublist && NameEquals(item->name, n); });
}

clsItemList* StartList(clsProfJob* job, clsItemList* list, const char16_t** path) {
  if (*path && **path == u'/') {
    ++*path;
    return &job->rootList;
  }
  return list ? list : &job->rootList;
}

clsItemList* WalkToLastName(clsItemList* from, const char16_t* path, bool create, PathName* last) {
  PathCursor cursor(path);
  clsItemList* l = from;
  while (!cursor.AtLastName()) {
    PathName n = cursor.NextName();
    clsItem* found = FindListItem(l, n);
    if (found) {
      l = found->sublist;
    } else if (create) {
      l = l->AppendNewList(n.chars, n.length);
      if (l == nullptr) return nullptr;
    } else {
      return nullptr;
    }
  }
  *last = cursor.Rest();
  return l;
}

}  // namespace zx::prof
