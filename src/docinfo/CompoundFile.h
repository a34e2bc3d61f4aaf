// clsCompoundFile: a reader of compound files (structured storage) written from
// the published format: the 512-byte header, the DIFAT, the FAT and mini FAT,
// the directory of 128-byte entries kept as one tree of siblings per storage,
// and streams read through their sector chains. Reading only: the reader never
// writes, and holds no more than the FAT, the mini FAT and the directory.
// Errors: Open answers 0 or a negative status; a file that breaks the format
// (a sector past the end, a chain or tree that loops, a sector shift other than
// 9 or 12, more sectors than the file holds) is refused, or the one stream or
// lookup that meets the damage fails. Every walk is bounded by the number of
// sectors or entries, so no input loops or allocates beyond its own size.
// Threads: one object for one thread; the byte source is read through it.
//
//   clsCompoundFile cf;
//   if (cf.Open(std::make_unique<clsMemorySource>(bytes)) == 0) {
//     int32_t e = cf.FindChild(cf.Root(), u"\005SummaryInformation");
//     std::string data;
//     if (e >= 0 && cf.ReadStream(e, kStreamLimit, &data)) ...
//   }
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "file/File.h"

namespace zx {

// Statuses in the manner of structured storage.
constexpr int32_t kStgOk = 0;
constexpr int32_t kStgNotStorage = static_cast<int32_t>(0x80040012u);     // not a compound file
constexpr int32_t kStgFileNotFound = static_cast<int32_t>(0x80030002u);
constexpr int32_t kStgPathNotFound = static_cast<int32_t>(0x80030003u);
constexpr int32_t kStgAccessDenied = static_cast<int32_t>(0x80030005u);
constexpr int32_t kStgShareViolation = static_cast<int32_t>(0x80030020u);
constexpr int32_t kStgLockViolation = static_cast<int32_t>(0x80030021u);
constexpr int32_t kStgInvalidFlag = static_cast<int32_t>(0x800300FFu);
constexpr int32_t kStgInvalidHeader = static_cast<int32_t>(0x800300FBu);
constexpr int32_t kStgDocfileCorrupt = static_cast<int32_t>(0x80030109u);
constexpr int32_t kStgReadFault = static_cast<int32_t>(0x8003001Eu);

// The first 8 bytes of every compound file.
constexpr uint8_t kCompoundSignature[8] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};

// Random access to the bytes of a compound file.
class clsByteSource {
 public:
  virtual ~clsByteSource() = default;
  virtual uint64_t Size() const = 0;
  // Exactly `count` bytes from `offset`, or false.
  virtual bool ReadAt(uint64_t offset, void* buffer, size_t count) = 0;
};

// Bytes in memory (tests, fuzzing, benchmarks).
class clsMemorySource : public clsByteSource {
 public:
  explicit clsMemorySource(std::string bytes) : bytes_(std::move(bytes)) {}
  uint64_t Size() const override { return bytes_.size(); }
  bool ReadAt(uint64_t offset, void* buffer, size_t count) override;

 private:
  std::string bytes_;
};

// An open file, which the source then owns.
class clsFileSource : public clsByteSource {
 public:
  explicit clsFileSource(std::unique_ptr<clsFile> file);
  uint64_t Size() const override { return size_; }
  bool ReadAt(uint64_t offset, void* buffer, size_t count) override;

 private:
  std::unique_ptr<clsFile> file_;
  uint64_t size_ = 0;
};

// Object types of directory entries.
enum : uint8_t { kCfbUnused = 0, kCfbStorage = 1, kCfbStream = 2, kCfbRoot = 5 };

struct scCfbEntry {
  std::u16string name;
  uint8_t type = kCfbUnused;
  uint32_t left = 0xFFFFFFFFu, right = 0xFFFFFFFFu, child = 0xFFFFFFFFu;
  uint32_t start = 0;
  uint64_t size = 0;
};

class clsCompoundFile {
 public:
  // Reads header, FAT, mini FAT and directory. 0, kStgNotStorage for another
  // kind of file, or kStgInvalidHeader / kStgDocfileCorrupt / kStgReadFault.
  int32_t Open(std::unique_ptr<clsByteSource> source);

  int32_t Root() const { return 0; }
  const scCfbEntry& Entry(int32_t index) const { return entries_[static_cast<size_t>(index)]; }
  size_t EntryCount() const { return entries_.size(); }

  // The child of a storage with this name, compared without regard to case,
  // or -1. A damaged tree is walked as far as it goes.
  int32_t FindChild(int32_t storage, std::u16string_view name) const;
  // Every child of a storage, in tree order.
  std::vector<int32_t> Children(int32_t storage) const;

  // A stream's bytes, at most `limit` of them (a longer stream: false).
  // False for a storage, a broken chain or a read that falls short.
  bool ReadStream(int32_t entry, uint64_t limit, std::string* bytes);

 private:
  bool ReadSector(uint32_t sector, uint8_t* out);
  // The regular chain from `start`: at most `maxSectors` sectors, false on a
  // loop, a sector past the FAT, or a chain longer than allowed.
  bool Chain(uint32_t start, uint64_t maxSectors, std::vector<uint32_t>* out) const;
  bool ReadDifatAndFat(const uint8_t* header);
  bool ReadMiniFat(uint32_t start, uint32_t count);
  bool ReadDirectory(uint32_t start);
  bool ReadMiniStream(const scCfbEntry& e, uint64_t limit, std::string* bytes);

  std::unique_ptr<clsByteSource> source_;
  uint32_t sectorShift_ = 9;
  uint32_t sectorSize_ = 512;
  uint64_t sectorCount_ = 0;          // whole sectors behind the header
  std::vector<uint32_t> fat_;
  std::vector<uint32_t> miniFat_;
  std::vector<uint32_t> miniStreamChain_;  // sectors of the root's mini stream
  bool miniChainRead_ = false;
  bool miniChainOk_ = false;
  std::vector<scCfbEntry> entries_;
};

// 0 when the file at `path` begins with the compound file signature, 1 when it
// does not, else a status of the failed open (kStgFileNotFound, ...).
int32_t TestCompoundFile(const String& path);
bool IsCompoundFile(const String& path);

}  // namespace zx
