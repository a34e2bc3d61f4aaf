// The UDP sender that all copies of the library in a process share: opening and
// closing the socket, SendData with its chunking, and the early message cache.
#include <cstdlib>
#include <cstring>

#include "core/format/Format.h"
#include "debug/Ods.h"
#include "debug/Travue.h"
#include "debug/TravuePacket.h"
#include "platform/compiler.h"
#include "platform/debugout.h"
#include "platform/process.h"
#include "platform/shared_memory.h"
#include "platform/timestamp.h"

namespace zx {
namespace {

constexpr uint32_t kDefaultLargestDatagram = 65000;
// A packet that cannot be allocated is tried again on the next pass; after this
// many failures in a row the message is dropped instead of spinning for ever.
constexpr int kAllocationAttempts = 3;

void Put32(unsigned char*& p, int32_t v) {
  std::memcpy(p, &v, 4);
  p += 4;
}
int32_t Get32(const unsigned char*& p) {
  int32_t v;
  std::memcpy(&v, p, 4);
  p += 4;
  return v;
}

}  // namespace

uint32_t CurrentThreadId() {
  thread_local const uint32_t id = plat::ThreadId();
  return id;
}

TravueMutexLock::TravueMutexLock(scTRAVUEAppLocal* block) : mutex_(block ? block->mutex : 0) {
  plat::MutexLock(mutex_);
}
TravueMutexLock::~TravueMutexLock() { plat::MutexUnlock(mutex_); }

void clsTRAVUE4Info::InitFresh() {
  std::memset(this, 0, sizeof *this);
  socket = plat::kInvalidSocket;
  startupResult = -1;
}

void clsTRAVUE4Info::OpenSocket(const TravueSenderContext& ctx) {
  std::memset(destination, 0, sizeof destination);
  if (startupResult != -1) return;
  if (!ctx.shared) return;
  startupResult = plat::SocketStartup(wsaData);
  char16_t err[512];
  if (startupResult != 0) {
    SocketErrorText(startupResult, err, 512);
    Ods(u"%s: WSAStartup() returned '%s'\n", ctx.libraryFileName, err);
    return;
  }
  uint64_t s = plat::UdpSocket();
  if (s == plat::kInvalidSocket) {
    SocketErrorText(0, err, 512);
    Ods(u"%s: socket() returned %s\n", ctx.libraryFileName, err);
    return;
  }
  plat::SharedStore(socket, s, std::memory_order_release);
  uint32_t port = ReadPortWord(ctx.shared);
  char16_t portText[16];
  FormatTo(portText, 16, u"%d", static_cast<int>(port));
  int rc = plat::ResolveIPv4(u"localhost", portText, destination);
  if (rc != 0) {
    SocketErrorText(rc, err, 512);
    Ods(u"GetAddrInfo() returned %s\n", err);
    return;
  }
  uint32_t largest = 0;
  largestDatagram = plat::MaxMessageSize(socket, &largest) ? largest : kDefaultLargestDatagram;
  portInUse = port;
  if (SocketOpen()) SendCache(ctx);
}

void clsTRAVUE4Info::CloseSocket(const TravueSenderContext& ctx) {
  if (SocketOpen()) {
    plat::CloseSocket(socket);
    plat::SharedStore(socket, plat::kInvalidSocket, std::memory_order_release);
  }
  if (startupResult == 0 && plat::SocketCleanup() != 0) {
    char16_t err[512];
    SocketErrorText(0, err, 512);
    Ods(u"%s: WSACleanup() returned '%s'\n", ctx.libraryFileName, err);
  }
  scTRAVUECache* keep = cache;
  DropCache(true);
  InitFresh();
  cache = keep;
}

void clsTRAVUE4Info::SendData(const TravueSenderContext& ctx, const char16_t* tag, int32_t number1,
                              int32_t number2, int32_t indentation, const char16_t* text,
                              int32_t length) {
  if (!SocketOpen()) {
    OpenSocket(ctx);
    if (!SocketOpen()) {
      AddToCache(tag, number1, number2, indentation, text, length);
      return;
    }
  }
  if (ctx.shared && ReadPortWord(ctx.shared) != portInUse) {
    plat::DebugOutput(u"re-attach to new TRAVUE port!\n");
    CloseSocket(ctx);
    OpenSocket(ctx);
    if (!SocketOpen()) return;
  }
  plat::SystemTime now;
  plat::LocalTimeNow(&now);
  const uint32_t digit = u'0' + static_cast<uint32_t>(ctx.counter->fetch_add(1)) % 10;
  const uint32_t thread = CurrentThreadId();
  const uint32_t processor = plat::CurrentProcessor();
  if (indentation < 0) indentation = 0;
  if (length < 0) length = 0;
  const int64_t chunkLimit = largestDatagram > kPacketHeaderSize
                                 ? (int64_t{largestDatagram} - kPacketHeaderSize) / 2 : 1;
  int64_t chunk = int64_t{indentation} + length;
  int64_t remaining = length;     // characters of the text still to send
  int64_t offset = 0;             // characters of the text already sent
  bool first = true;
  int failedAllocations = 0;
  while (remaining > 0) {
    if (chunk > chunkLimit) chunk = chunkLimit;
    const int64_t blanks = first ? (indentation < chunk ? indentation : chunk) : 0;
    // Never read behind the caller's text, whatever the chunk says.
    int64_t carried = chunk - blanks;
    if (carried > remaining) carried = remaining;
    if (carried < 0) carried = 0;
    const size_t bytes = kPacketHeaderSize + 2 * static_cast<size_t>(blanks + carried);
    auto* packet = static_cast<unsigned char*>(std::malloc(bytes));
    if (!packet) {
      plat::DebugOutput(u"not able to allocate TRAVUE4 packet structure\n");
      if (++failedAllocations >= kAllocationAttempts) return;
      continue;
    }
    failedAllocations = 0;
    scTRAVUE4DataPacket h{};
    h.headerSize = kPacketHeaderSize;
    h.time = now;
    SetPacketTag(&h, tag ? tag : ctx.libraryBaseName);
    h.threadId = thread;
    h.processor = processor;
    h.digit = digit;
    h.zero = 0;
    h.number1 = static_cast<uint32_t>(number1);
    h.number2 = static_cast<uint32_t>(number2);
    h.remainingBytes = static_cast<uint32_t>(2 * remaining);
    std::memcpy(packet, &h, kPacketHeaderSize);
    char16_t* body = reinterpret_cast<char16_t*>(packet + kPacketHeaderSize);
    for (int64_t i = 0; i < blanks; ++i) body[i] = u' ';
    if (carried > 0) std::memcpy(body + blanks, text + offset, 2 * static_cast<size_t>(carried));
    int sent = plat::SendTo(socket, packet, static_cast<uint32_t>(bytes), destination);
    std::free(packet);
    if (sent < 0) {
      char16_t err[512];
      SocketErrorText(0, err, 512);
      Ods(u"%s: sendto() returned '%s'\n", ctx.libraryFileName, err);
      return;
    }
    if (static_cast<uint32_t>(sent) < h.remainingBytes)
      Ods(u"%s: sendto() did only send %d out of %d bytes\n", ctx.libraryFileName, sent,
          static_cast<int>(h.remainingBytes));
    // The text moves on by what this datagram carried (a datagram is sent whole or
    // not at all), so no character is skipped or read twice.
    offset += carried;
    remaining -= carried;
    chunk -= blanks;
    if (chunk <= 0) chunk = chunkLimit;   // blanks filled a whole datagram
    first = false;
  }
}

void clsTRAVUE4Info::AddToCache(const char16_t* tag, int32_t number1, int32_t number2,
                                int32_t indentation, const char16_t* text, int32_t length) {
  if (!cache) {
    cache = static_cast<scTRAVUECache*>(plat::GlobalAllocZero(sizeof(scTRAVUECache)));
    if (!cache) return;
  }
  if (cache->count >= kCacheLimit) {
    plat::DebugOutput(u"TOO MANY MESSAGES TO CACHE... IGNORING ALL FOLLOWING ONES\n");
    return;
  }
  int32_t tagLength = 0;
  if (tag) {
    while (tag[tagLength]) ++tagLength;
    ++tagLength;   // with the terminator
  }
  if (length < 0) length = 0;
  const size_t recordSize = 4 + 2 * static_cast<size_t>(tagLength) + 16 + 2 * static_cast<size_t>(length);
  auto* e = static_cast<scTRAVUECacheEntry*>(plat::GlobalAllocZero(sizeof(scTRAVUECacheEntry) + recordSize));
  if (!e) return;
  e->size = static_cast<uint32_t>(recordSize);
  unsigned char* p = reinterpret_cast<unsigned char*>(e + 1);
  Put32(p, tagLength);
  if (tagLength > 0) {
    std::memcpy(p, tag, 2 * static_cast<size_t>(tagLength));
    p += 2 * tagLength;
  }
  Put32(p, number1);
  Put32(p, number2);
  Put32(p, indentation);
  Put32(p, length);
  if (length > 0) std::memcpy(p, text, 2 * static_cast<size_t>(length));
  if (cache->tail)
    cache->tail->next = e;
  else
    cache->head = e;
  cache->tail = e;
  ++cache->count;
}

void clsTRAVUE4Info::SendCache(const TravueSenderContext& ctx) {
  if (!cache) return;
  // Detach the list first: SendData may cache again if the socket closes meanwhile.
  scTRAVUECacheEntry* e = cache->head;
  cache->head = cache->tail = nullptr;
  cache->count = 0;
  while (e) {
    scTRAVUECacheEntry* next = e->next;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(e + 1);
    int32_t tagLength = Get32(p);
    const char16_t* tag = nullptr;
    if (tagLength > 0) {
      tag = reinterpret_cast<const char16_t*>(p);
      p += 2 * tagLength;
    }
    int32_t number1 = Get32(p);
    int32_t number2 = Get32(p);
    int32_t indentation = Get32(p);
    int32_t length = Get32(p);
    SendData(ctx, tag, number1, number2, indentation < 0 ? 0 : indentation,
             reinterpret_cast<const char16_t*>(p), length);
    plat::GlobalFreeBlock(e);
    e = next;
  }
}

void clsTRAVUE4Info::DropCache(bool keepList) {
  if (!cache) return;
  for (scTRAVUECacheEntry* e = cache->head; e;) {
    scTRAVUECacheEntry* next = e->next;
    plat::GlobalFreeBlock(e);
    e = next;
  }
  cache->head = cache->tail = nullptr;
  cache->count = 0;
  if (!keepList) {
    plat::GlobalFreeBlock(cache);
    cache = nullptr;
  }
}

}  // namespace zx
