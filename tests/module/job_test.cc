// Module jobs: sharing by name, the 32-character cut, stale and wrong handles,
// closing with heaps left, and the trace scopes of a tracing module.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "module_test_util.h"
#include "module/HeapNode.h"
#include "module/ModuleList.h"
#include "module/TraceScope.h"
#include "zxUT22.h"

namespace {

using zxtest::DebugCapture;
using zxtest::PointerText;

std::u16string Repeat(char16_t c, size_t n) { return std::u16string(n, c); }

// The module list is read under the job lock, as the library reads it.
bool Listed(const zx::clsModuleNode* node) {
  zx::JobLockHolder lock;
  return zx::ModuleList().Contains(node);
}
zx::clsModuleNode* Found(const char16_t* name) {
  zx::JobLockHolder lock;
  return zx::ModuleList().Find(name);
}

TEST(JobTest, OpeningANameTwiceSharesTheNodeAndTheSecondCloseRemovesIt) {
  zx::clsModuleNode* a = zx::JobOpen(u"JobTest.A", 0x1);
  ASSERT_NE(a, nullptr);
  zx::clsModuleNode* again = zx::JobOpen(u"JobTest.A", 0x2);
  EXPECT_EQ(again, a);
  EXPECT_EQ(a->refCount, 2u);
  EXPECT_EQ(a->flags, 0x1u) << "the flags of the second open are ignored";
  EXPECT_EQ(zx::JobClose(a), 0);
  EXPECT_TRUE(Listed(a));
  EXPECT_EQ(zx::JobClose(a), 0);
  EXPECT_FALSE(Listed(a));
  EXPECT_EQ(Found(u"JobTest.A"), nullptr);
}

TEST(JobTest, NamesAreCutAt32CharactersAndCompareWithCase) {
  std::u16string forty1 = Repeat(u'x', 32) + u"AAAAAAAA";
  std::u16string forty2 = Repeat(u'x', 32) + u"BBBBBBBB";
  zx::clsModuleNode* a = zx::JobOpen(forty1.c_str(), 0);
  zx::clsModuleNode* b = zx::JobOpen(forty2.c_str(), 0);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, b) << "names that differ after character 32 share one node";
  EXPECT_EQ(std::u16string(a->name), Repeat(u'x', 32));
  zx::clsModuleNode* shorter = zx::JobOpen(Repeat(u'x', 31).c_str(), 0);
  EXPECT_NE(shorter, a);
  zx::clsModuleNode* upper = zx::JobOpen(Repeat(u'X', 32).c_str(), 0);
  EXPECT_NE(upper, a) << "the search is case-sensitive";
  EXPECT_EQ(zx::JobClose(a), 0);
  EXPECT_EQ(zx::JobClose(b), 0);
  EXPECT_EQ(zx::JobClose(shorter), 0);
  EXPECT_EQ(zx::JobClose(upper), 0);
}

TEST(JobTest, NullHandleClosesWithZeroAndNullNameOpensNothing) {
  EXPECT_EQ(zx::JobClose(nullptr), 0);
  EXPECT_EQ(zx::JobOpen(nullptr, 0), nullptr);
  DebugCapture cap;
  EXPECT_EQ(zx::JobOpen(nullptr, zx::kJobTrace), nullptr);
  auto trace = cap.TraceMessages();
  ASSERT_EQ(trace.size(), 2u);
  EXPECT_EQ(trace[0], "UtilJobOpen('(NULL)',0x80000000)");
  EXPECT_EQ(trace[1], "->" + PointerText(nullptr));
}

TEST(JobTest, StaleAndWrongHandlesGiveMinusTwoWithoutBeingTouched) {
  DebugCapture cap;
  zx::clsModuleNode* gone = zx::JobOpen(u"JobTest.Stale", 0);
  ASSERT_EQ(zx::JobClose(gone), 0);
  EXPECT_EQ(zx::JobClose(gone), -2);
  EXPECT_TRUE(cap.Saw("Error: clsModuleList::Delete(" + PointerText(gone) + "): Invalid handle"));

  // A foreign block whose count field reads 1, and one whose count reads 2: neither
  // is changed.
  alignas(zx::clsModuleNode) unsigned char fake[sizeof(zx::clsModuleNode)];
  std::memset(fake, 0, sizeof fake);
  auto* node = reinterpret_cast<zx::clsModuleNode*>(fake);
  node->refCount = 1;
  EXPECT_EQ(zx::JobClose(node), -2);
  EXPECT_EQ(node->refCount, 1u);
  node->refCount = 2;
  EXPECT_EQ(zx::JobClose(node), -2);
  EXPECT_EQ(node->refCount, 2u);
}

TEST(JobTest, ClosingWithAHeapLeftReportsItDestroysItAndGivesMinusFive) {
  DebugCapture cap;
  zx::clsModuleNode* m = zx::JobOpen(u"JobTest.Leak", 0);
  zx::clsHeapNode* h = zx::HeapCreate(m, u"LeakHeap", zx::kHeapDebug);
  ASSERT_NE(h, nullptr);
  void* p = zx::HeapObjectAlloc(h, 12, zx::kObjNoStack, 0);
  ASSERT_NE(p, nullptr);
  std::memcpy(p, "leaked bytes", 12);
  EXPECT_EQ(zx::JobClose(m), -5);
  EXPECT_FALSE(zx::clsHeapNode::IsLive(h)) << "the heap is gone";
  EXPECT_EQ(zx::HeapDelete(h), -2);

  auto messages = cap.Messages();
  auto trace = cap.TraceMessages();
  EXPECT_TRUE(cap.Saw("Error: deleting module 'JobTest.Leak', but the following heaps are left:"));
  // The module's listing, then the heap's own report as it is destroyed.
  ASSERT_GE(trace.size(), 4u);
  EXPECT_EQ(trace[0], "Heap['JobTest.Leak'/'LeakHeap']: 1 objects");
  EXPECT_EQ(trace[1], " Heap allocation stack trace:") << "the creation stack follows";
  int objectLines = 0, rows = 0;
  for (const std::string& t : trace) {
    if (t.find("-Object at " + PointerText(p) + ", 12(=0x0000000c) Bytes") != std::string::npos) ++objectLines;
    if (t.find("6c 65 61 6b 65 64 20 62  leaked b") != std::string::npos) ++rows;
  }
  EXPECT_EQ(objectLines, 2) << "listed by the module, and again by the heap's warning";
  EXPECT_EQ(rows, 2);
  EXPECT_TRUE(cap.Saw("Heap['JobTest.Leak'/'LeakHeap']: max 1, total 1 allocations"));
  EXPECT_TRUE(cap.Saw("Warning: deleting heap, but objects are left:"));
  EXPECT_EQ(zx::TraceLevel(), 0);
}

TEST(JobTest, ATracingModulePrintsScopesAndKeepsItsOpeningStack) {
  DebugCapture cap;
  zx::clsModuleNode* m = zx::JobOpen(u"JobTest.Trace", zx::kJobTrace);
  ASSERT_NE(m, nullptr);
  ASSERT_NE(m->stack, nullptr);
  int filled = 0;
  for (const auto& e : m->stack->entries) {
    filled += e.address != 0;
    EXPECT_EQ(e.unused0, 0u);
    EXPECT_EQ(e.unused1, 0u);
  }
  EXPECT_GT(filled, 0);
  EXPECT_EQ(zx::JobClose(m), 0);
  auto trace = cap.TraceMessages();
  ASSERT_EQ(trace.size(), 4u);
  EXPECT_EQ(trace[0], "UtilJobOpen('JobTest.Trace',0x80000000)");
  EXPECT_EQ(trace[1], "->" + PointerText(m));
  EXPECT_EQ(trace[2], "UtilJobClose(" + PointerText(m) + ") ['JobTest.Trace']");
  EXPECT_EQ(trace[3], "->0");
  EXPECT_EQ(zx::TraceLevel(), 0);
}

TEST(JobTest, TraceScopesIndentByTheLevelAndTheClosingLineStandsAtTheOpening) {
  DebugCapture cap;
  {
    zx::scTraceScope outer(true, u"outer %d", 1);
    zx::scTraceScope inner(true, u"inner");
    inner.Line(u"line");
    inner.Close(u"->%d", 7);
    outer.Line(u"after");
  }
  zx::scTraceScope off(false, u"never");
  off.Line(u"never");
  auto trace = cap.TraceMessages();
  ASSERT_EQ(trace.size(), 5u);
  EXPECT_EQ(trace[0], "outer 1");
  EXPECT_EQ(trace[1], " inner");
  EXPECT_EQ(trace[2], "  line");
  EXPECT_EQ(trace[3], " ->7");
  EXPECT_EQ(trace[4], " after");
  EXPECT_EQ(zx::TraceLevel(), 0);
}

TEST(JobTest, QuietWhileDebugOutputIsOff) {
  zx::clsModuleNode* m = zx::JobOpen(u"JobTest.Quiet", zx::kJobTrace);
  EXPECT_EQ(zx::TraceLevel(), 0);
  EXPECT_EQ(zx::JobClose(m), 0);
}

// The exports reach the shared library's own copy of the list.
TEST(JobTest, ExportsShareCloseAndRefuseStaleHandles) {
  HUTILMODULE a = UtilJobOpen(reinterpret_cast<LPCWSTR>(u"JobTest.Export"), 0);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(UtilJobOpen(reinterpret_cast<LPCWSTR>(u"JobTest.Export"), 0), a);
  EXPECT_EQ(UtilJobClose(a), 0);
  EXPECT_EQ(UtilJobClose(a), 0);
  EXPECT_EQ(UtilJobClose(a), -2);
  EXPECT_EQ(UtilJobClose(nullptr), 0);
  HUTILMODULE m = UtilJobOpen(reinterpret_cast<LPCWSTR>(u"JobTest.ExportHeap"), 0);
  HUTILHEAP h = UtilHeapCreate(m, reinterpret_cast<LPCWSTR>(u"H"), 0);
  ASSERT_NE(h, nullptr);
  EXPECT_NE(UtilHeapObjectAlloc(h, 8, 0), nullptr);
  EXPECT_EQ(UtilJobClose(m), -5);
  EXPECT_EQ(UtilHeapDelete(h), -2);
}

}  // namespace
