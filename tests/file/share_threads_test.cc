// Two threads racing for one file exclusively: never both get it.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "file/File.h"
#include "file_test_util.h"

using namespace zx;
using ftest::Str;

TEST(FileShareThreads, RacingExclusiveOpensNeverBothSucceed) {
  ftest::ScratchDir dir;
  const String name = Str(dir / "race.dat");
  ftest::WriteBytes(dir / "race.dat", "x");
  for (int round = 0; round < 200; ++round) {
    std::atomic<int> start{0};
    bool got[2] = {false, false};
    clsFile files[2];
    auto racer = [&](int i) {
      start.fetch_add(1);
      while (start.load() < 2) {
      }
      got[i] = files[i].Open(name, 2, 0, 0, 0x100) == 0;
    };
    std::thread a(racer, 0), b(racer, 1);
    a.join();
    b.join();
    ASSERT_FALSE(got[0] && got[1]) << "round " << round;
    for (int i = 0; i < 2; ++i) {
      if (!got[i]) {
        EXPECT_EQ(kFileErrInUse, files[i].GetLastErrorKind());
      }
    }
  }
}
