// Saving a profile to a file by name, or to the exclusive job's own open file.
//
// The file on disk is at every moment either the old profile or the new one: the
// new image is made in memory, the file is opened without truncating, the part
// that grows the file is written first (a full disk shows there, before any old
// byte is touched), then the old bytes are overwritten and the end is set last.
// When a write fails half-way the old bytes, read before, are put back. All of it
// happens under a byte lock at offset 0, which loaders take too.
// Errors: 0 (also for a null job), or kErrSave (-3) with a diagnostic line.
// Threads: the job's rule (prof/Prof.h).
//
//   int rc = prof::ProfSave(job, u"settings.prf", PROF_FMT_XML);
#pragma once
#include <cstdint>

namespace zx {
class clsProfJob;
}

namespace zx::prof {

// Selector bits beyond the format (the low 4 bits, see FormatOfFlags).
enum : uint32_t { kSaveCompressed = 0x40, kSaveKeepCompressed = 0x80 };

// Whether a save with `flags` writes the compressed form: kSaveCompressed, or
// kSaveKeepCompressed on a job whose profile came in compressed.
bool WantsCompressed(const clsProfJob& job, uint32_t flags);

// name null: the job's own file for an exclusive job that holds one, else its
// fileName.
int32_t ProfSave(clsProfJob* job, const char16_t* name, uint32_t flags);

}  // namespace zx::prof
