#include <gtest/gtest.h>
#include "zxUT22.h"

TEST(Version, SelectorsOfBothFamilies) {
  EXPECT_EQ(ProfGetVersion(0), 5637);
  EXPECT_EQ(ProfGetVersion(1), 22);
  EXPECT_EQ(ProfGetVersion(2), 5);
  EXPECT_EQ(ProfGetVersion(3), -1);
  EXPECT_EQ(ProfGetVersion(-1), -1);
  EXPECT_EQ(UtilGetVersion(0), 0x160005);
  EXPECT_EQ(UtilGetVersion(1), 22);
  EXPECT_EQ(UtilGetVersion(2), 5);
  EXPECT_EQ(UtilGetVersion(3), 0);
  EXPECT_EQ(UtilGetVersion(4), -1);
}
