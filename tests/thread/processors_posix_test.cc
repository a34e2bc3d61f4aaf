// Linux: the processors the process may use are those of its affinity, as nproc
// counts them, also when the affinity is narrowed.
#include <gtest/gtest.h>

#include <sched.h>

#include <string>

#include "platform/processors.h"
#include "thread_test_util.h"

TEST(Processors, TheAffinityCountsAsNprocSays) {
  std::string out;
  ASSERT_TRUE(zxsupport::RunFilter("nproc", "", out));
  EXPECT_EQ(plat::ProcessorsOfProcess(), static_cast<unsigned>(std::stoul(out)));
  cpu_set_t old, one;
  ASSERT_EQ(sched_getaffinity(0, sizeof old, &old), 0);
  CPU_ZERO(&one);
  for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
    if (CPU_ISSET(cpu, &old)) {
      CPU_SET(cpu, &one);
      break;
    }
  ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
  EXPECT_EQ(plat::ProcessorsOfProcess(), 1u);
  sched_setaffinity(0, sizeof old, &old);
}
