// String values: append, set, get and length by path.
#include <cstring>

#include "prof/Path.h"
#include "prof/Prof.h"

namespace zx::prof {

namespace {

// Copies at most size - 1 characters and a terminator; nothing for size 0.
void CopyCut(char16_t* dst, int32_t size, const char16_t* src, int64_t length) {
  if (dst == nullptr || size <= 0) return;
  int64_t n = length < size - 1 ? length : size - 1;
  if (n > 0) std::memmove(dst, src, static_cast<size_t>(n) * sizeof(char16_t));
  dst[n] = 0;
}

// Appends a value item to the deepest list of the path.
void AppendValueItem(clsProfJob* job, clsItemList* l, PathName name, const char16_t* value) {
  clsItem* item = new (job) clsItem(job, l);
  if (item == nullptr) return;
  item->name = job->MakeName(name.chars, name.length);
  item->value = job->MakeValue(value, kWholeString);
  if (!item->name || !item->value || !l->AppendItem(item)) delete item;
}

}  // namespace

void AppendString(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* value) {
  if (job == nullptr) return;
  if (path == nullptr) path = u"";
  clsItemList* l = StartList(job, list, &path);
  PathName last;
  l = WalkToLastName(l, path, true, &last);
  if (l) AppendValueItem(job, l, last, value);
}

void SetString(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* value) {
  if (job == nullptr || path == nullptr || value == nullptr) return;
  clsItemList* l = StartList(job, list, &path);
  PathName last;
  l = WalkToLastName(l, path, true, &last);
  if (l == nullptr) return;
  if (clsItem* item = FindValueItem(l, last)) {
    SharedString v = job->MakeValue(value, kWholeString);
    if (v) item->value = std::move(v);
    return;
  }
  AppendValueItem(job, l, last, value);
}

clsItem* FindValue(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (path == nullptr) path = u"";
  clsItemList* l = StartList(job, list, &path);
  PathName last;
  l = WalkToLastName(l, path, false, &last);
  return l ? FindValueItem(l, last) : nullptr;
}

int32_t GetString(clsProfJob* job, clsItemList* list, const char16_t* path, char16_t* buffer,
                  int32_t size, const char16_t* def) {
  if (buffer != def) {
    if (def == nullptr) {
      CopyCut(buffer, size, u"", 0);
    } else {
      CopyCut(buffer, size, def, static_cast<int64_t>(std::char_traits<char16_t>::length(def)));
    }
  }
  if (job == nullptr) return 0;
  const clsItem* item = FindValue(job, list, path);
  if (item == nullptr) return kErrNotFound;
  CopyCut(buffer, size, item->value.Chars(), item->value.Length());
  int64_t length = item->value.Length();
  return length > INT32_MAX ? INT32_MAX : static_cast<int32_t>(length);
}

int32_t GetStringLength(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (job == nullptr) return 0;
  const clsItem* item = FindValue(job, list, path);
  if (item == nullptr) return kErrNotFound;
  int64_t length = item->value.Length();
  return length > INT32_MAX ? INT32_MAX : static_cast<int32_t>(length);
}

}  // namespace zx::prof
