// Tracked heaps: the two object forms byte by byte, fill bytes, overruns,
// underruns, double frees, sizes, validation, shrinking, leak reports, the counters
// and the trace lines of a tracing module.
#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "module_test_util.h"
#include "module/HeapNode.h"
#include "module/ModuleList.h"
#include "module/TraceScope.h"
#include "platform/stamps.h"
#include "zxUT22.h"

namespace {

using zxtest::DebugCapture;
using zxtest::FakeHeap;
using zxtest::PointerText;

uint32_t Word32(const void* p, int offset) {
  uint32_t v;
  std::memcpy(&v, static_cast<const uint8_t*>(p) + offset, 4);
  return v;
}
// What a shrink of a fresh heap answers: the system's compaction decides (wine's
// reports nothing free, which reads as a failure).
int32_t FreshShrink(const zx::clsHeapNode* h) {
#ifdef _WIN32
  return ::HeapCompact(static_cast<HANDLE>(h->heap), 0) != 0 ? 0 : -2;
#else
  (void)h;
  return 0;
#endif
}

uint64_t Word64(const void* p, int offset) {
  uint64_t v;
  std::memcpy(&v, static_cast<const uint8_t*>(p) + offset, 8);
  return v;
}

class HeapTest : public ::testing::Test {
 protected:
  void SetUp() override {
    module_ = zx::JobOpen(u"HeapTest", 0);
    ASSERT_NE(module_, nullptr);
  }
  void TearDown() override { zx::JobClose(module_); }
  zx::clsHeapNode* Heap(uint32_t flags, const char16_t* name = u"H") {
    zx::clsHeapNode* h = zx::HeapCreate(module_, name, flags);
    EXPECT_NE(h, nullptr);
    return h;
  }
  zx::clsModuleNode* module_ = nullptr;
};

TEST_F(HeapTest, PlainObjectCarriesItsMagicInFrontAndCountsAsLive) {
  zx::clsHeapNode* h = Heap(0);
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 10, 0, 0));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(Word32(p, -4), 0xFAAFFAAFu);
  EXPECT_EQ(zx::HeapObjectSize(h, p), 10);
  EXPECT_EQ(h->objects, 1);
  EXPECT_EQ(h->bytes, 0) << "bytes counts debug objects only";
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  EXPECT_EQ(h->objects, 0);
  EXPECT_EQ(h->total, 1);
  EXPECT_EQ(h->maximum, 1);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, DebugObjectHeaderFenceAndTagAreLaidOutAsSpecified) {
  zx::clsHeapNode* h = Heap(zx::kHeapDebug);
  const uint32_t before = plat::CoarseTickCount();
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 5, 0, 0x1234));
  const uint32_t after = plat::CoarseTickCount();
  ASSERT_NE(p, nullptr);
  const uint8_t* block = p - 44;
  EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 4, 0u);
  EXPECT_EQ(Word32(block, 0), 0xC0FFEEEEu);
  EXPECT_EQ(Word64(block, 8), reinterpret_cast<uint64_t>(h->heap));
  EXPECT_LE(Word32(block, 16) - before, after - before) << "the tick of the allocation";
  EXPECT_NE(Word64(block, 24), 0u) << "a stack record unless flag 0x4";
  EXPECT_EQ(Word32(block, 32), 0x1234u);
  EXPECT_EQ(Word32(block, 36), 5u);
  EXPECT_EQ(Word32(block, 40), 0xAFFEAFFEu);
  EXPECT_EQ(Word32(p, 5), 0xE5E55E5Eu);
  EXPECT_EQ(h->bytes, 5);
  EXPECT_EQ(zx::HeapObjectSize(h, p), 5);

  auto* q = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 0, zx::kObjNoStack, 0));
  ASSERT_NE(q, nullptr);
  EXPECT_EQ(Word64(q - 44, 24), 0u);
  EXPECT_EQ(Word32(q, 0), 0xE5E55E5Eu) << "size 0: the fence follows the header";
  EXPECT_EQ(zx::HeapObjectFree(h, q), 0);
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  EXPECT_EQ(h->bytes, 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, FormsFollowTheObjectFlagsOverTheHeap) {
  zx::clsHeapNode* plain = Heap(0);
  auto* d = static_cast<uint8_t*>(zx::HeapObjectAlloc(plain, 8, zx::kObjDebug | zx::kObjNoStack, 0));
  EXPECT_EQ(Word32(d, -4), 0xAFFEAFFEu) << "a debug object on a plain heap";
  EXPECT_EQ(zx::HeapObjectFree(plain, d), 0);
  zx::clsHeapNode* debug = Heap(zx::kHeapDebug);
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(debug, 8, zx::kObjPlain, 0));
  EXPECT_EQ(Word32(p, -4), 0xFAAFFAAFu) << "flag 0x40 makes a plain object on a debug heap";
  {
    DebugCapture cap;
    debug->Listing();
    EXPECT_FALSE(cap.Saw("-Object at")) << "the walks skip plain objects";
  }
  EXPECT_EQ(zx::HeapObjectFree(debug, p), 0);
  EXPECT_EQ(zx::HeapDelete(plain), 0);
  EXPECT_EQ(zx::HeapDelete(debug), 0);
}

TEST_F(HeapTest, FillBytesOnRequestAndOverFreedMemoryWhileDebugIsActive) {
  FakeHeap fake;
  zx::clsHeapNode* h = Heap(0);
  for (uint32_t form : {0u, zx::kObjDebug | zx::kObjNoStack}) {
    auto* f5 = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 16, form | zx::kObjFillF5, 0));
    auto* zero = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 16, form | zx::kObjZero | zx::kObjFillF5, 0));
    for (int i = 0; i < 16; ++i) {
      EXPECT_EQ(f5[i], 0xF5);
      EXPECT_EQ(zero[i], 0x00) << "zero wins over 0xF5";
    }
    // Freed while nobody listens: left as it was.
    EXPECT_EQ(zx::HeapObjectFree(h, zero), 0);
    const size_t header = form ? 44 : 4;
    ASSERT_GE(fake.lastFreed.size(), header + 16);
    EXPECT_EQ(fake.lastFreed[header], 0x00);
    {
      DebugCapture cap;
      EXPECT_EQ(zx::HeapObjectFree(h, f5), 0);
    }
    if (form) {
      EXPECT_EQ(Word32(fake.lastFreed.data(), 0), 0xC0FFEEEEu) << "the header stays";
      for (size_t i = 0; i < 16; ++i) EXPECT_EQ(fake.lastFreed[44 + i], 0xCC);
      EXPECT_EQ(Word32(fake.lastFreed.data(), 60), 0xE5E55E5Eu) << "the fence stays";
    } else {
      for (unsigned char c : fake.lastFreed) EXPECT_EQ(c, 0xCC) << "the whole plain block";
    }
  }
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, OverrunKeepsTheBlockDropsTheStackRecordAndIsToldWithADump) {
  DebugCapture cap;
  zx::clsHeapNode* h = Heap(zx::kHeapDebug, u"Over");
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 10, 0, 0));
  std::memcpy(p, "0123456789", 10);
  p[10] ^= 0xFF;   // one byte past the end
  EXPECT_EQ(zx::HeapObjectFree(h, p), -6);
  EXPECT_EQ(h->objects, 1) << "not freed";
  EXPECT_EQ(Word64(p - 44, 24), 0u) << "the stack record is gone, and no pointer to it is left";
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Over']::FreeObjectD(" + PointerText(p) + ")"));
  EXPECT_TRUE(cap.Saw("Memory overrun, fence value has been changed (object not freed)"));
  EXPECT_TRUE(cap.Saw("-Object at " + PointerText(p) + ", 10(=0x0000000a) Bytes"));
  EXPECT_TRUE(cap.Saw("  30 31 32 33 34 35 36 37  01234567"));
  EXPECT_TRUE(cap.Saw("  38 39                    89      "));
  p[10] ^= 0xFF;
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0) << "with the fence repaired the free succeeds";
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, AnOverwrittenHeaderIsNotFollowedBeyondItsBlock) {
  DebugCapture cap;
  zx::clsHeapNode* h = Heap(zx::kHeapDebug, u"Wild");
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 0, 0, 0));
  const uint64_t garbage = 0x0000123456789AB0ULL;
  std::memcpy(p - 44 + 24, &garbage, 8);   // the stack record pointer
  const uint32_t huge = 0x7FFFFFFF;
  std::memcpy(p - 44 + 36, &huge, 4);      // the size
  EXPECT_EQ(zx::HeapObjectFree(h, p), -6);
  EXPECT_TRUE(cap.Saw("-Object at " + PointerText(p) + ", 2147483647(=0x7fffffff) Bytes"));
  for (const std::string& m : cap.TraceMessages())
    EXPECT_EQ(m.find("  00 "), std::string::npos) << "no row beyond the block: " << m;
  EXPECT_FALSE(cap.Saw("Memory object allocation stack trace:")) << "the pointer is no record";
  const uint32_t zero = 0;
  std::memcpy(p - 44 + 36, &zero, 4);
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, UnderrunsAndBadPointersGiveMinusSix) {
  DebugCapture cap;
  zx::clsHeapNode* h = Heap(0, u"Under");
  auto* d = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 8, zx::kObjDebug | zx::kObjNoStack, 0));
  d[-44] ^= 0xFF;   // the first magic
  EXPECT_EQ(zx::HeapObjectFree(h, d), -6);
  EXPECT_TRUE(cap.Saw("Not allocated with UTIL or memory underrun (object not freed)"));
  d[-44] ^= 0xFF;
  EXPECT_EQ(zx::HeapObjectFree(h, d), 0);

  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 8, 0, 0));
  p[-1] = 0x12;
  EXPECT_EQ(zx::HeapObjectFree(h, p), -6);
  EXPECT_EQ(zx::HeapObjectSize(h, p), -6);
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Under']::FreeObject(" + PointerText(p) + ")"));
  EXPECT_TRUE(cap.Saw("bad pointer, or memory underrun (magic=0x12aff"));
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Under']::SizeObject(" + PointerText(p) + ")"));
  p[-1] = 0xFA;

  // Untracked memory handed to a real heap is refused by the bytes in front.
  auto* untracked = static_cast<uint8_t*>(zx::HeapObjectAlloc(nullptr, 8, 0, 0));
  EXPECT_EQ(zx::HeapObjectFree(h, untracked), -6);
  EXPECT_EQ(zx::HeapObjectFree(nullptr, untracked), 0);
  EXPECT_EQ(zx::HeapObjectFree(h, nullptr), -6);
  EXPECT_EQ(zx::HeapObjectSize(h, nullptr), -6);
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, AnotherHeapsObjectsAreRefusedAndStayLive) {
  DebugCapture cap;
  zx::clsHeapNode* a = Heap(0, u"A");
  zx::clsHeapNode* b = Heap(0, u"B");
  // The first block of a heap's memory, and one after it, of either form.
  std::vector<uint8_t*> objects;
  for (uint32_t flags : {0u, zx::kObjDebug | zx::kObjNoStack, 0u, zx::kObjDebug | zx::kObjNoStack})
    objects.push_back(static_cast<uint8_t*>(zx::HeapObjectAlloc(a, 16, flags, 0)));
  for (uint8_t* p : objects) EXPECT_EQ(zx::HeapObjectFree(b, p), -6);
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'B']::FreeObjectD(" + PointerText(objects[1]) + ")"));
  EXPECT_TRUE(cap.Saw("error freeing object"));
  EXPECT_FALSE(cap.Saw("Not allocated with UTIL")) << "the header is intact, only the heap differs";
  EXPECT_EQ(a->objects, 4);
  for (uint8_t* p : objects) EXPECT_EQ(zx::HeapObjectFree(a, p), 0);
  EXPECT_EQ(a->objects, 0);
  EXPECT_EQ(zx::HeapDelete(a), 0);
  EXPECT_EQ(zx::HeapDelete(b), 0);
}

TEST_F(HeapTest, DoubleFreesAreRefused) {
  zx::clsHeapNode* h = Heap(0, u"Twice");
#ifndef _WIN32
  // While nobody listens a plain object's second free is the system heap's to judge;
  // ours refuses the block.
  auto* quiet = zx::HeapObjectAlloc(h, 24, 0, 0);
  EXPECT_EQ(zx::HeapObjectFree(h, quiet), 0);
  EXPECT_EQ(zx::HeapObjectFree(h, quiet), -6);
#endif
  {
    DebugCapture cap;
    auto* plain = zx::HeapObjectAlloc(h, 24, 0, 0);
    EXPECT_EQ(zx::HeapObjectFree(h, plain), 0);
    EXPECT_EQ(zx::HeapObjectFree(h, plain), -6);
    auto* debug = zx::HeapObjectAlloc(h, 24, zx::kObjDebug, 0);
    EXPECT_EQ(zx::HeapObjectFree(h, debug), 0);
    EXPECT_EQ(zx::HeapObjectFree(h, debug), -6);
    EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Twice']::FreeObjectD(" + PointerText(debug) + ")"));
  }
  EXPECT_EQ(h->objects, 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, UntrackedObjectsKeepTheirSizeInFront) {
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(nullptr, 12, zx::kObjFillF5, 0));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(Word64(p, -8), 12u);
  EXPECT_EQ(zx::HeapObjectSize(nullptr, p), 12);
  EXPECT_EQ(p[11], 0xF5);
  EXPECT_EQ(zx::HeapObjectFree(nullptr, p), 0);
  EXPECT_EQ(zx::HeapValidate(nullptr, nullptr), 0);
  EXPECT_EQ(zx::HeapSize(nullptr), 0);
  EXPECT_EQ(zx::HeapSizeObjects(nullptr), 0);
  EXPECT_EQ(zx::HeapShrink(nullptr), 0);
  EXPECT_EQ(zx::HeapDelete(nullptr), 0);
}

TEST_F(HeapTest, HeapSizesComeFromTheLastBusyBlockOfAWalk) {
  DebugCapture cap;
  zx::clsHeapNode* debug = Heap(zx::kHeapDebug);
  void* a = zx::HeapObjectAlloc(debug, 100, zx::kObjNoStack, 0);
  EXPECT_EQ(zx::HeapSize(debug), 148) << "one object: its block";
  void* b = zx::HeapObjectAlloc(debug, 7, zx::kObjNoStack, 0);
  std::set<int32_t> blocks{148, 55};
  EXPECT_TRUE(blocks.count(zx::HeapSize(debug))) << "the last block of the walk, not a total";
  EXPECT_TRUE(blocks.count(zx::HeapSizeObjects(debug)));
  int32_t count = 0;
  EXPECT_TRUE(debug->Walk(zx::clsHeapNode::WalkMode::kCount, &count));
  EXPECT_EQ(count, 2);
  zx::HeapObjectFree(debug, a);
  zx::HeapObjectFree(debug, b);
  EXPECT_EQ(zx::HeapSize(debug), 0);

  zx::clsHeapNode* plain = Heap(0, u"P");
  void* c = zx::HeapObjectAlloc(plain, 20, 0, 0);
  cap.Clear();
  EXPECT_EQ(zx::HeapSize(plain), -7);
  EXPECT_TRUE(cap.Saw("UtilHeapSize will only work for DEBUG heaps, or in NT >= 3.51"));
  EXPECT_TRUE(cap.Saw("0x00000000"));
  EXPECT_EQ(zx::HeapSizeObjects(plain), 24);
  zx::HeapObjectFree(plain, c);
  EXPECT_EQ(zx::HeapDelete(plain), 0);
  EXPECT_EQ(zx::HeapDelete(debug), 0);
}

TEST_F(HeapTest, WithoutTheWalkTheSizesFallBackOrAreUnavailable) {
  DebugCapture cap;
  FakeHeap fake;
  fake.services.walk = nullptr;
  zx::clsHeapNode* debug = Heap(zx::kHeapDebug);
  void* a = zx::HeapObjectAlloc(debug, 30, zx::kObjNoStack, 0);
  EXPECT_EQ(zx::HeapSize(debug), 30) << "the sum of the live debug objects";
  EXPECT_EQ(zx::HeapSizeObjects(debug), -7);
  EXPECT_TRUE(cap.Saw("Error: UtilHeapSizeObjects(...) does only run under NT"));
  EXPECT_EQ(zx::HeapValidate(debug, a), -7);
  EXPECT_TRUE(cap.Saw("Error: UtilHeapValidate(...) does only run under NT"));
  fake.services.compact = nullptr;
  EXPECT_EQ(zx::HeapShrink(debug), -7);
  EXPECT_TRUE(cap.Saw("Error: UtilHeapShrink(...) does only run under NT"));
  zx::HeapObjectFree(debug, a);
  EXPECT_EQ(zx::HeapDelete(debug), 0);
}

TEST_F(HeapTest, ValidateTellsACorruptBlockButNotAnOverrunFoundByTheWalk) {
  DebugCapture cap;
  FakeHeap fake;
  zx::clsHeapNode* h = Heap(zx::kHeapDebug, u"V");
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, 4, zx::kObjNoStack, 0));
  EXPECT_EQ(zx::HeapValidate(h, p), 0);
  EXPECT_EQ(zx::HeapValidate(h, nullptr), 0);
  p[4] = 0;   // fence
  EXPECT_EQ(zx::HeapValidate(h, nullptr), 0) << "the walk's verdict does not change the result";
  EXPECT_TRUE(cap.Saw("Error: Memory overrun, fence value has been changed"));
  p[4] = 0x5E;
  fake.failValidate = true;
  cap.Clear();
  EXPECT_EQ(zx::HeapValidate(h, p), -3);
  EXPECT_TRUE(cap.Saw(" Error: Heap corrupted"));
  EXPECT_TRUE(cap.Saw("Heap['HeapTest'/'V']: 1 objects"));
  fake.failValidate = false;
  EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, ShrinkReportsAFailedCompaction) {
  DebugCapture cap;
  zx::clsHeapNode* h = Heap(0, u"S");
  EXPECT_EQ(zx::HeapShrink(h), FreshShrink(h));
  FakeHeap fake;
  fake.compactResult = 0;
  EXPECT_EQ(zx::HeapShrink(h), -2);
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'S']::ShrinkHeap(" + PointerText(h) + ") failed"));
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

TEST_F(HeapTest, DeletingAHeapWithObjectsLeftReportsThemUnlessTold) {
  DebugCapture cap;
  zx::clsHeapNode* loud = Heap(zx::kHeapDebug, u"Loud");
  zx::HeapObjectAlloc(loud, 3, zx::kObjNoStack, 0);
  zx::HeapObjectAlloc(loud, 3, 0, 0);
  EXPECT_EQ(zx::HeapDelete(loud), -5);
  EXPECT_TRUE(cap.Saw("Heap['HeapTest'/'Loud']: max 2, total 2 allocations"));
  EXPECT_TRUE(cap.Saw("Warning: deleting heap, but objects are left:"));
  EXPECT_TRUE(cap.Saw("Memory object allocation stack trace:"));
  cap.Clear();
  zx::clsHeapNode* quiet = Heap(zx::kHeapDebug | zx::kHeapQuietLeaks, u"Quiet");
  zx::HeapObjectAlloc(quiet, 3, zx::kObjNoStack, 0);
  EXPECT_EQ(zx::HeapDelete(quiet), -5);
  EXPECT_TRUE(cap.Saw("Heap['HeapTest'/'Quiet']: max 1, total 1 allocations"));
  EXPECT_FALSE(cap.Saw("Warning: deleting heap"));
  // An overrun in a live object is told when its heap goes.
  cap.Clear();
  zx::clsHeapNode* over = Heap(zx::kHeapDebug | zx::kHeapQuietLeaks, u"Over");
  auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(over, 2, zx::kObjNoStack, 0));
  p[2] = 1;
  EXPECT_EQ(zx::HeapDelete(over), -5);
  EXPECT_TRUE(cap.Saw("Error: Memory overrun, fence value has been changed"));
}

TEST_F(HeapTest, AFailedAllocationStillCountsAsALiveObject) {
  DebugCapture cap;
  FakeHeap fake;
  zx::clsHeapNode* h = Heap(0, u"Oom");
  fake.failAlloc = true;
  EXPECT_EQ(zx::HeapObjectAlloc(h, 16, 0, 0), nullptr);
  EXPECT_EQ(zx::HeapObjectAlloc(h, -1, zx::kObjDebug, 0), nullptr);
  EXPECT_EQ(h->objects, 2);
  EXPECT_EQ(h->total, 2);
  EXPECT_EQ(h->maximum, 2);
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Oom']::AllocObjectND(16): Out of memory"));
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Oom']::AllocObjectD(-1)"));
  EXPECT_TRUE(cap.Saw("Error: clsHeapNode['HeapTest'/'Oom']::AllocObjectD(-1): Out of memory"));
  bool traces = false;
  for (const std::string& m : cap.Messages())
    if (m.size() > 7 && m.compare(m.size() - 7, 7, " traces") == 0) traces = true;
  EXPECT_TRUE(traces) << "a raw stack follows the negative size";
  fake.failAlloc = false;
  EXPECT_EQ(zx::HeapDelete(h), -5) << "the phantom objects read as a leak";
}

TEST_F(HeapTest, CreationFlagsAndModuleFlags) {
  EXPECT_EQ(zx::HeapCreate(module_, u"R", zx::kHeapRefused), nullptr);
  EXPECT_EQ(zx::HeapCreate(nullptr, u"R", 0), nullptr);
  zx::clsHeapNode* never = Heap(zx::kHeapDebug | zx::kHeapNeverDebug);
  EXPECT_FALSE(never->IsDebugHeap());
  EXPECT_EQ(never->stack, nullptr);
  zx::clsHeapNode* options = Heap(zx::kHeapNoSerialize | zx::kHeapExceptions, nullptr);
  EXPECT_EQ(options->heapOptions, 5u);
  EXPECT_EQ(std::u16string(options->name), u"");
  zx::clsModuleNode* debugModule = zx::JobOpen(u"HeapTest.DebugModule", zx::kJobDebugHeaps);
  zx::clsHeapNode* inherited = zx::HeapCreate(debugModule, u"I", 0);
  EXPECT_TRUE(inherited->IsDebugHeap());
  EXPECT_NE(inherited->stack, nullptr);
  zx::clsHeapNode* refused = zx::HeapCreate(debugModule, u"N", zx::kHeapNeverDebug);
  EXPECT_FALSE(refused->IsDebugHeap());
  EXPECT_EQ(zx::JobClose(debugModule), -5);
  EXPECT_EQ(zx::HeapCreate(debugModule, u"Gone", 0), nullptr) << "a closed module gets no heap";
  EXPECT_EQ(zx::HeapDelete(never), 0);
  EXPECT_EQ(zx::HeapDelete(options), 0);
}

TEST_F(HeapTest, StaleHeapHandlesAreRefused) {
  DebugCapture cap;
  zx::clsHeapNode* h = Heap(0, u"Stale");
  EXPECT_EQ(zx::HeapDelete(h), 0);
  EXPECT_EQ(zx::HeapDelete(h), -2);
  EXPECT_TRUE(cap.Saw("Error: clsModuleNode['']::DeleteHeap(" + PointerText(h) + "): Invalid handle"));
  EXPECT_EQ(zx::HeapObjectAlloc(h, 8, 0, 0), nullptr);
  EXPECT_EQ(zx::HeapObjectFree(h, &cap), -2);
  EXPECT_EQ(zx::HeapSize(h), -2);
  EXPECT_EQ(zx::HeapValidate(h, nullptr), -2);
  EXPECT_EQ(zx::HeapShrink(h), -2);
  // The node's memory comes back for the next heap, which is then a live handle.
  zx::clsHeapNode* next = Heap(0, u"Next");
  EXPECT_EQ(next, h);
  EXPECT_EQ(zx::HeapDelete(next), 0);
}

TEST_F(HeapTest, ATracingModulePrintsEachHeapExportWithItsNamesInItsOrder) {
  DebugCapture cap;
  zx::clsModuleNode* m = zx::JobOpen(u"Tr", zx::kJobTrace);
  cap.Clear();
  zx::clsHeapNode* h = zx::HeapCreate(m, u"Hp", zx::kHeapDebug);
  const int32_t shrink = FreshShrink(h);
  void* p = zx::HeapObjectAlloc(h, 4, zx::kObjNoStack, 0);
  zx::HeapSize(h);
  zx::HeapSizeObjects(h);
  zx::HeapValidate(h, p);
  zx::HeapShrink(h);
  zx::HeapObjectFree(h, p);
  zx::HeapDelete(h);
  const std::string hp = PointerText(h);
  std::vector<std::string> want = {
      "UtilHeapCreate(" + PointerText(m) + ",'Hp',0x40000000)", "->" + hp,
      "UtilHeapSize(" + hp + ") ['Tr','Hp']", "->52",
      "UtilHeapSizeObjects(" + hp + ") ['Hp','Tr']", "->52",
      "UtilHeapValidate(" + hp + ") ['Hp','Tr']", "->0",
      "UtilHeapShrink(" + hp + ") ['Hp','Tr']", "->" + std::to_string(shrink),
      "UtilHeapDelete(" + hp + ") ['Tr','Hp']"};
  auto trace = cap.TraceMessages();
  // The heap's creation stack is listed nowhere here; the delete's check is quiet.
  std::vector<std::string> got;
  for (const std::string& t : trace)
    if (t.rfind(' ', 0) != 0) got.push_back(t);
  ASSERT_GE(got.size(), want.size() + 1);
  for (size_t i = 0; i < want.size(); ++i) EXPECT_EQ(got[i], want[i]);
  EXPECT_EQ(got[want.size()], "->0");
  EXPECT_TRUE(cap.Saw("Tr: UtilHeapCreate(..,'Hp',..) called with DEBUG bit"));
  EXPECT_EQ(zx::TraceLevel(), 0);
  EXPECT_EQ(zx::JobClose(m), 0);
}

TEST_F(HeapTest, TwoThreadsShareAHeapUnderTheJobLock) {
  zx::clsHeapNode* h = Heap(0, u"Threads");
  auto work = [h](uint32_t flags) {
    std::vector<void*> live;
    for (int i = 0; i < 2000; ++i) {
      live.push_back(zx::HeapObjectAlloc(h, 8 + i % 64, flags, 0));
      if (live.size() > 16) {
        EXPECT_EQ(zx::HeapObjectFree(h, live.front()), 0);
        live.erase(live.begin());
      }
    }
    for (void* p : live) EXPECT_EQ(zx::HeapObjectFree(h, p), 0);
  };
  std::thread a(work, 0u), b(work, zx::kObjDebug | zx::kObjNoStack);
  a.join();
  b.join();
  EXPECT_EQ(h->objects, 0);
  EXPECT_EQ(h->bytes, 0);
  EXPECT_EQ(h->total, 4000);
  EXPECT_EQ(zx::HeapDelete(h), 0);
}

// Objects allocated on one thread and freed on another, on a serialised heap (whose
// system heap shares the job lock), an unserialised one and a debug one: the
// consumer finds each object as the producer wrote it (no block handed out twice)
// and every free succeeds. Run under TSan and ASan as well.
TEST_F(HeapTest, ObjectsAllocatedOnOneThreadAreFreedOnAnother) {
  for (uint32_t heapFlags : {0u, zx::kHeapNoSerialize, zx::kHeapDebug}) {
    zx::clsHeapNode* h = Heap(heapFlags, u"Handover");
    constexpr int kObjects = 5000;
    std::mutex m;
    std::condition_variable cv;
    std::deque<void*> queue;
    bool done = false;
    std::thread producer([&] {
      for (int i = 0; i < kObjects; ++i) {
        const int32_t size = 4 + i % 200;
        auto* p = static_cast<uint8_t*>(zx::HeapObjectAlloc(h, size, zx::kObjNoStack, 0));
        ASSERT_NE(p, nullptr);
        std::memset(p, i & 0xFF, static_cast<size_t>(size));
        std::lock_guard<std::mutex> l(m);
        queue.push_back(p);
        cv.notify_one();
      }
      std::lock_guard<std::mutex> l(m);
      done = true;
      cv.notify_one();
    });
    int freed = 0, intact = 0, freeFailures = 0;
    for (;;) {
      void* p = nullptr;
      {
        std::unique_lock<std::mutex> l(m);
        cv.wait(l, [&] { return !queue.empty() || done; });
        if (queue.empty()) break;
        p = queue.front();
        queue.pop_front();
      }
      const int i = freed;
      const auto* bytes = static_cast<const uint8_t*>(p);
      bool same = true;
      for (int k = 0; k < 4 + i % 200; ++k) same &= bytes[k] == (i & 0xFF);
      intact += same;
      freeFailures += zx::HeapObjectFree(h, p) != 0;
      ++freed;
    }
    producer.join();
    EXPECT_EQ(freed, kObjects) << "heap flags " << heapFlags;
    EXPECT_EQ(intact, kObjects) << "heap flags " << heapFlags;
    EXPECT_EQ(freeFailures, 0) << "heap flags " << heapFlags;
    EXPECT_EQ(h->objects, 0);
    EXPECT_EQ(zx::HeapDelete(h), 0);
  }
}

TEST(HeapExportTest, TheExportsReachTheSameLogic) {
  HUTILMODULE m = UtilJobOpen(reinterpret_cast<LPCWSTR>(u"HeapExportTest"), 0);
  HUTILHEAP h = UtilHeapCreate(m, reinterpret_cast<LPCWSTR>(u"E"), UTIL_HEAP_DEBUG);
  ASSERT_NE(h, nullptr);
  void* p = UtilHeapObjectAllocExt(h, 6, UTIL_OBJ_NO_STACK | UTIL_OBJ_FILL, nullptr, 77);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(Word32(p, -12), 77u);
  EXPECT_EQ(UtilHeapObjectSize(h, p), 6);
  EXPECT_EQ(UtilHeapSize(h), 54);
  EXPECT_EQ(UtilHeapSizeObjects(h), 54);
  EXPECT_EQ(UtilHeapValidate(h, p), 0);
  EXPECT_EQ(UtilHeapShrink(h), FreshShrink(reinterpret_cast<zx::clsHeapNode*>(h)));
  static_cast<uint8_t*>(p)[6] = 0;
  EXPECT_EQ(UtilHeapObjectFree(h, p), -6);
  static_cast<uint8_t*>(p)[6] = 0x5E;
  EXPECT_EQ(UtilHeapObjectFree(h, p), 0);
  EXPECT_EQ(UtilHeapCreate(m, nullptr, UTIL_HEAP_REFUSED), nullptr);
  void* u = UtilHeapObjectAlloc(nullptr, 3, UTIL_OBJ_ZERO);
  EXPECT_EQ(UtilHeapObjectSize(nullptr, u), 3);
  EXPECT_EQ(UtilHeapObjectFree(nullptr, u), 0);
  EXPECT_EQ(UtilHeapDelete(h), 0);
  EXPECT_EQ(UtilHeapDelete(h), -2);
  EXPECT_EQ(UtilJobClose(m), 0);
}

}  // namespace
