// The byte-range locks of the POSIX build mark a lock attempt on the range before
// they test for others; a contender's mark that is about to be taken back must
// not fail the holder's own reads and writes, while a range another handle holds
// stays closed. The mark is made here by hand, where a contender would make it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

bool MarkRange(int fd, off_t start, off_t length) {
  struct flock fl {};
  fl.l_type = F_RDLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = length;
  return fcntl(fd, F_OFD_SETLK, &fl) == 0;
}

}  // namespace

TEST(FileLockProbe, AContendersMarkOnHeldBytesLeavesTheHoldersAccessAlone) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "probe.dat";
  zxsupport::WriteBytes(path, "0123456789abcdef");
  clsFileRW f(Str(path), 2, 0, 3, kFileNormal);
  f.SetDeleteOnRelease(false);
  ASSERT_TRUE(f.IsOpen());
  scFileLock* lock = f.Lock(0, 4);
  ASSERT_NE(nullptr, lock);
  const int contender = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(contender, 0);
  ASSERT_TRUE(MarkRange(contender, 0, 1));    // a probe on the held bytes
  ASSERT_TRUE(MarkRange(contender, 10, 2));   // bytes the contender holds
  struct Row {
    uint64_t pos;
    uint32_t count;
    bool open;
  };
  const Row rows[] = {{0, 4, true}, {2, 6, true}, {8, 4, false}, {0, 16, false}, {12, 4, true}};
  for (const Row& r : rows) {
    SCOPED_TRACE(r.pos);
    char buf[16];
    f.SetPos(r.pos);
    EXPECT_EQ(r.open, f.Read(buf, r.count) == r.count);
    f.SetPos(r.pos);
    EXPECT_EQ(r.open, f.Write("xxxxxxxxxxxxxxxx", r.count) == r.count);
    if (!r.open) {
      EXPECT_EQ(33u, plat::LastError());
    }
  }
  ::close(contender);
  f.Unlock(lock);
}
