// The formatted line through the log-file sink: time, thread, processor, rolling
// digit, tag, indentation (+1/-1/+5, clamp), markers, thread names, the 1025 limit,
// the re-entrance drop and on/off switching.
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "debug_test_util.h"
#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "file/File.h"
#include "platform/clock.h"
#include "platform/process.h"
#include "platform/registry.h"

namespace {

// Blocks and registry of this test program stay its own.
void SetEnv(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

const bool g_isolated = [] {
  if (std::getenv("ZXUT_DEBUG_CHILD")) return false;   // a client child: its parent decides
  SetEnv("ZXUT_SHM_PREFIX", "zxtest" + std::to_string(plat::ProcessId()));
  std::string reg = zxsupport::TempPath("debug_reg");
  std::filesystem::create_directories(reg);
  SetEnv("ZXUT_REGISTRY_DIR", reg);
  return true;
}();

using zxsupport::Ascii;
using zxsupport::U16;

void Print(int change, const char16_t* tag, const char16_t* format, ...) {
  va_list ap;
  va_start(ap, format);
  zx::DebugPrintV(change, tag, format, ap);
  va_end(ap);
}

class LineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ch_ = zx::DebugChannel();
    ASSERT_NE(ch_, nullptr);
    ASSERT_EQ(ch_->SharedView(), nullptr) << "a viewer block in this test's namespace";
    path_ = zxsupport::TempPath("debug_log");
    ch_->SetLogFile(zx::String(std::u16string_view(U16(path_))), false);
    ch_->AppLocal()->indentation.store(0);
  }
  void TearDown() override {
    ch_->SetLogFile(zx::String(), false);
    zx::DebugSetThreadName(nullptr);
    std::remove(path_.c_str());
  }
  // The file: UTF-16 without byte-order mark, "\r\n" after each line.
  std::vector<std::string> Lines() {
    std::u16string rest;
    std::vector<std::string> out;
    for (const std::u16string& line : zxsupport::ReadUtf16Lines(path_, &rest)) out.push_back(Ascii(line));
    EXPECT_TRUE(rest.empty()) << "text after the last line end";
    return out;
  }
  // Blanks between the "digit " field and the text of a wall-clock line.
  static int Indent(const std::string& line, size_t prefix = 0) {
    size_t i = prefix + 27;
    int n = 0;
    while (i < line.size() && line[i] == ' ') ++i, ++n;
    return n;
  }

  zx::clsDebugChannel* ch_ = nullptr;
  std::string path_;
};

TEST_F(LineTest, WallClockLineHasTimeThreadProcessorAndRollingDigit) {
  Print(0, nullptr, u"hello %d", 42);
  Print(0, nullptr, u"world");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  std::regex re(R"(^(\d\d):(\d\d):(\d\d)\.(\d{3}) ([0-9a-f]{8})/([0-9a-f]{2}) ([0-9]) hello 42$)");
  std::smatch m;
  ASSERT_TRUE(std::regex_match(lines[0], m, re)) << lines[0];
  EXPECT_LT(std::stoi(m[1]), 24);
  EXPECT_LT(std::stoi(m[2]), 60);
  EXPECT_EQ(std::stoul(m[5], nullptr, 16), plat::ThreadId());
  int digit = m[7].str()[0] - '0';
  EXPECT_EQ(lines[1][25] - '0', (digit + 1) % 10);
  EXPECT_EQ(lines[1].substr(27), "world");
}

TEST_F(LineTest, TagIsPaddedToEightAndNeverCut) {
  Print(0, u"TAG", u"a");
  Print(0, u"ABCDEFGHIJK", u"b");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].substr(0, 10), "TAG     : ");
  EXPECT_EQ(lines[0].substr(10 + 27), "a");
  EXPECT_EQ(lines[1].substr(0, 13), "ABCDEFGHIJK: ");
  EXPECT_EQ(lines[1].substr(13 + 27), "b");
}

TEST_F(LineTest, IndentationFollowsOpeningAndClosingLines) {
  Print(+1, nullptr, u">open");
  Print(0, nullptr, u"-inside");
  Print(+1, nullptr, u">nested");
  Print(-1, nullptr, u"<nested");
  Print(-1, nullptr, u"<open");
  Print(+5, nullptr, u"five");
  Print(0, nullptr, u"after five");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 7u);
  const int expected[] = {0, 1, 1, 1, 0, 0, 1};
  const char* texts[] = {">open", "-inside", ">nested", "<nested", "<open", "five", "after five"};
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(Indent(lines[i]), expected[i]) << lines[i];
    EXPECT_EQ(lines[i].substr(27 + expected[i]), texts[i]);
  }
  EXPECT_EQ(ch_->AppLocal()->indentation.load(), 1);
}

TEST_F(LineTest, IndentationIsClampedForTheLineButCountedInFull) {
  ch_->AppLocal()->indentation.store(60);
  Print(0, nullptr, u"deep");
  Print(-1, nullptr, u"one up");
  Print(-1, nullptr, u"two up");
  ch_->AppLocal()->indentation.store(-3);
  Print(0, nullptr, u"negative");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(Indent(lines[0]), 50);
  EXPECT_EQ(Indent(lines[1]), 50);
  EXPECT_EQ(Indent(lines[2]), 50);
  EXPECT_EQ(Indent(lines[3]), 0);
  ch_->AppLocal()->indentation.store(60);
  Print(-1, nullptr, u"x");
  Print(-1, nullptr, u"y");
  EXPECT_EQ(ch_->AppLocal()->indentation.load(), 58);
}

TEST_F(LineTest, NullFormatOnlyMovesTheIndentation) {
  Print(+1, nullptr, nullptr);
  Print(+1, nullptr, nullptr);
  Print(-1, nullptr, nullptr);
  Print(0, nullptr, nullptr);
  Print(0, nullptr, u"x");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(Indent(lines[0]), 1);
}

TEST_F(LineTest, EmptyMessageWithAChangeIsALineOfItsOwn) {
  Print(+1, nullptr, u"");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].size(), 27u);
}

TEST_F(LineTest, MarkerStandsInTheIndentColumn) {
  ch_->AppLocal()->indentation.store(2);
  Print(0, nullptr, u"DB\x25A0text %d", 7);
  Print(0, nullptr, u"plain");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].substr(27), "DB   text 7");   // marker, then indentation + 1 blanks
  EXPECT_EQ(lines[1].substr(27), "  plain");
  // At a given depth the text begins at the same column, marker or not.
  EXPECT_EQ(lines[0].find("text"), lines[1].find("plain") + 3);
}

TEST_F(LineTest, ThreadNamesPrefixTheTextOfTheirThreadOnly) {
  static const char kName[] = "Worker";
  zx::DebugSetThreadName(kName);
  Print(0, nullptr, u"named");
  std::thread([] { Print(0, nullptr, u"other"); }).join();
  zx::DebugSetThreadName(nullptr);
  Print(0, nullptr, u"unnamed");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].substr(27), "[Worker] named");
  EXPECT_EQ(lines[1].substr(27), "other");
  EXPECT_EQ(lines[2].substr(27), "unnamed");
}

TEST_F(LineTest, LongLinesAreCutAt1024Characters) {
  std::u16string big(3000, u'x');
  ch_->AppLocal()->indentation.store(3);
  Print(0, u"T", u"%s", big.c_str());
  Print(0, nullptr, u"next");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].size(), 1024u);
  EXPECT_EQ(Indent(lines[1]), 3);   // the indentation is not lost
}

// A line caused by writing a line is dropped: the clock, read by the log sink,
// prints a line of its own.
uint64_t ReentrantTick(void*) {
  static thread_local bool inside = false;
  if (!inside) {
    inside = true;
    zx::DebugPrint(u"caused by the sink");
    inside = false;
  }
  return 1000000;
}
void NoSleep(uint32_t, void*) {}

TEST_F(LineTest, ALineCausedByWritingALineIsDropped) {
  plat::ClockHooks hooks{&ReentrantTick, &NoSleep, nullptr};
  plat::SetClockHooks(&hooks);
  Print(0, nullptr, u"outer");
  plat::SetClockHooks(nullptr);
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].substr(27), "outer");
}

TEST_F(LineTest, OffMeansNothingIsFormatted) {
  ch_->SetLogFile(zx::String(), false);
  EXPECT_FALSE(zx::IsDebugActive());
  // An argument that would fault if it were formatted.
  const char16_t* poison = reinterpret_cast<const char16_t*>(16);
  zx::DebugPrint(u"%s", poison);
  Print(0, nullptr, u"%s", poison);
  Print(+1, nullptr, u"%s", poison);   // a positive change is not applied either
  EXPECT_EQ(ch_->AppLocal()->indentation.load(), 0);
  ch_->SetLogFile(zx::String(std::u16string_view(U16(path_))), false);
  EXPECT_TRUE(zx::IsDebugActive());
  Print(0, nullptr, u"on again");
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].substr(27), "on again");
}

TEST_F(LineTest, TheLockedTestAgreesWithTheCheapOne) {
  for (bool locked : {false, true}) {
    ch_->SetAlwaysLocked(locked);
    ch_->SetLogFile(zx::String(), false);
    EXPECT_FALSE(ch_->IsDebugActive());
    ch_->SetLogFile(zx::String(std::u16string_view(U16(path_))), false);
    EXPECT_TRUE(ch_->IsDebugActive());
  }
  ch_->SetAlwaysLocked(false);
}

TEST_F(LineTest, TwoThreadsPrintWholeLines) {
  auto work = [](const char* name) {
    zx::DebugSetThreadName(name);
    for (int i = 0; i < 200; ++i) Print(i % 2 ? -1 : +1, u"MT", u"line %d", i);
    zx::DebugSetThreadName(nullptr);
  };
  std::thread a(work, "A"), b(work, "B");
  a.join();
  b.join();
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 400u);
  std::regex re(R"(^MT      : \d\d:\d\d:\d\d\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d +\[(A|B)\] line \d+$|^MT      : \d\d:\d\d:\d\d\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d \[(A|B)\] line \d+$)");
  for (auto& l : lines) EXPECT_TRUE(std::regex_match(l, re)) << l;
  EXPECT_EQ(ch_->AppLocal()->indentation.load(), 0);
}

// A thread's stamp text and thread field are made once and reused: a line a few
// milliseconds later must show the later time, and each thread its own number.
TEST_F(LineTest, StampsMoveOnAndEachThreadKeepsItsOwnField) {
  uint32_t ids[2] = {};
  auto work = [&](int k) {
    ids[k] = plat::ThreadId();
    zx::DebugSetThreadName(k ? "B" : "A");
    for (int i = 0; i < 3; ++i) {
      Print(0, nullptr, u"tick");
      plat::SleepMs(6);
    }
    zx::DebugSetThreadName(nullptr);
  };
  std::thread a(work, 0);
  a.join();
  std::thread b(work, 1);
  b.join();
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 6u);
  std::regex re(R"(^(\d\d):(\d\d):(\d\d)\.(\d{3}) ([0-9a-f]{8})/[0-9a-f]{2} \d \[(A|B)\] tick$)");
  long previous = -1;
  for (const std::string& l : lines) {
    std::smatch m;
    ASSERT_TRUE(std::regex_match(l, m, re)) << l;
    const long ms = ((std::stol(m[1]) * 60 + std::stol(m[2])) * 60 + std::stol(m[3])) * 1000 + std::stol(m[4]);
    if (previous >= 0 && ms >= previous) {   // (not across midnight)
      EXPECT_GE(ms - previous, 5) << l;
    }
    previous = ms;
    EXPECT_EQ(std::stoul(m[5], nullptr, 16), ids[m[6] == "B"]) << l;
  }
}

TEST_F(LineTest, PerformanceCounterTimeWhenTheUserAsksForIt) {
  const char16_t value[] = u"True";
  ASSERT_EQ(plat::SetRegValue(plat::Hive::CurrentUser, u"SOFTWARE\\zarnik", u"ForceUsePerfCounters",
                              plat::kRegSz, value, sizeof value), 0);
  zx::DebugResetTiming();
  Print(0, nullptr, u"counted");
  ASSERT_EQ(plat::SetRegValue(plat::Hive::CurrentUser, u"SOFTWARE\\zarnik", u"ForceUsePerfCounters",
                              plat::kRegSz, u"F", 4), 0);
  zx::DebugResetTiming();
  Print(0, nullptr, u"wall");
  plat::DeleteRegValue(plat::Hive::CurrentUser, u"SOFTWARE\\zarnik", u"ForceUsePerfCounters");
  zx::DebugResetTiming();
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(std::regex_match(lines[0], std::regex(R"(^00:00\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d counted$)")))
      << lines[0];
  EXPECT_TRUE(std::regex_match(lines[1], std::regex(R"(^\d\d:\d\d:\d\d\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d wall$)")))
      << lines[1];
}

TEST_F(LineTest, AReservedLogNameLosesTheLineAndTheProgramGoesOn) {
  plat::FakeClock clock;
  ch_->SetLogFile(zx::String(u"NUL"), false);
  Print(0, nullptr, u"lost");
  EXPECT_GE(clock.Now(), 1000000u);
  EXPECT_TRUE(zx::IsDebugActive());
}

TEST_F(LineTest, TheLogFileIsOpenedPerLineWithReadSharingOnly) {
  Print(0, nullptr, u"first");
  {
    // Another reader may look on; another writer holds the lines off until the
    // sink's deadline, and that line is lost.
    zx::clsFileRO reader;
    ASSERT_EQ(reader.Open(zx::String(std::u16string_view(U16(path_))), 0, 0, 3, 0), 0);
    Print(0, nullptr, u"second");
    zx::clsFileRW writer;
    ASSERT_EQ(writer.Open(zx::String(std::u16string_view(U16(path_))), 1, 0, 3, 0), 0);
    Print(0, nullptr, u"lost");   // after the sink's 100 ms
  }
  // Moved away between two lines: the next line starts a new file.
  const std::string moved = path_ + ".old";
  ASSERT_EQ(std::rename(path_.c_str(), moved.c_str()), 0);
  Print(0, nullptr, u"third");
  std::vector<std::string> lines = Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("third"), std::string::npos);
  const std::string current = path_;
  path_ = moved;
  lines = Lines();
  path_ = current;
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[0].find("first"), std::string::npos);
  EXPECT_NE(lines[1].find("second"), std::string::npos);
  std::remove(moved.c_str());
}

TEST_F(LineTest, ScopesPairTheirLinesAndCostNothingWhileOff) {
  {
    zx::DebugScope scope(u">Work(%d)", 5);
    scope.Line(u"-step");
  }
  {
    zx::DebugScope scope(u">Calc");
    scope.Close(u"<Calc->%d", 3);
  }
  ch_->SetLogFile(zx::String(), false);
  { zx::DebugScope off(u">%s", reinterpret_cast<const char16_t*>(16)); }
  EXPECT_EQ(ch_->AppLocal()->indentation.load(), 0);
  ch_->SetLogFile(zx::String(std::u16string_view(U16(path_))), false);
  auto lines = Lines();
  ASSERT_EQ(lines.size(), 5u);
  auto ends = [](const std::string& s, const std::string& tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
  };
  EXPECT_TRUE(ends(lines[0], " >Work(5)")) << lines[0];
  EXPECT_TRUE(ends(lines[1], "  -step")) << lines[1];
  EXPECT_TRUE(ends(lines[2], " <Work(5)")) << lines[2];
  EXPECT_TRUE(ends(lines[2], "  <Work(5)") == false) << lines[2];
  EXPECT_TRUE(ends(lines[4], " <Calc->3")) << lines[4];
}

}  // namespace
