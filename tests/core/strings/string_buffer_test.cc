// String's shared buffer record: layout, sharing, copy-on-write, capacity and the
// double-release check.
#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <utility>
#include <vector>

#include "core/diag/StackTraceHook.h"
#include "core/strings/String.h"
#include "platform/compiler.h"
#include "support/support_test_util.h"

using zx::String;

namespace {

TEST(StringBuffer, RecordLayoutAndAlignment) {
  String s(u"abc");
  ASSERT_EQ(s.BufferUsage(), 1);
  zx::scStringBuffer* b = zx::AllocateStringBuffer(8);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 16, 0u);
  // The text follows the 24-byte record in the same block.
  EXPECT_EQ(reinterpret_cast<char*>(b->chars) - reinterpret_cast<char*>(b), 24);
  EXPECT_EQ(b->capacity, 8);
  EXPECT_EQ(b->usage.load(), 1);
  EXPECT_EQ(b->chars[0], 0);
  zx::ReleaseStringBuffer(b);
  EXPECT_EQ(zx::AllocateStringBuffer(0), nullptr);
  EXPECT_EQ(zx::AllocateStringBuffer(-5), nullptr);
}

TEST(StringBuffer, CapacityRule) {
  for (auto [length, capacity] : {std::pair{0, 8}, {1, 8}, {7, 8}, {8, 16}, {15, 16}, {16, 24}, {100, 104}})
    EXPECT_EQ(zx::StringCapacityFor(length), capacity) << length;

  String s(u"1234567");   // 7 characters and the terminator fit in 8
  EXPECT_EQ(s.Capacity(), 8);
  s.Append(u'8');
  EXPECT_EQ(s.Capacity(), 16);
  EXPECT_EQ(s.View(), u"12345678");
  // Appending within the capacity keeps the block.
  const char16_t* before = s.wchar();
  for (int i = 0; i < 7; ++i) s.Append(u'x');
  EXPECT_EQ(s.wchar(), before);
  EXPECT_EQ(s.Capacity(), 16);
  s.Append(u'y');
  EXPECT_EQ(s.Capacity(), 24);
  // No block ever shrinks: a short assignment keeps the large one.
  s.Assign(u"a");
  EXPECT_EQ(s.Capacity(), 24);
  EXPECT_EQ(s.View(), u"a");
}

TEST(StringBuffer, RepeatedAppendsReallocateRarely) {
  String s;
  const char16_t* last = nullptr;
  int moves = 0;
  for (int i = 0; i < 1000; ++i) {
    s.Append(u'z');
    if (s.wchar() != last) ++moves;
    last = s.wchar();
  }
  EXPECT_EQ(s.Length(), 1000);
  EXPECT_LE(moves, 126);   // one block per 8 characters at most
  EXPECT_EQ(s.Capacity() % 8, 0);
}

TEST(StringBuffer, CopySharesAndWriteUnshares) {
  String a(u"shared text");
  String b(a);
  EXPECT_TRUE(a.SharesBufferWith(b));
  EXPECT_EQ(a.BufferUsage(), 2);
  String c = b;
  EXPECT_EQ(a.BufferUsage(), 3);

  c.Append(u'!');   // c gets its own block; the others keep theirs
  EXPECT_FALSE(c.SharesBufferWith(a));
  EXPECT_EQ(a.BufferUsage(), 2);
  EXPECT_EQ(c.BufferUsage(), 1);
  EXPECT_EQ(a.View(), u"shared text");
  EXPECT_EQ(c.View(), u"shared text!");

  b[0] = u'S';   // the writing index form unshares too
  EXPECT_EQ(a.BufferUsage(), 1);
  EXPECT_EQ(b.View(), u"Shared text");
  EXPECT_EQ(a.View(), u"shared text");
}

TEST(StringBuffer, CloneKeepsCapacity) {
  String a;
  a.Reserve(40);
  a.Assign(u"abc");
  const int64_t cap = a.Capacity();
  String b(a);
  b.TrimRight(u'c');
  EXPECT_EQ(b.Capacity(), cap);
  EXPECT_EQ(b.View(), u"ab");
  EXPECT_EQ(a.View(), u"abc");
}

TEST(StringBuffer, ClearReleasesSharedKeepsPrivate) {
  String a(u"text");
  String b(a);
  b.Clear();
  EXPECT_EQ(b.Capacity(), 0);   // released, no block
  EXPECT_EQ(b.BufferUsage(), 0);
  EXPECT_EQ(a.BufferUsage(), 1);
  a.Clear();
  EXPECT_EQ(a.Capacity(), 8);   // private: the block stays with a zero first character
  EXPECT_EQ(a.Length(), 0);
  EXPECT_EQ(a.wchar()[0], 0);
}

TEST(StringBuffer, MoveTakesTheBuffer) {
  String a(u"moving");
  String keep(a);
  String b(std::move(a));
  EXPECT_EQ(a.Length(), 0);
  EXPECT_EQ(a.Capacity(), 0);
  EXPECT_EQ(a.wchar()[0], 0);
  EXPECT_EQ(b.View(), u"moving");
  EXPECT_EQ(b.BufferUsage(), 2);   // moved, not copied

  String c(u"other");
  c = std::move(b);
  EXPECT_EQ(c.View(), u"moving");
  EXPECT_EQ(b.Capacity(), 0);
  EXPECT_EQ(keep.BufferUsage(), 2);
}

TEST(StringBuffer, AssignmentSharesAndSelfAssignmentIsHarmless) {
  String a(u"one");
  String b(u"two");
  b = a;
  EXPECT_TRUE(b.SharesBufferWith(a));
  EXPECT_EQ(a.BufferUsage(), 2);
  String& same = b;
  b = same;
  EXPECT_EQ(a.BufferUsage(), 2);
  // Already sharing: only the code page travels, and the narrow copy survives
  // when the pages agree.
  b.SetCodePage(a.CodePage());
  (void)b.narrow();
  ASSERT_TRUE(b.HasNarrowCopy());
  b = a;
  EXPECT_TRUE(b.HasNarrowCopy());
  EXPECT_EQ(a.BufferUsage(), 2);
  // A different page drops the narrow copy.
  String c(a);
  c.SetCodePage(65001);
  (void)b.narrow();
  b = c;
  EXPECT_FALSE(b.HasNarrowCopy());
  EXPECT_EQ(b.CodePage(), 65001u);
  EXPECT_EQ(a.BufferUsage(), 3);
}

TEST(StringBuffer, EmptyConstantSharesNothing) {
  const String& e = String::Empty();
  EXPECT_EQ(e.Length(), 0);
  EXPECT_EQ(e.Capacity(), 0);
  EXPECT_EQ(e.wchar(), zx::kEmptyWide);
  String copy(e);
  EXPECT_EQ(copy.wchar(), zx::kEmptyWide);
  EXPECT_STREQ(copy.narrow(), "");
}

TEST(StringBuffer, ReserveAndSetLength) {
  String s(u"ab");
  String t(s);
  char16_t* p = s.Reserve(50);
  ASSERT_NE(p, nullptr);
  EXPECT_GE(s.Capacity(), 51);
  EXPECT_EQ(t.BufferUsage(), 1);   // reserving unshared
  p[2] = u'c';
  p[3] = u'd';
  s.SetLength(4);
  EXPECT_EQ(s.View(), u"abcd");
  s.SetLength(1000000);   // clipped to the capacity
  EXPECT_EQ(s.Length(), s.Capacity() - 1);
}

std::atomic<int> g_traces{0};
std::atomic<int> g_traceDepth{0};
void CountTrace(int depth) {
  ++g_traces;
  g_traceDepth = depth;
}

TEST(StringBuffer, DoubleReleaseWarnsAndWritesAStackTrace) {
  zxsupport::DiagCapture diag;
  zx::StackTraceWriter old = zx::SetDiagStackTraceHook(&CountTrace);
  zx::scStringBuffer* b = zx::AllocateStringBuffer(8);
  b->usage.store(0);   // as if released already
  zx::ReleaseStringBuffer(b);
  EXPECT_EQ(b->usage.load(), -1);   // not freed
  zx::ReleaseStringBuffer(b);
  EXPECT_EQ(diag.CountEqual(u"WRN: String buffer released twice (usage=-1)"), 1u);
  EXPECT_EQ(diag.CountEqual(u"WRN: String buffer released twice (usage=-2)"), 1u);
  // No debugger runs the tests: each time a stack trace of depth 50 instead.
  EXPECT_EQ(g_traces.load(), 2);
  EXPECT_EQ(g_traceDepth.load(), 50);
  zx::SetDiagStackTraceHook(old);
  b->usage.store(1);
  zx::ReleaseStringBuffer(b);
}

TEST(StringBuffer, ConcurrentCopiesKeepTheCount) {
  String base(u"threads share this");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&base] {
      for (int i = 0; i < 20000; ++i) {
        String c(base);
        String d = c;
        (void)d.Length();
      }
    });
  for (auto& t : threads) t.join();
  EXPECT_EQ(base.BufferUsage(), 1);
}

// Copies counted with plain stores while the process had one thread (when this
// test runs first, as in a run of its own) go on being counted atomically once
// threads exist: the threads drop those early copies while they make their own.
TEST(StringBuffer, CopiesFromBeforeTheFirstThreadCountOnAfterIt) {
  String base(u"made before any thread");
  std::vector<String> early(400, base);
  EXPECT_EQ(base.BufferUsage(), 401);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 20000; ++i) {
        String c(base);
        if (i < 100) early[static_cast<size_t>(t * 100 + i)] = String();
      }
    });
  EXPECT_FALSE(plat::OnlyThread());
  for (auto& t : threads) t.join();
  EXPECT_EQ(base.BufferUsage(), 1);
}

}  // namespace
