// Where one entry's compressed data waits until the archive is laid out. Small
// data stays in memory while the archive's budget lasts; the rest goes to a
// temporary file "_22_ZIP<number>.tmp" under "zarnik" in the temporary folder,
// which is closed as soon as the data is in, so that an archive of 100,000
// entries holds no descriptors open, and reopened for reading (and deletion) when
// the archive is written.
// Errors: Write and CopyTo return false; the file layer has printed why.
// Threads: one archive, and its spills, belong to one thread.
#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "core/strings/String.h"
#include "file/File.h"

namespace zx {

// The memory that the spills of one archive may keep instead of files.
struct scZIPSpillBudget {
  static constexpr uint32_t kMaxPerEntry = 64 * 1024;
  uint64_t left = 32 * 1024 * 1024;
};

// The block of the copy into the archive: up to 100 MiB, halved for as long as the
// memory cannot be had, kept for the next entry.
class clsZIPCopyBuffer {
 public:
  static constexpr uint32_t kMaxBlock = 0x6400000;
  // A buffer of `want` bytes or less (at least 1 if `want` is); *size tells how many.
  uint8_t* Get(uint64_t want, uint32_t* size);

 private:
  std::unique_ptr<uint8_t[]> m_data;
  uint32_t m_size = 0;
};

class clsZIPSpill {
 public:
  explicit clsZIPSpill(scZIPSpillBudget& budget) : m_budget(budget) {}
  ~clsZIPSpill();
  clsZIPSpill(const clsZIPSpill&) = delete;
  clsZIPSpill& operator=(const clsZIPSpill&) = delete;

  bool Write(const uint8_t* data, uint32_t size);
  // The data is complete: the file, if there is one, is closed.
  void Park();
  uint64_t Size() const { return m_size; }
  // Hands the data on in blocks (memory: in one); the file is deleted after.
  using Sink = std::function<bool(const uint8_t* data, uint32_t size)>;
  bool CopyTo(const Sink& sink, clsZIPCopyBuffer& buffer);
  // The temporary file's name; empty while the data is in memory.
  const String& FileName() const { return m_sFileName; }

 private:
  bool MoveToFile();
  void ReleaseMemory();

  scZIPSpillBudget& m_budget;
  std::vector<uint8_t> m_memory;
  bool m_bInMemory = true;
  String m_sFileName;
  clsFileRW m_file;
  uint64_t m_size = 0;
};

}  // namespace zx
