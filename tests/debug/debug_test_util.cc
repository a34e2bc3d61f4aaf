#include "debug_test_util.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "debug/TravuePacket.h"
#include "platform/process.h"
#include "platform/udp.h"

#ifdef _WIN32
#define popen _popen
#define pclose _pclose
#else
#include <dirent.h>
#include <unistd.h>
#endif

namespace zxtest {

Receiver::Receiver() : socket_(plat::UdpBindLoopback(0, &port_)) {}
Receiver::~Receiver() { Close(); }

void Receiver::Close() {
  if (socket_ != plat::kInvalidSocket) plat::CloseSocket(socket_);
  socket_ = plat::kInvalidSocket;
}

std::vector<Datagram> Receiver::Receive(size_t count, uint32_t timeoutMs) {
  std::vector<Datagram> out;
  std::vector<unsigned char> buf(70000);
  uint32_t waited = 0;
  while (out.size() < count && waited < timeoutMs) {
    int n = plat::ReceiveFrom(socket_, buf.data(), static_cast<uint32_t>(buf.size()), 50);
    if (n > 0)
      out.push_back(Datagram{std::vector<unsigned char>(buf.begin(), buf.begin() + n)});
    else
      waited += 50;
  }
  return out;
}

static std::string Unhex(const std::string& hex) {
  std::string out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) out.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
  return out;
}

std::vector<Oracle> DecodeDumpWithPython(const std::string& dumpPath) {
  std::vector<Oracle> out;
  std::string cmd = std::string("python3 ") + ZXUT_SOURCE_DIR + "/tests/debug/decode_packet.py " + dumpPath;
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) {
    ADD_FAILURE() << "cannot run " << cmd;
    return out;
  }
  char line[200000];
  while (std::fgets(line, sizeof line, p)) {
    std::istringstream in(line);
    Oracle o;
    int digit = 0;
    std::string time, tag, text;
    in >> o.size >> o.header >> o.tid >> o.cpu >> digit >> o.zero >> o.n1 >> o.n2 >> o.remaining >> time;
    std::getline(in, tag, '\t');   // the separator before the tag
    std::getline(in, tag, '\t');
    std::getline(in, text);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) text.pop_back();
    o.digit = std::string(1, static_cast<char>(digit));
    o.tag = Unhex(tag);
    o.text = Unhex(text);
    std::istringstream ts(time);
    std::string field;
    while (std::getline(ts, field, ',')) o.time.push_back(std::stoi(field));
    out.push_back(o);
  }
  int rc = pclose(p);
  EXPECT_EQ(rc, 0) << "decode_packet.py rejected a datagram";
  return out;
}

#ifdef _WIN32
// Under wine there is no Python to run: the library's own decoder stands in.
std::vector<Oracle> DecodeWithPython(const std::vector<Datagram>& datagrams) {
  std::vector<Oracle> out;
  for (const Datagram& d : datagrams) {
    zx::DecodedPacket p;
    if (!zx::DecodePacket(d.bytes.data(), d.bytes.size(), &p)) {
      ADD_FAILURE() << "not a datagram";
      continue;
    }
    Oracle o;
    o.size = static_cast<uint32_t>(d.bytes.size());
    o.header = p.header.headerSize;
    o.tid = p.header.threadId;
    o.cpu = p.header.processor;
    o.zero = p.header.zero;
    o.n1 = p.header.number1;
    o.n2 = p.header.number2;
    o.remaining = p.header.remainingBytes;
    o.digit = std::string(1, static_cast<char>(p.header.digit));
    for (size_t i = 0; i < p.tagChars; ++i) o.tag.push_back(static_cast<char>(p.header.tag[i]));
    for (size_t i = 0; i < p.textChars; ++i) o.text.push_back(static_cast<char>(zx::ReadPacketChar(p, i)));
    const uint16_t* t = &p.header.time.year;
    for (int i = 0; i < 8; ++i) o.time.push_back(t[i]);
    out.push_back(o);
  }
  return out;
}
#else
std::vector<Oracle> DecodeWithPython(const std::vector<Datagram>& datagrams) {
  std::string path = zxsupport::TempPath("debug_dump");
  FILE* f = std::fopen(path.c_str(), "wb");
  for (const Datagram& d : datagrams) {
    uint32_t len = static_cast<uint32_t>(d.bytes.size());
    std::fwrite(&len, 4, 1, f);
    std::fwrite(d.bytes.data(), 1, len, f);
  }
  std::fclose(f);
  auto out = DecodeDumpWithPython(path);
  std::remove(path.c_str());
  return out;
}
#endif

}  // namespace zxtest

#ifndef _WIN32
namespace {

// Removes the shared blocks this test program and its children made.
class ShmCleanup : public ::testing::Environment {
 public:
  void TearDown() override {
    const std::string mine[] = {"zxtest" + std::to_string(getpid()) + ".",
                                "zxe2e" + std::to_string(getpid())};
    DIR* d = opendir("/dev/shm");
    if (!d) return;
    while (dirent* e = readdir(d)) {
      std::string name = e->d_name;
      for (const std::string& prefix : mine)
        if (name.compare(0, prefix.size(), prefix) == 0) unlink(("/dev/shm/" + name).c_str());
    }
    closedir(d);
  }
};

const auto* const g_cleanup = ::testing::AddGlobalTestEnvironment(new ShmCleanup);

}  // namespace
#endif  // _WIN32
