// Internal: the file-fault seam. Tests install a table through which the file
// layer's opens and writes pass, to make a write stop half-way (a short write and
// then an error such as 112, disk full), fill the disk, or take a file away
// before it is opened, as the savers that write files must survive. With no table
// installed every call costs one atomic load more than the system call.
#pragma once
#include <cstdint>

#include "platform/file.h"

namespace plat {

// The system's write, which a write hook may call for the part that still fits.
using RealFileWrite = bool (*)(FileHandle h, const void* buffer, uint32_t count, uint32_t* done);

struct FileFaults {
  // Before each open, with its arguments: false fails the open with the error the
  // hook set (the hook may also remove or make the file and return true). Null:
  // every open goes to the system.
  bool (*beforeOpen)(void* ctx, const char16_t* name, uint32_t access, uint32_t disposition);
  // In place of each write: it may call `real` for part of the buffer, and then
  // fail with its own error. `done` is never null here. Null: the system's write.
  bool (*write)(void* ctx, FileHandle h, const void* buffer, uint32_t count, uint32_t* done,
                RealFileWrite real);
  void* ctx;
};

// Installs `faults` (null: the real calls again). The table must stay alive and
// unchanged until it is replaced and no file call is still inside it: tests
// install one for the length of a test.
void SetFileFaults(const FileFaults* faults);

// A ready table: writes fit until `room` bytes in all have been written (a write
// that crosses it is short and fails with `error`), and with `removeOnOpen` the
// next open's file is removed just before it is opened. Installed while it lives.
class FileFaultPlan {
 public:
  explicit FileFaultPlan(uint64_t room = ~uint64_t{0}, uint32_t error = 112);
  ~FileFaultPlan();
  FileFaultPlan(const FileFaultPlan&) = delete;
  FileFaultPlan& operator=(const FileFaultPlan&) = delete;
  void SetRoom(uint64_t room) { room_ = room; }
  void RemoveOnNextOpen() { removeOnOpen_ = true; }
  uint64_t Written() const { return written_; }   // bytes that reached files since installed

 private:
  static bool BeforeOpen(void* ctx, const char16_t* name, uint32_t access, uint32_t disposition);
  static bool Write(void* ctx, FileHandle h, const void* buffer, uint32_t count, uint32_t* done,
                    RealFileWrite real);
  FileFaults table_;
  uint64_t room_;
  uint32_t error_;
  bool removeOnOpen_ = false;
  uint64_t written_ = 0;
};

namespace detail {
// The installed table, or null (each OS's FileOpen and FileWrite ask first).
const FileFaults* InstalledFileFaults();
// Each OS's real calls.
FileHandle RealFileOpen(const char16_t* name, uint32_t access, uint32_t share, uint32_t disposition,
                        uint32_t flags);
bool RealFileWriteCall(FileHandle h, const void* buffer, uint32_t count, uint32_t* done);
}  // namespace detail

}  // namespace plat
