// Random operation sequences on the WC containers against standard models.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "containers_test_util.h"

namespace {

std::vector<uint8_t> RandomBytes(unsigned seed, size_t n) {
  std::mt19937 gen(seed);
  std::vector<uint8_t> bytes(n);
  for (auto& b : bytes) b = static_cast<uint8_t>(gen());
  return bytes;
}

TEST(WCDifferential, RandomSequencesMatchTheModels) {
  // About 30,000 operations per seed.
  for (unsigned seed : {1u, 2u, 3u, 17u, 2024u, 65535u}) {
    std::vector<uint8_t> bytes = RandomBytes(seed, 80000);
    EXPECT_EQ(wcdiff::Run(bytes.data(), bytes.size()), "") << "seed " << seed;
  }
}

TEST(WCDifferential, SkewedSequencesGrowTallLists) {
  // Mostly inserts: a long bag of equal keys, long lists, and many levels with
  // the one-in-two probability some seeds choose.
  for (unsigned seed : {5u, 6u}) {
    std::mt19937 gen(seed);
    std::vector<uint8_t> bytes;
    const uint8_t ops[] = {0, 1, 6, 11, 14, 16, 22, 3, 8, 13};
    for (int i = 0; i < 20000; ++i) {
      bytes.push_back(ops[gen() % 10]);
      for (int j = 0; j < 3; ++j) bytes.push_back(static_cast<uint8_t>(gen()));
    }
    EXPECT_EQ(wcdiff::Run(bytes.data(), bytes.size()), "") << "seed " << seed;
  }
}

TEST(WCDifferential, ShortAndEmptyInputs) {
  EXPECT_EQ(wcdiff::Run(nullptr, 0), "");
  const uint8_t one[] = {0xFF};
  EXPECT_EQ(wcdiff::Run(one, 1), "");
  const uint8_t few[] = {1, 0, 24, 4, 19, 0xF0, 3, 7};
  EXPECT_EQ(wcdiff::Run(few, sizeof few), "");
}

}  // namespace
