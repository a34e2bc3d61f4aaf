// Named blocks of memory shared between processes, the recursive mutex whose handle
// sits in such a block, and memory any copy of the library in a process may free.
//
// Names follow the system's object namespace: "Local\X" and plain "X" are private
// to the session (Windows) or the user (Linux); "Global\X" is machine-wide.
// Windows: page-file mappings with a null DACL (CreateFileMappingW, OpenFileMappingW).
// Linux: POSIX shared memory named "/zxut22.<uid>.X" (or "/zxut22.global.X"; the
// variable ZXUT_SHM_PREFIX replaces "zxut22", so that tests stay apart), with a
// small header in front of the caller's bytes that records the creating process and
// its start time. A block whose creator has ended counts as absent for an open, and
// is taken over (counted as new) by the next create, so a stale block of a dead
// process is never mistaken for a live one. The name stays after its creator ends,
// like a Windows mapping that somebody still holds, so a restarted publisher takes
// over the very block that clients keep mapped.
// Errors: false or null with plat::LastError set, as said at each call.
// Threads: one SharedBlock object is used by one thread at a time; what lives in a
// block is shared with other processes, so its words are read and written through
// plat::SharedLoad and plat::SharedStore (platform/compiler.h) or std::atomic.
//
//   plat::SharedBlock block; bool existed = false;
//   if (block.Create(u"Local\\MyBlock", 64, &existed)) Use(block.View());
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace plat {

class SharedBlock {
 public:
  SharedBlock() = default;
  ~SharedBlock();
  SharedBlock(const SharedBlock&) = delete;
  SharedBlock& operator=(const SharedBlock&) = delete;

  // Creates the block, or opens the one in place, and maps `size` bytes writable.
  // *existed tells whether a live block of that name was there (ERROR_ALREADY_EXISTS).
  // `publish` marks a block that others poll for (see PublicationEpoch). False on
  // failure, with LastError set and nothing open.
  bool Create(const char16_t* name, uint32_t size, bool* existed, bool publish = false);
  // Opens an existing block for reading (no view yet). False with LastError 2 when
  // there is none (or only a stale one), 5 when access is denied.
  bool OpenReadOnly(const char16_t* name);
  // Maps `size` bytes of the open block, replacing an earlier view. Null (LastError
  // set) when the block is smaller or the system refuses.
  const void* MapReadOnly(uint32_t size);
  void Unmap();
  void Close();   // unmaps and closes
  // Removes the name of a block created here, for a block that must not outlive
  // its process (Linux; a Windows mapping goes with its last handle anyway).
  void RemoveName();

  bool IsOpen() const { return handle_ != kNoHandle; }
  void* View() const { return view_; }
  uint32_t ViewSize() const { return viewSize_; }

 private:
  static constexpr intptr_t kNoHandle = -1;
  intptr_t handle_ = kNoHandle;   // HANDLE or file descriptor
  char name_[200] = {};           // the system's name (Linux)
  void* base_ = nullptr;          // mapping base (Linux: the header)
  void* view_ = nullptr;          // the caller's bytes
  uint32_t viewSize_ = 0;
};

// Removes the names of blocks that begin with `namePrefix` and whose creator has
// ended (Linux: left behind by processes that did not end cleanly). Nothing to do
// on Windows.
void RemoveStaleBlocks(const char16_t* namePrefix);

// Polling for a published block without a clock read on every call. A caller keeps
// `due = PublicationNextDue(PublicationEpoch() read before its look-up, its retry
// tick)` and may skip look-ups while PublicationEpoch() < due.
// Linux: the epoch is a per-user counter that every publishing create bumps (one
// load), and a publication lifts the caller's back-off. Windows, where foreign
// programs publish blocks: the epoch is the (cheap) tick and the back-off stands.
uint64_t PublicationEpoch();
uint64_t PublicationNextDue(uint64_t epochBeforeLookup, uint64_t retryTick);
bool PublicationLiftsBackoff();
// The word behind PublicationEpoch where it is one (Linux), so that a caller may
// read it inline; null where the epoch is computed (Windows).
const std::atomic<uint64_t>* PublicationCounter();

// A recursive mutex known by a 64-bit handle that can live in a block shared by the
// copies of the library within one process (Windows: an unnamed mutex object;
// Linux: a process-heap pthread mutex). Waits are infinite. 0 is no mutex.
uint64_t MutexCreate();
void MutexLock(uint64_t mutex);
void MutexUnlock(uint64_t mutex);
void MutexClose(uint64_t mutex);

// Zero-filled memory from the process's global heap (GlobalAlloc(GMEM_ZEROINIT) on
// Windows), which any copy of the library in the process may free.
void* GlobalAllocZero(size_t size);
void GlobalFreeBlock(void* block);

}  // namespace plat
