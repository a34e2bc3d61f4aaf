// `zxut viewer`: a live viewer of the library's debug lines. It publishes the
// viewer's shared block with its UDP port, switches output on, and prints every
// datagram with its time, thread, processor, digit, tag and indented text until
// interrupted.
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "debug/Travue.h"
#include "debug/TravuePacket.h"
#include "platform/errors.h"
#include "platform/shared_memory.h"
#include "platform/udp.h"
#include "text.h"

namespace {

volatile std::sig_atomic_t g_stop = 0;
void OnSignal(int) { g_stop = 1; }

void PrintPacket(const zx::DecodedPacket& p) {
  std::u16string tag(p.header.tag, p.tagChars);
  std::u16string text;
  for (size_t i = 0; i < p.textChars; ++i) {
    char16_t c = zx::ReadPacketChar(p, i);
    text.push_back(c == 0 ? u' ' : c);
  }
  const plat::SystemTime& t = p.header.time;
  std::printf("%02u:%02u:%02u.%03u %08x/%02x %c %-8s: %s\n", t.hour, t.minute, t.second,
              t.milliseconds, p.header.threadId, p.header.processor,
              p.header.digit >= 32 && p.header.digit < 127 ? static_cast<char>(p.header.digit) : '?',
              Utf8(tag).c_str(), Utf8(text).c_str());
  std::fflush(stdout);
}

int RunViewer(int argc, char** argv);

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"viewer", "print the debug lines of this user's processes live (Ctrl-C ends)",
     "usage: zxut viewer [--count N] [--raw FILE] [--quiet]\n"
     "  prints the debug lines of every process of this user until Ctrl-C\n"
     "  --count N   stop after N datagrams\n"
     "  --raw FILE  also append each datagram to FILE (4-byte length, then the bytes)\n"
     "  --quiet     print nothing but the port\n",
     &RunViewer});

int RunViewer(int argc, char** argv) {
  long count = -1;
  const char* rawPath = nullptr;
  bool quiet = false;
  for (int i = 0; i < argc; ++i) {
    if (!std::strcmp(argv[i], "--count") && i + 1 < argc) {
      char* end = nullptr;
      count = std::strtol(argv[++i], &end, 10);
      if (*end || end == argv[i] || count < 0) return zxut::UsageError("viewer", "--count takes a number");
    } else if (!std::strcmp(argv[i], "--raw") && i + 1 < argc) {
      rawPath = argv[++i];
    } else if (!std::strcmp(argv[i], "--quiet")) {
      quiet = true;
    } else {
      return zxut::UsageError("viewer", "unknown argument");
    }
  }
  uint16_t port = 0;
  uint64_t socket = plat::UdpBindLoopback(0, &port);
  if (socket == plat::kInvalidSocket) {
    std::fprintf(stderr, "zxut viewer: cannot open a UDP port on 127.0.0.1: %s\n",
                 zxut::SystemError(plat::SocketLastError()).c_str());
    return 1;
  }
  plat::SharedBlock block;
  bool existed = false;
  if (!block.Create(zx::kSharedDataLocalName, sizeof(zx::scTRAVUESharedData), &existed, true)) {
    std::fprintf(stderr, "zxut viewer: cannot create the viewer's shared block '%s': %s\n",
                 Utf8(zx::kSharedDataLocalName).c_str(), zxut::SystemError(long(plat::LastError())).c_str());
    return 1;
  }
  if (existed) {
    std::fprintf(stderr, "zxut viewer: another viewer is running for this user\n");
    return 1;
  }
  auto* shared = static_cast<zx::scTRAVUESharedData*>(block.View());
  __atomic_store_n(&shared->size, uint32_t{sizeof(zx::scTRAVUESharedData)}, __ATOMIC_RELEASE);
  __atomic_store_n(&shared->port, uint32_t{port}, __ATOMIC_RELEASE);
  __atomic_store_n(&shared->enable, uint64_t{1}, __ATOMIC_RELEASE);
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
  std::printf("zxut viewer: listening on 127.0.0.1:%u\n", port);
  std::fflush(stdout);
  FILE* raw = rawPath ? std::fopen(rawPath, "ab") : nullptr;
  if (rawPath && !raw) {
    std::fprintf(stderr, "zxut viewer: cannot open '%s' for appending: %s\n", rawPath,
                 zxut::SystemError(long(plat::ErrorFromErrno(errno))).c_str());
    return 1;
  }
  std::vector<unsigned char> buffer(65536);
  long received = 0;
  while (!g_stop && (count < 0 || received < count)) {
    int n = plat::ReceiveFrom(socket, buffer.data(), static_cast<uint32_t>(buffer.size()), 200);
    if (n <= 0) continue;
    ++received;
    if (raw) {
      uint32_t len = static_cast<uint32_t>(n);
      std::fwrite(&len, 4, 1, raw);
      std::fwrite(buffer.data(), 1, len, raw);
      std::fflush(raw);
    }
    zx::DecodedPacket packet;
    if (!zx::DecodePacket(buffer.data(), static_cast<size_t>(n), &packet)) {
      if (!quiet) std::printf("(%d bytes that are no debug datagram)\n", n);
      continue;
    }
    if (!quiet) PrintPacket(packet);
  }
  // Output off; the block keeps its name so that the next viewer takes it over.
  __atomic_store_n(&shared->enable, uint64_t{0}, __ATOMIC_RELEASE);
  if (raw) std::fclose(raw);
  plat::CloseSocket(socket);
  return 0;
}

}  // namespace
