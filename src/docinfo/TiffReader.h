// The TIFF directory reader behind the TIFF and JPEG entries of the reader
// table: the image file directories of a TIFF file, or of the EXIF block of a
// JPEG file, turned into a fixed set of properties (title, subject, author,
// created, and a short text of shooting data and size in comments).
// Errors: lines on the diagnostic channel; a damaged directory leaves what was
// set up to it. Loops and huge directories are bounded (kTiffLimits).
// Threads: any; all state is local to one call.
//
//   ReadTiff(doc, file, 0);   // a plain TIFF file: -1 on a bad header, else 0
#pragma once
#include <cstdint>

#include "docinfo/Docu.h"

namespace zx {

// What one file may cost: directories read (the chain and EXIF directories
// together; a directory already read is not read again), and the bytes of text
// and rational values read for all entries together. Past a bound the reader
// stops as at the end of the chain, or reads further values as empty.
struct scTiffLimits {
  static constexpr uint32_t kDirectories = 256;
  static constexpr uint64_t kValueBytes = 16u << 20;
  static constexpr uint32_t kExifDepth = 4;   // an EXIF directory inside an EXIF directory
};

// The directories at `base` (the start of the TIFF header in the file). With a
// base of 0 the whole chain is read; with another base the first directory and
// its EXIF directory only. -1 on a bad header, else 0.
int ReadTiff(clsDocu& doc, clsFile& file, uint64_t base);

}  // namespace zx
