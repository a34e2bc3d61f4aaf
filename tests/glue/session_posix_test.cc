// The Linux session probe: interactive with a desktop or a terminal, a service
// without either. Runs in a child whose standard streams are no terminal.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/session.h"

namespace {

int ChildKind(const char* display, const char* wayland) {
  pid_t pid = fork();
  if (pid == 0) {
    int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
    display ? setenv("DISPLAY", display, 1) : unsetenv("DISPLAY");
    wayland ? setenv("WAYLAND_DISPLAY", wayland, 1) : unsetenv("WAYLAND_DISPLAY");
    uint32_t err = 0;
    int step = 0;
    _exit(static_cast<int>(plat::ProcessSessionKind(&err, &step)));
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(SessionPosix, DesktopOrTerminalMakesInteractive) {
  EXPECT_EQ(ChildKind(nullptr, nullptr), static_cast<int>(plat::SessionKind::Service));
  EXPECT_EQ(ChildKind("", ""), static_cast<int>(plat::SessionKind::Service));
  EXPECT_EQ(ChildKind(":0", nullptr), static_cast<int>(plat::SessionKind::Interactive));
  EXPECT_EQ(ChildKind(nullptr, "wayland-0"), static_cast<int>(plat::SessionKind::Interactive));
}

TEST(SessionPosix, UserNameIsTheLoginName) {
  std::u16string name = plat::UserName();
  ASSERT_FALSE(name.empty());
  const char* user = std::getenv("USER");
  if (user && geteuid() == 0) {
    EXPECT_EQ(name, u"root");
  }
  EXPECT_EQ(plat::WindowStationVisible(), -1);
}

}  // namespace
