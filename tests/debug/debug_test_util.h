// Helpers of the debug tests: a loopback receiver that records datagrams in the
// dump format of decode_packet.py, and the Python oracle run through popen.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "support/support_test_util.h"

namespace zxtest {

struct Datagram {
  std::vector<unsigned char> bytes;
};

class Receiver {
 public:
  Receiver();
  ~Receiver();
  uint16_t Port() const { return port_; }
  // Collects datagrams until `count` arrived or `timeoutMs` passed.
  std::vector<Datagram> Receive(size_t count, uint32_t timeoutMs = 2000);
  void Close();
 private:
  uint16_t port_ = 0;   // before socket_: the constructor fills it through it
  uint64_t socket_;
};

// One decoded datagram as the Python oracle reports it.
struct Oracle {
  uint32_t size = 0, header = 0, tid = 0, cpu = 0, zero = 0, n1 = 0, n2 = 0, remaining = 0;
  std::string tag, text, digit;   // UTF-8
  std::vector<int> time;
};
// Writes the datagrams to a dump file and decodes it with decode_packet.py. Fails
// the current test when the script rejects a datagram.
std::vector<Oracle> DecodeWithPython(const std::vector<Datagram>& datagrams);
std::vector<Oracle> DecodeDumpWithPython(const std::string& dumpPath);

}  // namespace zxtest
