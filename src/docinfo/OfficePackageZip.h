// The small ZIP reader of the office-package reader: it walks the central
// directory for the one entry that holds a package's properties and reads that
// entry's text. It is narrower than the format on purpose: an archive with a
// comment after its end record is not found, nor are ZIP64 archives.
// Errors: "WRN: GetZIPFilenames: ..." lines for a directory it cannot walk,
// "ERR: bad ZIP FILE ENTRY" for a local header it cannot read.
// Threads: works on the given file and its own locals only.
//
//   scZipCentralEntry entry;
//   if (FindOfficePackageEntry(file, &entry) == kOfficeOdf)
//     std::string xml = ReadZipEntryBytes(file, entry);
#pragma once
#include <cstdint>
#include <string>

#include "file/File.h"

namespace zx {

struct scZipCentralEntry {
  uint16_t flags = 0;
  uint32_t compressedSize = 0;
  uint32_t uncompressedSize = 0;
  uint32_t localHeaderOffset = 0;
};

enum eOfficePackageKind { kOfficeNone = 0, kOfficeOdf = 1, kOfficeOoxml = 2 };

// The first entry named "meta.xml" (ODF) or "docProps/core.xml" (OOXML), names
// compared without regard to case. kOfficeNone when the archive has neither or
// its directory cannot be walked (then with a warning).
eOfficePackageKind FindOfficePackageEntry(clsFile& file, scZipCentralEntry* entry);

// An entry inflates to at most this many bytes; a larger one reads as empty.
constexpr uint32_t kZipEntryTextLimit = 16u << 20;

// The entry's bytes: stored or raw-deflated data, in 1 MiB blocks. Empty for a
// bad local header, an unknown method or data beyond the limit. The file's
// position is the same afterwards.
std::string ReadZipEntryBytes(clsFile& file, const scZipCentralEntry& entry);

}  // namespace zx
