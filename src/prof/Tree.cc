// Operations on the tree as a tree: find, create, append, empty, delete, walk,
// copy and print lists.
#include <algorithm>
#include <vector>

#include "core/diag/Diag.h"
#include "core/containers/WCList.h"
#include "prof/Path.h"
#include "prof/Prof.h"

namespace zx::prof {

namespace {

clsItemList* ListOrRoot(clsProfJob* job, clsItemList* list) { return list ? list : &job->rootList; }

bool IsDotDot(const char16_t* p) { return p[0] == u'.' && p[1] == u'.' && p[2] == 0; }

// The walk of DeleteList and DeleteItem. The first name runs to the first "/"
// after its first character: a leading "/" belongs to the name and does not
// restart at the root. Lists matching a name before a "/" are searched with
// the rest; at the last name the matches are noted and removed from the last
// position to the first. Returns the number of items removed.
int32_t DeleteMatching(clsItemList* from, const char16_t* path, bool valuesAtEnd) {
  struct Step { clsItemList* list; const char16_t* path; };
  std::vector<Step> todo{{from, path}};
  int32_t removed = 0;
  while (!todo.empty()) {
    Step step = todo.back();
    todo.pop_back();
    const char16_t* slash = step.path[0] ? step.path + 1 : step.path;
    while (*slash && *slash != u'/') ++slash;
    if (*slash) {
      int64_t n = slash - step.path;
      PathName name{step.path, n < kPathNameLimit ? n : kPathNameLimit};
      const char16_t* rest = slash + 1;
      // Pushed in reverse so that lists are searched in order.
      size_t mark = todo.size();
      step.list->ForEach([&](int, clsItem* item) {
        if (item->sublist && NameEquals(item->name, name)) todo.push_back({item->sublist, rest});
        return true;
      });
      std::reverse(todo.begin() + static_cast<std::ptrdiff_t>(mark), todo.end());
      continue;
    }
    PathName name{step.path, slash - step.path};
    WCValDList<int> positions;
    step.list->ForEach([&](int i, clsItem* item) {
      bool kind = valuesAtEnd ? !item->sublist : item->sublist != nullptr;
      if (kind && NameEquals(item->name, name)) positions.append(i);
      return true;
    });
    while (!positions.isEmpty()) {
      step.list->DeleteAt(positions.getLast());
      ++removed;
    }
  }
  return removed;
}

}  // namespace

clsItemList* GetList(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (job == nullptr) return nullptr;
  clsItemList* l = StartList(job, list, &path);
  if (path == nullptr || *path == 0) return l;
  PathCursor cursor(path);
  for (;;) {
    if (IsDotDot(cursor.Position())) return l->parent;
    bool last = cursor.AtLastName();
    clsItem* found = FindListItem(l, last ? cursor.Rest() : cursor.NextName());
    if (found == nullptr) return nullptr;
    l = found->sublist;
    if (last) return l;
  }
}

clsItemList* CreateList(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (job == nullptr || path == nullptr) return nullptr;
  clsItemList* l = StartList(job, list, &path);
  PathName last;
  l = WalkToLastName(l, path, true, &last);
  if (l == nullptr) return nullptr;
  if (clsItem* found = FindListItem(l, last)) {
    found->sublist->DeleteAll();
    return found->sublist;
  }
  return l->AppendNewList(last.chars, last.length);
}

clsItemList* AppendList(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (job == nullptr || path == nullptr) return nullptr;
  clsItemList* l = StartList(job, list, &path);
  PathCursor cursor(path);
  for (bool last = false; !last;) {
    last = cursor.AtLastName();
    PathName n = last ? cursor.Rest() : cursor.NextName();
    l = l->AppendNewList(n.chars, n.length);
    if (l == nullptr) return nullptr;
  }
  return l;
}

int32_t EmptyList(clsProfJob* job, clsItemList* list) {
  if (job == nullptr) return 0;
  return ListOrRoot(job, list)->DeleteAll();
}

int32_t DeleteList(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (job == nullptr) return 0;
  clsItemList* l = ListOrRoot(job, list);
  if (path == nullptr) return job->rootList.DeleteHolderOf(l) ? 1 : 0;
  if (*path == 0) return l->DeleteAll();
  return DeleteMatching(l, path, false);
}

int32_t DeleteItem(clsProfJob* job, clsItemList* list, const char16_t* path) {
  if (job == nullptr || path == nullptr) return 0;
  return DeleteMatching(ListOrRoot(job, list), path, true);
}

int32_t Enum(clsProfJob* job, clsItemList* list, EnumCallback callback, void* context) {
  if (job == nullptr || callback == nullptr) return 0;
  // The walk runs over a snapshot that holds the texts, so a callback may change
  // the list (delete, append) without pulling items from under the walk.
  struct Entry { SharedString name, value; clsItemList* sublist; };
  std::vector<Entry> entries;
  clsItemList* l = ListOrRoot(job, list);
  entries.reserve(static_cast<size_t>(l->entries()));
  l->ForEach([&](int, clsItem* item) {
    entries.push_back({item->name, item->value, item->sublist});
    return true;
  });
  for (const Entry& e : entries)
    if (!callback(context, job, e.name.Chars(), e.value.Chars(), e.sublist)) return 0;
  return 1;
}

int32_t CopyList(clsProfJob* targetJob, clsItemList* targetList, clsProfJob* sourceJob,
                 clsItemList* sourceList) {
  if (targetJob == nullptr || sourceJob == nullptr) return kErrHandle;
  clsItemList* target = ListOrRoot(targetJob, targetList);
  const clsItemList* source = ListOrRoot(sourceJob, sourceList);
  // Copy into a detached list first, then move the copies over: a target that
  // lies inside the source (or is the source) is then copied as it was.
  clsItemList copy(targetJob);
  struct Step { const clsItemList* from; clsItemList* into; };
  std::vector<Step> todo{{source, &copy}};
  bool failed = false;
  while (!todo.empty() && !failed) {
    Step step = todo.back();
    todo.pop_back();
    step.from->ForEach([&](int, clsItem* item) {
      if (item->sublist) {
        clsItemList* made = step.into->AppendNewList(item->name);
        if (made == nullptr) return !(failed = true);
        todo.push_back({item->sublist, made});
        return true;
      }
      clsItem* c = new (targetJob) clsItem(targetJob, step.into);
      if (c == nullptr) return !(failed = true);
      c->name = targetJob->AdoptName(item->name);
      c->value = targetJob->AdoptValue(item->value);
      if (!step.into->AppendItem(c)) {
        delete c;
        return !(failed = true);
      }
      return true;
    });
  }
  while (!copy.isEmpty()) {
    clsItem* item = copy.get(0);
    if (item->sublist) item->sublist->parent = target;
    if (!target->AppendItem(item)) {
      clsItemList::DestroyItem(item);
      failed = true;
    }
  }
  return failed ? kErrMemory : kOk;
}

int32_t DebugList(clsProfJob* job, clsItemList* list) {
  if (job == nullptr) return kErrHandle;
  const clsItemList* l = ListOrRoot(job, list);
  DiagFormat(u"%*s[%s]", 0, u"", l->name.Chars());
  clsItemList::WalkDepthFirst(l, [](const clsItemList*, int, clsItem* item, int depth) {
    if (item->sublist) {
      DiagFormat(u"%*s[%s]", depth + 1, u"", item->name.Chars());
    } else {
      DiagFormat(u"%*s%s=%s", depth + 1, u"", item->name.Chars(), item->value.Chars());
    }
    return true;
  });
  return kOk;
}

}  // namespace zx::prof
