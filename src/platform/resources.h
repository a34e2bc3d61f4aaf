// String resources of the library: string tables of 16 counted strings per block,
// per language. Windows: the module's real resources; Linux: the same tables
// compiled into the library.
// Errors: false when absent (for a module without resources with plat::LastError
// 1813, kErrResourceTypeNotFound).
// Threads: any thread; the tables are read-only.
//
//   std::u16string text;
//   if (plat::LoadStringResource(plat::LibraryModule(), 101, text)) ...
#pragma once
#include <cstdint>
#include <string>

namespace plat {

// Finds block id/16+1 for `langId`. Returns false when that language has no such
// block; true otherwise, with `out` empty when the block lacks the entry.
bool FindStringResource(const void* module, uint32_t id, uint16_t langId, std::u16string& out);
// LoadStringW with the thread's language fallback; false when absent.
bool LoadStringResource(const void* module, uint32_t id, std::u16string& out);
// The handle of this library's own module.
const void* LibraryModule();

}  // namespace plat
