// Shared part of the profile load targets: loads bytes through LoadProfile over an
// in-memory file and checks what every load must leave behind.
//
// Checks: the load returns 0 or 1, and 0 only with PROF_ERR_PARSE (an in-memory
// file of 4 bytes or more always gets its lock); the tree is walkable to its
// end; every name and value is a String terminated at its length; a list item
// has an empty value, the sublist's own name, and the list it stands in as
// parent; each item knows its list and job.
#pragma once
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "file/File.h"
#include "prof/Load.h"
#include "prof/Prof.h"

namespace profloadfuzz {

inline void Require(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "invariant broken: %s\n", what);
    std::abort();
  }
}

inline void CheckString(const zx::SharedString& s) {
  const zx::String& t = s.Text();
  Require(t.Length() >= 0, "negative length");
  Require(t.wchar()[t.Length()] == 0, "string not terminated at its length");
}

// Loads `bytes` as a file's content into a fresh job and checks the result.
inline void LoadAndCheck(const std::string& bytes) {
  zx::clsProfJob* job = zx::clsProfJob::Create(0);
  if (job == nullptr) return;
  auto* file = new zx::clsFileRWTempStream();
  file->Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
  file->SetPos(0);
  const int ok = zx::LoadProfile(*job, *file);
  Require(ok == 0 || ok == 1, "load result");
  if (bytes.size() >= 4) Require(ok == 1 ? job->lastError == 0 : job->lastError == zx::prof::kErrParse, "code");
  zx::clsItemList::WalkDepthFirst(&job->rootList, [&](const zx::clsItemList* list, int, zx::clsItem* item, int) {
    Require(item->list == list && item->job == job, "item's owner");
    CheckString(item->name);
    CheckString(item->value);
    if (item->sublist) {
      Require(item->value.Length() == 0, "list item with a value");
      Require(item->sublist->name.SameAs(item->name), "list item's name");
      Require(item->sublist->parent == list, "sublist's parent");
    }
    return true;
  });
  delete file;
  job->Release();
}

}  // namespace profloadfuzz
