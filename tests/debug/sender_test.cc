// The UDP sender on a real loopback socket, every datagram checked by the Python
// decoder: layout, tag rules, the early cache of 10, a port change, a receiver that
// vanishes, and chunking.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "debug_test_util.h"
#include "debug/Travue.h"
#include "debug/TravuePacket.h"
#include "platform/debugout.h"
#include "platform/process.h"
#include "platform/shared_memory.h"

namespace {

using zxtest::DecodeWithPython;
using zxtest::Receiver;

std::vector<std::string>* g_ods = nullptr;
void CaptureOds(const char16_t* text, void*) {
  if (!g_ods) return;
  std::string s;
  for (; *text; ++text) s.push_back(static_cast<char>(*text));
  g_ods->push_back(s);
}

// A sender state as one copy of the library would have it, over a fake viewer block.
class SenderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    block_ = std::make_unique<zx::scTRAVUEAppLocal>();
    std::memset(static_cast<void*>(block_.get()), 0, sizeof *block_);
    block_->info.InitFresh();
    block_->mutex = plat::MutexCreate();
    shared_ = {};
    shared_.size = 24;
    shared_.enable = 1;
    g_ods = &ods_;
    plat::SetDebugOutputHook(&CaptureOds, nullptr);
  }
  void TearDown() override {
    {
      zx::TravueMutexLock m(block_.get());
      block_->info.CloseSocket(Ctx());
      block_->info.DropCache(false);
    }
    plat::MutexClose(block_->mutex);
    plat::SetDebugOutputHook(nullptr, nullptr);
    g_ods = nullptr;
  }
  zx::TravueSenderContext Ctx() {
    return zx::TravueSenderContext{&shared_, u"LIBZXUT22", u"LIBZXUT22.SO", &block_->counter};
  }
  void Send(const char16_t* tag, int indent, const std::u16string& text) {
    zx::TravueMutexLock m(block_.get());
    block_->info.SendData(Ctx(), tag, 1, 0, indent, text.data(), static_cast<int32_t>(text.size()));
  }
  int Count(const std::string& line) {
    int n = 0;
    for (auto& s : ods_) n += s == line;
    return n;
  }

  std::unique_ptr<zx::scTRAVUEAppLocal> block_;
  zx::scTRAVUESharedData shared_;
  std::vector<std::string> ods_;
};

TEST_F(SenderTest, OneDatagramPerLineWithTheExactHeader) {
  Receiver r;
  shared_.port = r.Port();
  Send(u"MyTag", 3, u"hello");
  Send(nullptr, 0, u"second line");
  auto got = r.Receive(2);
  ASSERT_EQ(got.size(), 2u);
  auto d = DecodeWithPython(got);
  ASSERT_EQ(d.size(), 2u);
  EXPECT_EQ(d[0].size, 112u + 2 * 8);
  EXPECT_EQ(d[0].header, 112u);
  EXPECT_EQ(d[0].tag, "MyTag");
  EXPECT_EQ(d[0].text, "   hello");
  EXPECT_EQ(d[0].remaining, 10u);   // text bytes without the blanks
  EXPECT_EQ(d[0].tid, plat::ThreadId());
  EXPECT_EQ(d[0].n1, 1u);
  EXPECT_EQ(d[0].n2, 0u);
  EXPECT_EQ(d[0].zero, 0u);
  EXPECT_EQ(d[0].digit, "0");
  EXPECT_EQ(d[1].digit, "1");
  EXPECT_EQ(d[1].tag, "LIBZXUT22");   // a null tag sends the library's base name
  EXPECT_EQ(d[1].text, "second line");
  ASSERT_EQ(d[0].time.size(), 8u);
  EXPECT_GE(d[0].time[0], 2020);   // year
  EXPECT_GE(d[0].time[1], 1);      // month
  EXPECT_LE(d[0].time[7], 999);    // milliseconds
#ifdef _WIN32
  EXPECT_EQ(block_->info.largestDatagram, 65507u);   // the socket's SO_MAX_MSG_SIZE
#else
  EXPECT_EQ(block_->info.largestDatagram, 65000u);   // SO_MAX_MSG_SIZE unreadable here
#endif
  EXPECT_EQ(block_->info.portInUse, r.Port());
}

TEST_F(SenderTest, TagIsCutToThirtyOneCharacters) {
  Receiver r;
  shared_.port = r.Port();
  std::u16string tag(40, u'T');
  tag[30] = u'E';
  tag[31] = u'X';
  Send(tag.c_str(), 0, u"x");
  auto d = DecodeWithPython(r.Receive(1));
  ASSERT_EQ(d.size(), 1u);
  EXPECT_EQ(d[0].tag, std::string(30, 'T') + "E");
}

TEST_F(SenderTest, TenMessagesAreCachedUntilTheSocketOpensThenArriveInOrder) {
  Receiver r;
  shared_.port = r.Port();
  // Startup done but no socket: every open attempt leaves at once, as after a
  // failed socket() call.
  block_->info.startupResult = 0;
  for (int i = 0; i < 12; ++i) Send(u"C", i % 3, u"msg" + std::u16string(1, static_cast<char16_t>(u'A' + i)));
  EXPECT_EQ(block_->info.cache->count, 10u);
  EXPECT_EQ(Count("TOO MANY MESSAGES TO CACHE... IGNORING ALL FOLLOWING ONES\n"), 2);
  EXPECT_TRUE(r.Receive(1, 200).empty());
  {
    zx::TravueMutexLock m(block_.get());
    block_->info.CloseSocket(Ctx());   // resets the startup state, keeps the cache object
    EXPECT_NE(block_->info.cache, nullptr);
    EXPECT_EQ(block_->info.cache->count, 0u);   // ... but not its entries
  }
  for (int i = 0; i < 10; ++i) Send(u"C", i % 3, u"msg" + std::u16string(1, static_cast<char16_t>(u'A' + i)));
  EXPECT_EQ(block_->info.cache->count, 0u);   // the first send opened the socket
  auto d = DecodeWithPython(r.Receive(10));
  ASSERT_EQ(d.size(), 10u);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(d[i].text, std::string(i % 3, ' ') + "msg" + static_cast<char>('A' + i)) << i;
    EXPECT_EQ(d[i].tag, "C");
  }
}

TEST_F(SenderTest, CacheDrainsInOrderWhenTheSocketOpens) {
  Receiver r;
  shared_.port = r.Port();
  block_->info.startupResult = 0;
  for (int i = 0; i < 10; ++i) Send(i % 2 ? nullptr : u"odd", i, u"early" + std::u16string(1, static_cast<char16_t>(u'0' + i)));
  ASSERT_EQ(block_->info.cache->count, 10u);
  // Reopening with the cache in place sends it first.
  block_->info.startupResult = -1;
  {
    zx::TravueMutexLock m(block_.get());
    block_->info.OpenSocket(Ctx());
  }
  Send(u"late", 0, u"after");
  auto d = DecodeWithPython(r.Receive(11));
  ASSERT_EQ(d.size(), 11u);
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(d[i].text, std::string(i, ' ') + "early" + static_cast<char>('0' + i));
    EXPECT_EQ(d[i].tag, i % 2 ? "LIBZXUT22" : "odd");
  }
  EXPECT_EQ(d[10].text, "after");
}

TEST_F(SenderTest, APortChangeReattachesOnce) {
  Receiver a, b;
  shared_.port = a.Port();
  Send(u"P", 0, u"to a");
  ASSERT_EQ(a.Receive(1).size(), 1u);
  shared_.port = b.Port();   // the viewer restarted elsewhere
  Send(u"P", 0, u"to b");
  Send(u"P", 0, u"to b again");
  auto d = DecodeWithPython(b.Receive(2));
  ASSERT_EQ(d.size(), 2u);
  EXPECT_EQ(d[0].text, "to b");
  EXPECT_EQ(Count("re-attach to new TRAVUE port!\n"), 1);
  EXPECT_TRUE(a.Receive(1, 100).empty());
}

TEST_F(SenderTest, AViewerThatVanishesMidStreamCostsNothing) {
  auto r = std::make_unique<Receiver>();
  shared_.port = r->Port();
  Send(u"V", 0, u"first");
  ASSERT_EQ(r->Receive(1).size(), 1u);
  r.reset();   // gone
  for (int i = 0; i < 200; ++i) Send(u"V", 0, u"into the void");
  EXPECT_TRUE(block_->info.SocketOpen());
}

TEST_F(SenderTest, LongMessagesAreChunkedWithoutLosingText) {
  Receiver r;
  shared_.port = r.Port();
  Send(u"L", 0, u"open");   // opens the socket
  ASSERT_EQ(r.Receive(1).size(), 1u);
  block_->info.largestDatagram = 112 + 2 * 10;   // a chunk limit of 10 characters
  std::u16string text = u"abcdefghijklmnopqrstuvwxy";   // 25
  Send(u"L", 3, text);
  // The blanks take their room in the first datagram only; later ones carry the
  // chunk that was left for text (7), until the text is through.
  auto d = DecodeWithPython(r.Receive(4));
  ASSERT_EQ(d.size(), 4u);
  EXPECT_EQ(d[0].text, "   abcdefg");
  EXPECT_EQ(d[0].remaining, 50u);
  EXPECT_EQ(d[1].text, "hijklmn");
  EXPECT_EQ(d[1].remaining, 36u);
  EXPECT_EQ(d[2].text, "opqrstu");
  EXPECT_EQ(d[2].remaining, 22u);
  EXPECT_EQ(d[3].text, "vwxy");
  EXPECT_EQ(d[3].remaining, 8u);
  EXPECT_EQ(d[0].digit, d[3].digit);   // one message, one digit
}

TEST_F(SenderTest, AnEmptyMessageSendsNothing) {
  Receiver r;
  shared_.port = r.Port();
  Send(u"E", 4, u"");
  Send(u"E", 0, u"x");
  auto d = DecodeWithPython(r.Receive(2, 300));
  ASSERT_EQ(d.size(), 1u);
  EXPECT_EQ(d[0].text, "x");
}

TEST(PacketDecoder, RejectsWhatIsNotADatagram) {
  zx::DecodedPacket p;
  unsigned char bytes[200] = {};
  EXPECT_FALSE(zx::DecodePacket(bytes, 100, &p));
  EXPECT_FALSE(zx::DecodePacket(bytes, 200, &p));   // header size 0
  bytes[0] = 112;
  EXPECT_TRUE(zx::DecodePacket(bytes, 200, &p));
  EXPECT_EQ(p.textChars, 44u);
  EXPECT_FALSE(zx::DecodePacket(bytes, 113, &p));   // odd text
  EXPECT_FALSE(zx::DecodePacket(nullptr, 200, &p));
}

}  // namespace
