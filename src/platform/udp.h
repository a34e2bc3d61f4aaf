// UDP datagrams on the local host: the sending half (the debug channel's viewer
// transport, with the Winsock call sequence) and the receiving half (a viewer).
// Errors are Winsock numbers on every OS (10061 refused, 10054 reset, ...).
// Threads: any thread; the caller serialises the calls on one socket (the sender's
// mutex in the shared block does).
//
//   uint16_t port = 0; uint64_t s = plat::UdpBindLoopback(0, &port);
//   int n = plat::ReceiveFrom(s, buffer, sizeof buffer, 100);   // 0: time-out
#pragma once
#include <cstdint>

namespace plat {

constexpr uint64_t kInvalidSocket = ~uint64_t{0};
constexpr uint32_t kWsaDataSize = 408;   // WSADATA on 64-bit Windows

// WSAStartup(0x0202) into `wsaData` (kWsaDataSize bytes): 0 or the error number.
int SocketStartup(void* wsaData);
// WSACleanup: 0 or the error number.
int SocketCleanup();
// WSASocketW(AF_INET, SOCK_DGRAM, IPPROTO_UDP, NULL, 0, 0); kInvalidSocket on failure.
uint64_t UdpSocket();
// GetAddrInfoW(host, port) for SOCK_DGRAM/IPPROTO_UDP in any family; copies the first
// AF_INET result (16 bytes of sockaddr_in). 0 or the error number.
int ResolveIPv4(const char16_t* host, const char16_t* port, uint8_t address[16]);
// getsockopt(SO_MAX_MSG_SIZE); false where the option cannot be read (Linux has none).
bool MaxMessageSize(uint64_t socket, uint32_t* size);
// WSASendTo of one buffer to a 16-byte address: bytes sent, or -1 (SocketLastError).
int SendTo(uint64_t socket, const void* data, uint32_t length, const uint8_t address[16]);
// The close sequence: WSAIoctl(0x28000004), shutdown(3), closesocket.
void CloseSocket(uint64_t socket);
// WSAGetLastError of this thread (errno translated on Linux).
int SocketLastError();

// The receiving half: a socket bound to 127.0.0.1 on a port chosen by the system
// (0) or the given one. kInvalidSocket on failure; *port receives the bound port.
uint64_t UdpBindLoopback(uint16_t requestedPort, uint16_t* port);
// Waits up to timeoutMs for one datagram. Bytes received, 0 on time-out, -1 on error.
// A datagram longer than `capacity` is cut.
int ReceiveFrom(uint64_t socket, void* buffer, uint32_t capacity, uint32_t timeoutMs);

}  // namespace plat
