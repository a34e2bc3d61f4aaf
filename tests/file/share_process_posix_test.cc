// Share modes and locks across processes; a file removed while open.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

// Runs `body` in a child that holds what it opened until Finish(); returns once the child is ready.
class Child {
 public:
  template <typename Body>
  explicit Child(Body body) {
    int ready[2], go[2];
    EXPECT_EQ(0, pipe(ready));
    EXPECT_EQ(0, pipe(go));
    pid_ = fork();
    if (pid_ == 0) {
      const char ok = body() ? '1' : '0';
      (void)!write(ready[1], &ok, 1);
      char c;
      (void)!read(go[0], &c, 1);
      _exit(0);
    }
    close(ready[1]);
    close(go[0]);
    goFd_ = go[1];
    char c = 0;
    EXPECT_EQ(1, read(ready[0], &c, 1));
    close(ready[0]);
    ok_ = c == '1';
  }
  ~Child() { Finish(); }
  void Finish() {
    if (pid_ <= 0) return;
    (void)!write(goFd_, "x", 1);
    close(goFd_);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  bool ok() const { return ok_; }

 private:
  pid_t pid_ = -1;
  int goFd_ = -1;
  bool ok_ = false;
};

}  // namespace

TEST(FileShareProcess, AnotherProcessHoldingTheFileGives32ThenLetsGo) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "cross.dat";
  zxsupport::WriteBytes(path, "data");
  {
    Child child([&] {
      static clsFile held(Str(path), 2, 0, 0, 0x100);   // exclusive until the child ends
      return held.IsOpen();
    });
    ASSERT_TRUE(child.ok());
    clsFile f(Str(path), 0, 0, 3, 0x100);
    EXPECT_FALSE(f.IsOpen());
    EXPECT_EQ(32u, plat::LastError());
    EXPECT_EQ(kFileErrInUse, f.GetLastErrorKind());
    child.Finish();
    EXPECT_EQ(0, f.Open(Str(path), 0, 0, 3, 0x100));
  }
  {
    Child child([&] {
      static clsFile shared(Str(path), 0, 0, 3, 0x100);
      return shared.IsOpen() && shared.Lock(0, 2) != nullptr;
    });
    ASSERT_TRUE(child.ok());
    clsFile f(Str(path), 2, 0, 3, 0x100);
    ASSERT_TRUE(f.IsOpen());
    EXPECT_FALSE(plat::FileLockRange(f.Handle(), 1, 1));
    EXPECT_EQ(33u, plat::LastError());
    EXPECT_TRUE(plat::FileLockRange(f.Handle(), 2, 2));
  }
}

TEST(FileShareProcess, AFileRemovedWhileOpenKeepsWorking) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "gone.dat";
  clsFileRW f(Str(path), 2, 2, 0, 0x100);
  f.SetDeleteOnRelease(false);
  ASSERT_TRUE(f.IsOpen());
  EXPECT_EQ(3u, f.WriteString("abc"));
  ftest::fs::remove(path);
  EXPECT_EQ(3u, f.WriteString("def"));
  EXPECT_EQ(6u, f.GetSize());
  f.SetPos(0);
  char buf[6];
  EXPECT_EQ(6u, f.Read(buf, 6));
  STATSTG st;
  EXPECT_EQ(2, static_cast<IStream&>(f).Stat(&st, STATFLAG_NONAME));   // no attributes by name
}
