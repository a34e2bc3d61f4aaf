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
  const String& text = name.Text();
  // Equal names have equal lengths with or without case.
  if (text.Length() != n.length) return false;
  const char16_t* a = text.wchar();
  for (int64_t i = 0; i < n.length; ++i) {
    if (a[i] == n.chars[i]) continue;
    // Two ASCII characters that differ in more than case end it for any name;
    // otherwise the name's case flag decides (names are plain, case-sensitive
    // Strings, so this is false but for a case-blind one).
    auto fold = [](char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; };
    if (a[i] < 0x80 && n.chars[i] < 0x80 && fold(a[i]) != fold(n.chars[i])) return false;
    if (text.IsCaseSensitive()) return false;
    std::u16string key(n.chars, static_cast<size_t>(n.length));
    return CompareText(a, key.c_str(), -1, false, false) == 0;
  }
  return true;
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
