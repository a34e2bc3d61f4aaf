// Per-thread error numbers, errno mapping and system texts.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <unistd.h>
#endif

#include "platform/debugout.h"
#include "platform/errors.h"
#include "platform_test_util.h"

using namespace plat;

// No system call may run between setting and reading (on Windows any may change
// the number), so the threads meet through atomics only.
TEST(Errors, LastErrorIsPerThread) {
  std::atomic<int> step{0};
  uint32_t seenByOther = 99, otherAfter = 0;
  std::thread t([&] {
    seenByOther = plat::LastError();
    plat::SetLastError(kErrSharingViolation);
    step = 1;
    while (step.load() != 2) {
    }
    otherAfter = plat::LastError();
  });
  while (step.load() != 1) {
  }
  plat::SetLastError(kErrAccessDenied);
  const uint32_t mine = plat::LastError();
  step = 2;
  t.join();
  EXPECT_EQ(mine, kErrAccessDenied);
  EXPECT_EQ(otherAfter, kErrSharingViolation);
  EXPECT_NE(seenByOther, kErrSharingViolation);
}

TEST(Errors, ErrnoMapping) {
  const struct {
    int err;
    uint32_t code;
  } cases[] = {{0, 0},           {ENOENT, 2},        {ENOTDIR, 3},  {EACCES, 5},  {EPERM, 5},
               {EBADF, 6},       {ENOMEM, 8},        {EEXIST, 183}, {EINVAL, 87}, {ENOSPC, 112},
               {ENAMETOOLONG, 206}, {ENOTEMPTY, 145}, {EXDEV, 17},  {EROFS, 19},  {EMFILE, 4}};
  for (const auto& c : cases) EXPECT_EQ(ErrorFromErrno(c.err), c.code) << c.err;
  EXPECT_EQ(ErrorFromErrno(-12345), kErrGenFailure);
  errno = ENOENT;
  EXPECT_EQ(SetLastErrorFromErrno(), kErrFileNotFound);
  EXPECT_EQ(plat::LastError(), kErrFileNotFound);
}

TEST(Errors, SystemTextsEndWithCrLf) {
  const struct {
    uint32_t code;
    const char16_t* text;
  } cases[] = {
      {0, u"The operation completed successfully.\r\n"},
      {2, u"The system cannot find the file specified.\r\n"},
      {3, u"The system cannot find the path specified.\r\n"},
      {5, u"Access is denied.\r\n"},
      {6, u"The handle is invalid.\r\n"},
      {8, u"Not enough memory resources are available to process this command.\r\n"},
      {13, u"The data is invalid.\r\n"},
      {32, u"The process cannot access the file because it is being used by another process.\r\n"},
      {33, u"The process cannot access the file because another process has locked a portion of the file.\r\n"},
      {80, u"The file exists.\r\n"},
      {87, u"The parameter is incorrect.\r\n"},
      {112, u"There is not enough space on the disk.\r\n"},
      {122, u"The data area passed to a system call is too small.\r\n"},
      {183, u"Cannot create a file when that file already exists.\r\n"},
      {234, u"More data is available.\r\n"},
      {259, u"No more data is available.\r\n"},
      {1113, u"No mapping for the Unicode character exists in the target multi-byte code page.\r\n"},
      {0x80070005, u"Access is denied.\r\n"},
  };
  for (const auto& c : cases) {
    std::u16string text;
    ASSERT_TRUE(SystemErrorText(c.code, 0, text)) << c.code;
#ifdef _WIN32  // the system's own texts: only their shape is ours to check
    EXPECT_GE(text.size(), 2u);
    EXPECT_EQ(text.substr(text.size() - 2), u"\r\n");
#else
    EXPECT_EQ(text, c.text) << c.code;
#endif
  }
  std::u16string text;
  EXPECT_FALSE(SystemErrorText(0x2345678, 0, text));
#ifndef _WIN32
  EXPECT_EQ(plat::LastError(), kErrMrMidNotFound);
  EXPECT_TRUE(SystemErrorText(5, 0x0409, text));
  EXPECT_FALSE(SystemErrorText(5, 0x0407, text));   // no German texts installed
  EXPECT_EQ(plat::LastError(), kErrResourceLangNotFound);
#endif
}
