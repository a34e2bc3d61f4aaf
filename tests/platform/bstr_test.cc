// OLE string layout: length prefix, terminator, allocation and reallocation.
#include <gtest/gtest.h>

#include <cstring>

#include "platform/bstr.h"

using namespace plat;

TEST(Bstr, LayoutAllocationAndReallocation) {
  Bstr b = SysAllocLen(u"abc", 3);
  ASSERT_NE(b, nullptr);
  uint32_t prefix;
  std::memcpy(&prefix, reinterpret_cast<const unsigned char*>(b) - 4, 4);
  EXPECT_EQ(prefix, 6u);   // bytes, not characters
  EXPECT_EQ(SysLen(b), 3u);
  EXPECT_EQ(SysByteLen(b), 6u);
  EXPECT_EQ(b[3], 0);
  EXPECT_EQ(std::u16string(b), u"abc");
  EXPECT_EQ(reinterpret_cast<uintptr_t>(b) % 4, 0u);
  SysFree(b);
  // Uninitialised text, embedded zeros and reallocation.
  b = SysAllocLen(nullptr, 5);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(SysLen(b), 5u);
  EXPECT_EQ(b[5], 0);
  for (int i = 0; i < 5; ++i) b[i] = u'x';
  // Embedded zeros count: the length is the prefix, not a scan.
  Bstr z = SysAllocLen(u"a\0b", 3);
  EXPECT_EQ(SysLen(z), 3u);
  // Reallocation may take its text from the old string itself.
  ASSERT_TRUE(SysReAllocLen(&b, b + 1, 3));
  EXPECT_EQ(std::u16string(b, SysLen(b)), u"xxx");
  ASSERT_TRUE(SysReAllocLen(&z, u"longer text", 11));
  EXPECT_EQ(std::u16string(z), u"longer text");
  EXPECT_FALSE(SysReAllocLen(nullptr, u"x", 1));
  SysFree(b);
  SysFree(z);
  SysFree(nullptr);
  EXPECT_EQ(SysLen(nullptr), 0u);
  EXPECT_EQ(SysAlloc(nullptr), nullptr);
  Bstr empty = SysAlloc(u"");
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(SysLen(empty), 0u);
  SysFree(empty);
}
