// scStackRecord: 30 return addresses kept with a module, heap or debug object, and
// the two stack exports' printing.
#pragma once
#include <cstdint>

namespace zx {

struct scStackRecord {
  struct Entry {
    uint64_t unused0;
    uint64_t address;   // 0: empty
    uint64_t unused1;
  };
  static constexpr int kEntries = 30;
  Entry entries[kEntries];
};
static_assert(sizeof(scStackRecord) == 720, "30 entries of 24 bytes");

// Captures the caller's stack from the general allocator: entries from `skip` on
// (1 for heaps and objects, 2 for modules), counted from the caller of this
// function. Null when the allocation failed. Nothing is captured (all entries
// empty) where the system cannot capture.
scStackRecord* CaptureStackRecord(int skip);
void ReleaseStackRecord(scStackRecord* record);

// Opens a trace scope "<title> stack trace:" and prints " [called by <module>]" for
// each entry whose address lies in a module. Job lock held; debug output active.
void PrintStackRecord(const scStackRecord* record, const char16_t* title);

// UtilStackTrace: the calling thread's stack, `skip` frames skipped, at most 20
// lines of modules, through the debug exports' path (silent while output is off).
void PrintStackTrace(int skip);

// UtilListModules: the first region of each mapped module image, while debug
// output is active.
void ListModules();

}  // namespace zx
