// Reading a ZIP archive over minizip: the entries of the central directory and the
// bytes of one entry, streamed in blocks. The archive is opened through the
// library's file layer (wide names), so any path the library can open works.
// Errors: a std::runtime_error with the message as UTF-8 text.
// Threads: one Unzipper belongs to one thread; separate objects are independent.
//
//   zipper::Unzipper zip(u"C:\\in\\a.zip");            // "Error loading zip file!"
//   for (const zipper::ZipEntry& e : zip.entries())
//     zip.extractEntry(e, [&](const void* data, size_t n) { ... });
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/strings/String.h"

namespace zipper {

// One entry of the central directory.
struct ZipEntry {
  zx::String name;               // decoded: see DecodeEntryName (zip/EntryName.h)
  std::string rawName;           // the stored bytes
  uint64_t compressedSize = 0;
  uint64_t uncompressedSize = 0;
  uint32_t crc = 0;
  uint32_t dosDate = 0;          // MS-DOS date (high word) and time (low word)
  uint16_t flag = 0;
  uint16_t method = 0;
  // Where minizip finds the entry again (unz64_file_pos).
  uint64_t posInCentralDir = 0;
  uint64_t numFile = 0;

  bool isFolder() const { return !rawName.empty() && rawName.back() == '/'; }
  bool isEncrypted() const { return (flag & 1) != 0; }
};

class Unzipper {
 public:
  // Opens the archive; "Error loading zip file!" when it can't be opened or has no
  // readable end record. An archive without entries (only its end record and
  // comment), which minizip does not open, is read as empty.
  explicit Unzipper(const zx::String& zipPath);
  ~Unzipper();
  Unzipper(const Unzipper&) = delete;
  Unzipper& operator=(const Unzipper&) = delete;

  // Calls `onEntry` for each entry from the first to the end of the central
  // directory. "Error, couln't get the current entry info" when an entry's record
  // can't be read.
  void forEachEntry(const std::function<void(const ZipEntry&)>& onEntry);
  std::vector<ZipEntry> entries();
  // The archive comment as stored (bytes).
  std::string comment() const { return comment_; }

  // Streams the entry's uncompressed bytes to `sink` in blocks of at most 256 KiB.
  // " opening internal file '<name>' in zip" (also for an encrypted entry, with
  // the reason), " reading internal file '<name>' in zip" for damaged data, and
  // " closing internal file '<name>' in zip" for a wrong CRC.
  void extractEntry(const ZipEntry& entry, const std::function<void(const void*, size_t)>& sink);

  void close();

 private:
  void* zip_ = nullptr;   // unzFile; null for an archive without entries
  std::string comment_;
  std::vector<char> block_;
};

}  // namespace zipper
