// Linux: loopback UDP on BSD sockets, with errno translated to Winsock error numbers.
#include "platform/udp.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace plat {
namespace {

thread_local int t_lastError = 0;

int WsaFromErrno(int e) {
  switch (e) {
    case 0: return 0;
    case EINTR: return 10004;
    case EBADF: return 10009;
    case EACCES: return 10013;
    case EFAULT: return 10014;
    case EINVAL: return 10022;
    case EMFILE: return 10024;
    case EWOULDBLOCK: return 10035;
    case EINPROGRESS: return 10036;
    case EALREADY: return 10037;
    case ENOTSOCK: return 10038;
    case EDESTADDRREQ: return 10039;
    case EMSGSIZE: return 10040;
    case EPROTOTYPE: return 10041;
    case ENOPROTOOPT: return 10042;
    case EPROTONOSUPPORT: return 10043;
    case EOPNOTSUPP: return 10045;
    case EAFNOSUPPORT: return 10047;
    case EADDRINUSE: return 10048;
    case EADDRNOTAVAIL: return 10049;
    case ENETDOWN: return 10050;
    case ENETUNREACH: return 10051;
    case ECONNABORTED: return 10053;
    case ECONNRESET: return 10054;
    case ENOBUFS: return 10055;
    case EISCONN: return 10056;
    case ENOTCONN: return 10057;
    case ETIMEDOUT: return 10060;
    case ECONNREFUSED: return 10061;
    case EHOSTUNREACH: return 10065;
    default: return 10000 + e;
  }
}

void Fail() { t_lastError = WsaFromErrno(errno); }

std::string Narrow(const char16_t* s) {
  std::string out;
  for (; s && *s; ++s) out.push_back(*s < 0x80 ? static_cast<char>(*s) : '?');
  return out;
}

}  // namespace

int SocketStartup(void* wsaData) {
  if (wsaData) std::memset(wsaData, 0, kWsaDataSize);
  return 0;
}

int SocketCleanup() { return 0; }

uint64_t UdpSocket() {
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (fd < 0) {
    Fail();
    return kInvalidSocket;
  }
  return static_cast<uint64_t>(fd);
}

int ResolveIPv4(const char16_t* host, const char16_t* port, uint8_t address[16]) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_DGRAM;
  hints.ai_protocol = IPPROTO_UDP;
  addrinfo* res = nullptr;
  int rc = getaddrinfo(Narrow(host).c_str(), Narrow(port).c_str(), &hints, &res);
  if (rc != 0) {
    t_lastError = rc == EAI_NONAME ? 11001 : rc == EAI_SERVICE ? 10109 : 11003;
    return t_lastError;
  }
  int result = 11004;   // WSANO_DATA: no IPv4 address among the results
  for (addrinfo* a = res; a; a = a->ai_next) {
    if (a->ai_family == AF_INET && a->ai_addrlen >= sizeof(sockaddr_in)) {
      std::memcpy(address, a->ai_addr, 16);
      result = 0;
      break;
    }
  }
  freeaddrinfo(res);
  t_lastError = result;
  return result;
}

bool MaxMessageSize(uint64_t, uint32_t*) { return false; }

int SendTo(uint64_t socket, const void* data, uint32_t length, const uint8_t address[16]) {
  sockaddr_in to;
  std::memcpy(&to, address, sizeof to);
  ssize_t n = sendto(static_cast<int>(socket), data, length, MSG_NOSIGNAL,
                     reinterpret_cast<const sockaddr*>(&to), sizeof to);
  if (n < 0) {
    Fail();
    return -1;
  }
  return static_cast<int>(n);
}

void CloseSocket(uint64_t socket) {
  if (socket == kInvalidSocket) return;
  close(static_cast<int>(socket));
}

int SocketLastError() { return t_lastError; }

uint64_t UdpBindLoopback(uint16_t requestedPort, uint16_t* port) {
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
  if (fd < 0) {
    Fail();
    return kInvalidSocket;
  }
  int size = 4 << 20;   // room for bursts while the reader prints
  setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_port = htons(requestedPort);
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof a;
  if (bind(fd, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
    Fail();
    close(fd);
    return kInvalidSocket;
  }
  if (port) *port = ntohs(a.sin_port);
  return static_cast<uint64_t>(fd);
}

int ReceiveFrom(uint64_t socket, void* buffer, uint32_t capacity, uint32_t timeoutMs) {
  pollfd p{static_cast<int>(socket), POLLIN, 0};
  int r = poll(&p, 1, static_cast<int>(timeoutMs));
  if (r == 0) return 0;
  if (r < 0) {
    if (errno == EINTR) return 0;
    Fail();
    return -1;
  }
  ssize_t n = recv(static_cast<int>(socket), buffer, capacity, 0);
  if (n < 0) {
    if (errno == EINTR || errno == EAGAIN) return 0;
    Fail();
    return -1;
  }
  return static_cast<int>(n);
}

}  // namespace plat
