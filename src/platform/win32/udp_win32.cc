// Loopback UDP on Winsock 2.
#include "platform/udp.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>

namespace plat {

static_assert(sizeof(WSADATA) == kWsaDataSize, "WSADATA size");

int SocketStartup(void* wsaData) {
  std::memset(wsaData, 0, kWsaDataSize);
  return WSAStartup(0x0202, static_cast<WSADATA*>(wsaData));
}

int SocketCleanup() { return WSACleanup() == 0 ? 0 : WSAGetLastError(); }

uint64_t UdpSocket() {
  SOCKET s = WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, nullptr, 0, 0);
  return s == INVALID_SOCKET ? kInvalidSocket : static_cast<uint64_t>(s);
}

int ResolveIPv4(const char16_t* host, const char16_t* port, uint8_t address[16]) {
  ADDRINFOW hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_DGRAM;
  hints.ai_protocol = IPPROTO_UDP;
  ADDRINFOW* res = nullptr;
  int rc = GetAddrInfoW(reinterpret_cast<const wchar_t*>(host),
                        reinterpret_cast<const wchar_t*>(port), &hints, &res);
  if (rc != 0) return rc;
  int result = WSANO_DATA;
  for (ADDRINFOW* a = res; a; a = a->ai_next) {
    if (a->ai_family == AF_INET && a->ai_addrlen >= sizeof(sockaddr_in)) {
      std::memcpy(address, a->ai_addr, 16);
      result = 0;
      break;
    }
  }
  FreeAddrInfoW(res);
  if (result) WSASetLastError(result);
  return result;
}

bool MaxMessageSize(uint64_t socket, uint32_t* size) {
  DWORD v = 0;
  int len = sizeof v;
  if (getsockopt(static_cast<SOCKET>(socket), SOL_SOCKET, SO_MAX_MSG_SIZE,
                 reinterpret_cast<char*>(&v), &len) != 0)
    return false;
  *size = v;
  return true;
}

int SendTo(uint64_t socket, const void* data, uint32_t length, const uint8_t address[16]) {
  WSABUF buf;
  buf.len = length;
  buf.buf = static_cast<char*>(const_cast<void*>(data));
  DWORD sent = 0;
  if (WSASendTo(static_cast<SOCKET>(socket), &buf, 1, &sent, 0,
                reinterpret_cast<const sockaddr*>(address), 16, nullptr, nullptr) != 0)
    return -1;
  return static_cast<int>(sent);
}

void CloseSocket(uint64_t socket) {
  if (socket == kInvalidSocket) return;
  SOCKET s = static_cast<SOCKET>(socket);
  DWORD returned = 0;
  WSAIoctl(s, 0x28000004, nullptr, 0, nullptr, 0, &returned, nullptr, nullptr);
  shutdown(s, 3);
  closesocket(s);
}

int SocketLastError() { return WSAGetLastError(); }

uint64_t UdpBindLoopback(uint16_t requestedPort, uint16_t* port) {
  WSADATA data;
  if (WSAStartup(0x0202, &data) != 0) return kInvalidSocket;
  SOCKET s = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (s == INVALID_SOCKET) return kInvalidSocket;
  int size = 4 << 20;
  setsockopt(s, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&size), sizeof size);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_port = htons(requestedPort);
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int len = sizeof a;
  if (bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
      getsockname(s, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
    closesocket(s);
    return kInvalidSocket;
  }
  if (port) *port = ntohs(a.sin_port);
  return static_cast<uint64_t>(s);
}

int ReceiveFrom(uint64_t socket, void* buffer, uint32_t capacity, uint32_t timeoutMs) {
  SOCKET s = static_cast<SOCKET>(socket);
  fd_set set;
  FD_ZERO(&set);
  FD_SET(s, &set);
  timeval tv{static_cast<long>(timeoutMs / 1000), static_cast<long>((timeoutMs % 1000) * 1000)};
  int r = select(0, &set, nullptr, nullptr, &tv);
  if (r == 0) return 0;
  if (r < 0) return -1;
  int n = recv(s, static_cast<char*>(buffer), static_cast<int>(capacity), 0);
  if (n == SOCKET_ERROR) {
    int e = WSAGetLastError();
    // A cut datagram still delivers its first bytes; a reset from an earlier send
    // to a closed port is not an error of this socket.
    if (e == WSAEMSGSIZE) return static_cast<int>(capacity);
    if (e == WSAECONNRESET) return 0;
    return -1;
  }
  return n;
}

}  // namespace plat
