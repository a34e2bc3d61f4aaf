// The viewer transport: the three shared blocks, the sender state that all copies
// of the library in a process share, and the datagram. Every layout here is fixed
// byte for byte (little-endian, 64-bit), because other processes and other copies
// of the library read it.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "platform/compiler.h"
#include "platform/udp.h"

namespace zx {

// ---- scTRAVUEGlobalData: "TRAVUEGlobalData", 8 bytes: the old viewer's window.
struct scTRAVUEGlobalData {
  uint64_t viewerWindow;   // 0 when none
};
static_assert(sizeof(scTRAVUEGlobalData) == 8);
inline constexpr char16_t kGlobalDataName[] = u"TRAVUEGlobalData";

// ---- scTRAVUESharedData: published by the viewer, read here.
struct scTRAVUESharedData {
  uint32_t size;       // of the whole block in bytes
  uint32_t unused0;
  uint32_t port;       // UDP port on the local host
  uint32_t unused1;
  uint64_t enable;     // not 0 while the viewer wants output
};
static_assert(sizeof(scTRAVUESharedData) == 24);
static_assert(offsetof(scTRAVUESharedData, port) == 8 && offsetof(scTRAVUESharedData, enable) == 16);
inline constexpr char16_t kSharedDataLocalName[] = u"Local\\TRAVUESharedData";
inline constexpr char16_t kSharedDataGlobalName[] = u"Global\\TRAVUESharedData";

// Reads of words that another process writes.
inline uint64_t ReadEnableWord(const scTRAVUESharedData* d) {
  return plat::SharedLoad(d->enable, std::memory_order_acquire);
}
inline uint32_t ReadPortWord(const scTRAVUESharedData* d) {
  return plat::SharedLoad(d->port, std::memory_order_acquire);
}

// ---- the message cache: at most 10 records while the socket is closed. List and
// entries come from the process's global heap, so any copy may free them.
struct scTRAVUECacheEntry {
  scTRAVUECacheEntry* next;
  uint32_t size;   // bytes of the record that follows
  uint32_t reserved;
  // record: tag length (with terminator, 0 for none), tag, number1, number2,
  // indentation, text length, text
};
struct scTRAVUECache {
  uint32_t count;
  uint32_t reserved;
  scTRAVUECacheEntry* head;
  scTRAVUECacheEntry* tail;
};
inline constexpr uint32_t kCacheLimit = 10;

// What a sender needs of the copy of the library that calls it.
struct TravueSenderContext {
  const scTRAVUESharedData* shared;   // the viewer's block, or null
  const char16_t* libraryBaseName;     // the tag of a null tag
  const char16_t* libraryFileName;     // for the error lines
  std::atomic<int32_t>* counter;       // the rolling message counter
};

// ---- clsTRAVUE4Info: the sender state, 464 bytes inside scTRAVUEAppLocal. Every
// member function runs with the mutex of scTRAVUEAppLocal held.
class clsTRAVUE4Info {
 public:
  int32_t attachCount;
  uint32_t pad0;
  uint64_t socket;                     // plat::kInvalidSocket when closed
  uint8_t wsaData[plat::kWsaDataSize];
  int32_t startupResult;               // -1 while not started
  uint8_t destination[16];             // sockaddr_in
  uint32_t largestDatagram;
  uint32_t portInUse;
  uint32_t pad1;
  scTRAVUECache* cache;

  // The first copy in a process: socket and startup to -1.
  void InitFresh();
  void OpenSocket(const TravueSenderContext& ctx);
  void CloseSocket(const TravueSenderContext& ctx);
  // text as 16-bit characters, length in characters.
  void SendData(const TravueSenderContext& ctx, const char16_t* tag, int32_t number1,
                int32_t number2, int32_t indentation, const char16_t* text, int32_t length);
  // Releases the cache entries and the list (last copy in the process).
  void DropCache(bool keepList);

  bool SocketOpen() const {
    return plat::SharedLoad(socket, std::memory_order_acquire) != plat::kInvalidSocket;
  }

 private:
  void AddToCache(const char16_t* tag, int32_t number1, int32_t number2, int32_t indentation,
                  const char16_t* text, int32_t length);
  void SendCache(const TravueSenderContext& ctx);
};
static_assert(sizeof(clsTRAVUE4Info) == 464);
static_assert(offsetof(clsTRAVUE4Info, socket) == 8 && offsetof(clsTRAVUE4Info, wsaData) == 16 &&
              offsetof(clsTRAVUE4Info, startupResult) == 424 &&
              offsetof(clsTRAVUE4Info, destination) == 428 &&
              offsetof(clsTRAVUE4Info, largestDatagram) == 444 &&
              offsetof(clsTRAVUE4Info, portInUse) == 448 && offsetof(clsTRAVUE4Info, cache) == 456);

// ---- scTRAVUEAppLocal: "ZrkTRAVUEAppLocalData_%#p_%d" (process id, 488), shared by
// all copies of the library in one process.
struct scTRAVUEAppLocal {
  uint64_t mutex;                    // plat::Mutex* handle
  std::atomic<int32_t> refCount;     // copies of the library
  std::atomic<int32_t> indentation;
  std::atomic<int32_t> counter;      // rolling message counter
  uint32_t pad;
  clsTRAVUE4Info info;
};
static_assert(sizeof(scTRAVUEAppLocal) == 488);
static_assert(offsetof(scTRAVUEAppLocal, refCount) == 8 &&
              offsetof(scTRAVUEAppLocal, indentation) == 12 &&
              offsetof(scTRAVUEAppLocal, counter) == 16 && offsetof(scTRAVUEAppLocal, info) == 24);
inline constexpr char16_t kAppLocalNameFormat[] = u"ZrkTRAVUEAppLocalData_%#p_%d";

// Holds the mutex of scTRAVUEAppLocal for a scope.
class TravueMutexLock {
 public:
  explicit TravueMutexLock(scTRAVUEAppLocal* block);
  ~TravueMutexLock();
  TravueMutexLock(const TravueMutexLock&) = delete;
  TravueMutexLock& operator=(const TravueMutexLock&) = delete;
 private:
  uint64_t mutex_;
};

// The calling thread's identifier, asked of the system once per thread.
uint32_t CurrentThreadId();

// Texts of the socket calls: the system's text, else the built-in Winsock table,
// else a numeric form. 0 means the thread's last socket error.
void SocketErrorText(int error, char16_t* out, size_t capacity);

}  // namespace zx
