// UtilFullpath's step with the debug checks on: a room too small for the full path
// gives the "Buffer too small" line with the room's address and the range error;
// a path that fits, or the switch off, gives no line.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "module_test_util.h"
#include "core/diag/DebugChecks.h"
#include "exports/path_fullpath.h"

namespace {

using zxtest::DebugCapture;

// Sets the switch of this program's copy of the library for one test.
class ChecksOn {
 public:
  ChecksOn() { zx::bDebugChecks = true; }
  ~ChecksOn() { zx::bDebugChecks = false; }
};

TEST(FullpathChecks, ARoomTooSmallIsReportedOnlyWithTheChecksOn) {
  char16_t out[6] = {u'?'};
  {
    DebugCapture cap;
    zx::FullPathForExport(out, u"C:\\a\\..\\b\\.\\c", 6);
    EXPECT_EQ(out[0], 0) << "the room is emptied";
    EXPECT_TRUE(cap.Messages().empty()) << "the switch is off: no line";
  }
  ChecksOn on;
  DebugCapture cap;
  zx::FullPathForExport(out, u"C:\\a\\..\\b\\.\\c", 6);
  EXPECT_EQ(out[0], 0);
  const auto m = cap.Messages();
  ASSERT_EQ(m.size(), 1u);
  // The pointer as the error line prints it: the address's low eight digits.
  char ptr[32];
  std::snprintf(ptr, sizeof ptr, "0x%08x", static_cast<unsigned>(reinterpret_cast<uintptr_t>(out) & 0xFFFFFFFFu));
  EXPECT_EQ(m[0], "\nZR32UTIL['']: error in 'UtilFullpath': Buffer too small\n ptr=" + std::string(ptr) + "\n err=34\n");
}

TEST(FullpathChecks, APathThatFitsGivesNoLineOneCharacterShortDoes) {
  ChecksOn on;
  DebugCapture cap;
  char16_t out[32];
  zx::FullPathForExport(out, u"C:\\a\\..\\b\\.\\c", 32);
  EXPECT_EQ(std::u16string(out), u"C:\\b\\c");
  // Exactly the room: six characters and the terminator.
  char16_t exact[7];
  zx::FullPathForExport(exact, u"C:\\b\\c", 7);
  EXPECT_EQ(std::u16string(exact), u"C:\\b\\c");
  EXPECT_TRUE(cap.Messages().empty());
  zx::FullPathForExport(out, u"C:\\b\\c", 6);   // one short
  EXPECT_EQ(cap.Messages().size(), 1u);
}

}  // namespace
