// One entry of an archive being written: its local header as it goes to the file,
// its encoded name, its compressed data (in a spill) and what the central
// directory needs besides.
// Threads: belongs to its archive's thread.
#pragma once
#include <cstdint>
#include <string>

#include "core/strings/String.h"
#include "packed/FileDeflate.h"
#include "platform/file.h"
#include "platform/timestamp.h"
#include "zip/ZipFormat.h"
#include "zip/ZipSpill.h"
#include "zip/ZipText.h"

namespace zx {

// MS-DOS date and time (FileTimeToDosDateTime): false, and nothing set, for a
// year before 1980 or after 2107.
bool DosDateTime(const plat::SystemTime& time, uint16_t* dosDate, uint16_t* dosTime);

class clsZIPFileEntry {
 public:
  clsZIPFileEntry(const String& name, const String& comment, scZIPSpillBudget& budget)
      : spill(budget), m_sName(name), m_sComment(comment) {}

  // Compresses `source` from its position to its end. 0 done; -2 with an ERR line
  // when the source is larger than `maxSize`, the compression failed or its result
  // is larger than `maxSize`.
  int32_t FillFromFile(clsFile& source, clsFileDeflater& deflater, uint64_t maxSize);
  // A folder: stored, no data, its name with "/" behind.
  void FillFolder(const plat::FindEntry& folder, const String& sourcePath);

  // The list compares entries: each is only ever equal to itself.
  friend bool operator==(const clsZIPFileEntry& a, const clsZIPFileEntry& b) { return &a == &b; }
  // Whether name and comment are written in UTF-8 (flag 0x0800).
  bool IsUtf8() const { return (header.flags & kZipFlagUtf8) != 0; }
  const String& Comment() const { return m_sComment; }

  scZIPLocalHeader header;
  std::string name;         // the encoded name, header.nameLength bytes
  clsZIPSpill spill;
  uint32_t attributes = 0;
  uint64_t localHeaderOffset = 0;

 private:
  // The name in code page 437 or (with the flag) UTF-8; a folder's with "/".
  void EncodeName(const String& sourceName, bool folder);

  String m_sName;
  String m_sComment;
};

}  // namespace zx
