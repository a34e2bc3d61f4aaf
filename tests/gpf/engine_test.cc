// The debug help engine: the fixed records at their offsets, stack traces with
// symbols, lines, parameters and locals, the module list, the job's options, the
// limits of its locks and of a hung worker, and DumpStackTraceEx's lines.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "gpf/DbgHelpWrapper.h"
#include "gpf/StackFormat.h"
#include "gpf_test_util.h"
#include "platform/clock.h"
#include "platform/compiler.h"
#include "zxUT22.h"

namespace {

using zxsupport::Ascii;

// Keeps a call from becoming a jump, so that the caller's frame stays on the stack.
#define ZX_NO_TAIL_CALL() asm volatile("")

// The engine's mode (-1) does not ask the Windows symbol library for line
// numbers; the Linux services read them always.
#ifdef _WIN32
constexpr bool kWorkerEndedByForce = true;
constexpr bool kLines = false;
#else
constexpr bool kWorkerEndedByForce = false;
constexpr bool kLines = true;
#endif

// ---- records

template <typename T>
T At(const void* record, size_t offset) {
  T v;
  std::memcpy(&v, static_cast<const char*>(record) + offset, sizeof v);
  return v;
}

TEST(Records, FieldsSitAtTheirOffsets) {
  auto* item = new DBGStackTraceItem{};
  item->dwSize = 9432;
  item->dwKind = 1;
  item->qwAddress = 0x1122334455667788ull;
  std::strcpy(item->szSymbol, "sym");
  std::strcpy(item->szUndName, "und");
  std::strcpy(item->szUndFullName, "full");
  item->qwDisplacement = 0xABCDull;
  item->dwLineDisplacement = 7;
  item->dwLineNumber = 99;
  std::strcpy(item->szFileName, "file.cc");
  std::strcpy(item->szSymType, "DWARF");
  item->qwModuleBase = 0x400000;
  std::strcpy(item->szModuleName, "mod");
  item->dwParams = 3;
  item->aParams[1].dwKind = 5;
  item->aParams[1].bLocal = 1;
  item->aParams[1].qwValue = 0x55;
  std::strcpy(item->aParams[1].szName, "p");
  struct {
    size_t offset;
    uint64_t expected;
    size_t bytes;
  } const numbers[] = {{0, 9432, 4},     {4, 1, 4},           {8, 0x1122334455667788ull, 8}, {3088, 0xABCD, 8},
                       {3096, 7, 4},     {3100, 99, 4},       {4392, 0x400000, 8},         {5424, 3, 4},
                       {5432 + 80, 5, 4}, {5432 + 84, 1, 1}, {5432 + 88, 0x55, 8}};
  for (const auto& n : numbers) {
    uint64_t v = 0;
    std::memcpy(&v, reinterpret_cast<const char*>(item) + n.offset, n.bytes);
    EXPECT_EQ(v, n.expected) << "offset " << n.offset;
  }
  const struct {
    size_t offset;
    const char* text;
  } texts[] = {{16, "sym"}, {1040, "und"}, {2064, "full"}, {3104, "file.cc"}, {3368, "DWARF"}, {4400, "mod"},
               {5432 + 80 + 16, "p"}};
  for (const auto& t : texts) EXPECT_STREQ(reinterpret_cast<const char*>(item) + t.offset, t.text) << t.offset;
  delete item;

  DBGModuleItem m{};
  m.dwSize = 832;
  std::strcpy(m.szPath, "/p");
  std::strcpy(m.szModuleName, "n");
  std::strcpy(m.szSymType, "SYM");
  m.qwBase = 0x7f0000001000ull;
  m.dwImageSize = 4096;
  std::strcpy(m.szDescription, "d");
  std::strcpy(m.szCompany, "c");
  std::strcpy(m.szVersion, "v");
  EXPECT_EQ(At<uint32_t>(&m, 0), 832u);
  EXPECT_EQ(At<uint64_t>(&m, 560), 0x7f0000001000ull);
  EXPECT_EQ(At<uint32_t>(&m, 568), 4096u);
  const char* base = reinterpret_cast<const char*>(&m);
  EXPECT_STREQ(base + 4, "/p");
  EXPECT_STREQ(base + 264, "n");
  EXPECT_STREQ(base + 524, "SYM");
  EXPECT_STREQ(base + 572, "d");
  EXPECT_STREQ(base + 636, "c");
  EXPECT_STREQ(base + 700, "v");
}

// ---- a chain of frames with known names, and a frame with parameters and locals

std::vector<DBGStackTraceItem> Items(IDBGStackTraceList* list) {
  std::vector<DBGStackTraceItem> out;
  if (!list) return out;
  list->Reset();
  DBGStackTraceItem* item = nullptr;
  ULONG got = 0;
  while (list->Next(1, &item, &got) == 0 && got == 1) out.push_back(*item);
  return out;
}

struct Capture {
  HDEBUGHELPJOB job;
  std::vector<DBGStackTraceItem> items;
  LONG result = 0;
};

extern "C" ZX_NOINLINE void GpfTestInner(Capture* c) {
  IDBGStackTraceList* list = nullptr;
  c->result = UtilDebugHelpGetStackTrace(c->job, &list, nullptr);
  c->items = Items(list);
  if (list) list->Release();
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void GpfTestMiddle(Capture* c) {
  GpfTestInner(c);
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void GpfTestOuter(Capture* c) {
  GpfTestMiddle(c);
  ZX_NO_TAIL_CALL();
}

// Unoptimised, so that its parameters and locals live in its frame.
extern "C" __attribute__((noinline, optimize("O0"))) void GpfTestParams(Capture* c, int count, const char* text,
                                                                        double ratio) {
  int local = 7;
  char buffer[8] = "abc";
  GpfTestInner(c);
  (void)local;
  (void)buffer;
  (void)count;
  (void)text;
  (void)ratio;
}

int IndexOf(const std::vector<DBGStackTraceItem>& items, const char* name) {
  for (size_t i = 0; i < items.size(); ++i)
    if (std::string(items[i].szUndFullName).find(name) != std::string::npos) return static_cast<int>(i);
  return -1;
}

class Engine : public ::testing::Test {
 protected:
  void SetUp() override { job_ = UtilDebugHelpJobOpen(); }
  void TearDown() override { UtilDebugHelpJobClose(job_); }
  HDEBUGHELPJOB job_ = nullptr;
};

TEST_F(Engine, StackTraceNamesTheCallersInOrderWithFileAndLine) {
  for (DWORD second : {0u, 1u}) {
    SCOPED_TRACE(second ? "walk on a second thread" : "walk on the worker");
    UtilDebugHelpSetOption(job_, 2, second);
    Capture c{job_, {}, 0};
    GpfTestOuter(&c);
    ASSERT_NE(c.result, 0);
    ASSERT_GE(c.items.size(), 4u);
    EXPECT_STREQ(c.items[1].szModuleName, "test_gpf");
    const int inner = IndexOf(c.items, "GpfTestInner"), middle = IndexOf(c.items, "GpfTestMiddle"),
              outer = IndexOf(c.items, "GpfTestOuter");
    ASSERT_GE(inner, 0);
    EXPECT_EQ(middle, inner + 1);
    EXPECT_EQ(outer, inner + 2);
    for (int i : {inner, middle, outer}) {
      const DBGStackTraceItem& it = c.items[i];
      EXPECT_EQ(it.dwSize, 9432u);
      EXPECT_EQ(it.dwKind, 0u);
      EXPECT_STREQ(it.szModuleName, "test_gpf");
      if (kLines) {
        EXPECT_NE(std::string(it.szFileName).find("engine_test.cc"), std::string::npos) << it.szFileName;
        EXPECT_GT(it.dwLineNumber, 100u);
      } else {
        EXPECT_EQ(it.dwLineNumber, 0u);
      }
      EXPECT_GT(it.qwDisplacement, 0u);
      EXPECT_GT(it.qwModuleBase, 0u);
      EXPECT_LT(it.qwModuleBase, it.qwAddress);
    }
    // The frames run up the source: each call stands on its own line below the callee.
    if (kLines) {
      EXPECT_GT(c.items[middle].dwLineNumber, c.items[inner].dwLineNumber);
      EXPECT_GT(c.items[outer].dwLineNumber, c.items[middle].dwLineNumber);
    }
  }
}

TEST_F(Engine, FrameLimitIsOptionOne) {
  for (DWORD limit : {1u, 2u, 5u}) {
    UtilDebugHelpSetOption(job_, 1, limit);
    Capture c{job_, {}, 0};
    GpfTestOuter(&c);
    EXPECT_EQ(c.items.size(), limit);
  }
}

TEST_F(Engine, ParametersAndLocalsOfAnUnoptimisedFrame) {
  Capture c{job_, {}, 0};
  GpfTestParams(&c, 42, "hello", 2.5);
  const int at = IndexOf(c.items, "GpfTestParams");
  ASSERT_GE(at, 0);
  const DBGStackTraceItem& it = c.items[at];
  std::vector<std::string> lines;
  zx::FormatStackItem(it, false, [](void* l, const char16_t* line) {
    static_cast<std::vector<std::string>*>(l)->push_back(Ascii(line)); }, &lines);
  ASSERT_GE(lines.size(), 7u);
  std::string all;
  for (const auto& l : lines) all += l + "\n";
  for (const char* e : {"        param(count)=42\n", "        param(ratio)=2.5\n", "        local(local)=7\n",
                        "        local(buffer)=<array[8] of Char>\n"})
    EXPECT_NE(all.find(e), std::string::npos) << e << "\n" << all;
  EXPECT_NE(all.find("param(text)=0X"), std::string::npos) << all;   // "%#p" as the C runtime has it
  EXPECT_NE(all.find(" 'hello'"), std::string::npos) << all;
  EXPECT_EQ(it.aParams[0].bLocal, 0);
  EXPECT_STREQ(it.aParams[0].szName, "c");
}

TEST_F(Engine, ModuleListHoldsThisProgramAroundItsCode) {
  IDBGModuleList* list = nullptr;
  ASSERT_NE(UtilDebugHelpGetModuleList(job_, &list), 0);
  list->Reset();
  DBGModuleItem* m = nullptr;
  ULONG got = 0;
  bool program = false;
  size_t count = 0;
  const uint64_t code = reinterpret_cast<uintptr_t>(&GpfTestOuter);
  while (list->Next(1, &m, &got) == 0) {
    ++count;
    EXPECT_EQ(m->dwSize, 832u);
    if (std::string(m->szModuleName) == "test_gpf") {
      program = true;
      EXPECT_LE(m->qwBase, code);
      EXPECT_GT(m->qwBase + m->dwImageSize, code);
      EXPECT_NE(std::string(m->szPath).find("test_gpf"), std::string::npos);
      EXPECT_STRNE(m->szSymType, "-unknown-");
    }
  }
  EXPECT_TRUE(program);
  EXPECT_GE(count, 3u);
  // A clone shares the items and starts where the original stood.
  list->Reset();
  list->Skip(1);
  IDBGList<DBGModuleItem>* clone = nullptr;
  ASSERT_EQ(list->Clone(&clone), 0);
  DBGModuleItem* a = nullptr;
  DBGModuleItem* b = nullptr;
  list->Next(1, &a, &got);
  clone->Next(1, &b, &got);
  EXPECT_EQ(a, b);
  EXPECT_FALSE(clone->IsEmpty());
  clone->Release();
  EXPECT_EQ(list->Release(), 1u);   // the engine keeps the list it filled once
}

TEST(EngineExports, NullJobAnswersZero) {
  IDBGStackTraceList* stack = nullptr;
  IDBGModuleList* modules = nullptr;
  WCHAR path[260] = {};
  EXPECT_EQ(UtilDebugHelpGetStackTrace(nullptr, &stack, nullptr), 0);
  EXPECT_EQ(UtilDebugHelpGetModuleList(nullptr, &modules), 0);
  EXPECT_EQ(UtilDebugHelpWriteMiniDump(nullptr, path, 260, nullptr), 0);
  UtilDebugHelpSetOption(nullptr, 1, 5);
  UtilDebugHelpJobClose(nullptr);
  EXPECT_EQ(stack, nullptr);
  EXPECT_NE(UtilGetDBGHELPThreadingCS(), nullptr);
}

// ---- DumpStackTraceEx

class Lines final : public zx::clsDebugOutput {
 public:
  void Printf(const char16_t* format, ...) override {
    va_list ap;
    va_start(ap, format);
    const char16_t* line = va_arg(ap, const char16_t*);   // every line comes as "%s"
    va_end(ap);
    EXPECT_EQ(std::u16string(format), u"%s");
    lines.push_back(Ascii(line));
  }
  std::vector<std::string> lines;
};

extern "C" ZX_NOINLINE int GpfTestDump(Lines* out) {
  const int r = zx::DumpStackTraceEx(30, true, out);
  ZX_NO_TAIL_CALL();
  return r;
}

TEST(DumpStackTraceEx, PrintsFramesInSixteenDigits) {
  Lines out;
  ASSERT_EQ(GpfTestDump(&out), 1);
  ASSERT_FALSE(out.lines.empty());
  bool found = false;
  for (const std::string& l : out.lines) {
    if (l.rfind("[0x", 0) != 0) continue;
    EXPECT_EQ(l[19], ']') << l;   // "[0x" + 16 digits
    if (l.find("!GpfTestDump + 0x") != std::string::npos) found = true;
  }
  EXPECT_TRUE(found);
}

// ---- the limits, on the fake clock (this program's own copy of the engine)

TEST(Wrapper, SecondWrapperWaitsFiveSecondsThenHasNoEngine) {
  zx::clsDBGHelpWrapperGPFProt first;
  ASSERT_TRUE(first.Open());
  ASSERT_TRUE(first.HasEngine());
  std::atomic<bool> opened{true};
  uint64_t waited = 0;
  {
    plat::FakeClock clock;
    std::thread other([&] {
      zx::clsDBGHelpWrapperGPFProt second;
      const uint64_t start = plat::TickCount64();
      opened = second.Open();
      waited = plat::TickCount64() - start;
      IDBGModuleList* list = nullptr;
      EXPECT_EQ(second.GetModuleList(&list), 0);
    });
    other.join();
  }
  EXPECT_FALSE(opened.load());
  EXPECT_GE(waited, 5000u);
  EXPECT_LT(waited, 5100u);
}

std::atomic<int> g_hookEntered{0};
std::atomic<bool> g_hookRelease{false};

TEST(Wrapper, HungWorkerIsGivenUpAfterSixtySeconds) {
  zxtest::LogCapture log;
  {
    zx::clsDBGHelpWrapperGPFProt w;
    ASSERT_TRUE(w.Open());
    ASSERT_TRUE(w.HasEngine());
    plat::FakeClock clock;
    g_hookEntered = 0;
    g_hookRelease = false;
    zx::clsDBGHelpWrapper::SetCommandHookForTests([](uint32_t command) {
      if (command != zx::kCmdModuleList) return;
      g_hookEntered = 1;
      while (!g_hookRelease.load()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
    });
    std::thread advance([&] {
      while (!g_hookEntered.load()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
      clock.Advance(59000);
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      EXPECT_EQ(log.Count("KILLing dump thread..."), 0u);   // not before the limit
      clock.Advance(1000);
    });
    IDBGModuleList* list = nullptr;
    EXPECT_EQ(w.GetModuleList(&list), 0);
    advance.join();
    EXPECT_FALSE(w.HasEngine());
    EXPECT_EQ(log.Count("KILLing dump thread..."), 1u);
    g_hookRelease = true;
  }
  zx::clsDBGHelpWrapper::SetCommandHookForTests(nullptr);
  // Linux: the given-up worker drops the engine and its lock, and the next wrapper
  // gets both. Windows ends the worker by force: its engine lock stays taken, and
  // the next wrapper works without an engine after its wait.
  zx::clsDBGHelpWrapperGPFProt next;
  ASSERT_TRUE(next.Open());
  EXPECT_EQ(next.HasEngine(), !kWorkerEndedByForce);
}

}  // namespace
