// The shared library's own start and stop in a child process: its debug channel is
// set up from the registry at load (after the hello line, which therefore reaches
// only a viewer), prints the child's lines, and says goodbye at exit, after the
// leak listing and with the channel still alive.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "module_test_util.h"
#include "zxUT22.h"

namespace {

TEST(LifecycleChild, ClientProcess) {
  if (!std::getenv("ZXUT_MODULE_CHILD")) GTEST_SKIP() << "runs as the child of LifecycleE2E";
  UtilDebug(reinterpret_cast<LPCWSTR>(u"child line %d"), 7);
  HUTILMODULE m = UtilJobOpen(reinterpret_cast<LPCWSTR>(u"Child"), 0);
  HUTILHEAP h = UtilHeapCreate(m, reinterpret_cast<LPCWSTR>(u"ChildHeap"), UTIL_HEAP_DEBUG);
  UtilHeapObjectAlloc(h, 4, UTIL_OBJ_NO_STACK);
  EXPECT_EQ(UtilJobClose(m), -5);
  EXPECT_EQ(UtilGetFlags(), 1);
}

TEST(LifecycleE2E, TheLibrarySaysHelloAtLoadAndGoodbyeAtExit) {
  std::string dir = zxsupport::TempPath("module_child");
  ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);
  std::string log = dir + "/child.log";
  {
    std::ofstream reg(dir + "/HKLM.reg");
    reg << "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\software\\zarnik]\r\n"
        << "\"Debug.LogFilename\"=\"" << log << "\"\r\n";
  }
  char self[4096];
  ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  ASSERT_GT(n, 0);
  self[n] = 0;
  std::string cmd = "ZXUT_MODULE_CHILD=1 ZXUT_REGISTRY_DIR='" + dir + "' ZXUT_SHM_PREFIX=zxmodchild" +
                    std::to_string(getpid()) + " '" + self +
                    "' --gtest_filter=LifecycleChild.ClientProcess >/dev/null 2>&1";
  ASSERT_EQ(std::system(cmd.c_str()), 0);
  std::string text = zxsupport::Ascii(zxsupport::FromUtf16LeBytes(zxsupport::ReadBytes(log)));
  size_t child = text.find("child line 7");
  size_t listing = text.find("Error: deleting module 'Child', but the following heaps are left:");
  size_t goodbye = text.find(" --");
  ASSERT_NE(child, std::string::npos) << text;
  ASSERT_NE(listing, std::string::npos) << text;
  ASSERT_NE(goodbye, std::string::npos) << text;
  EXPECT_LT(child, listing);
  EXPECT_LT(listing, goodbye) << "the goodbye comes at exit, with the channel still there";
  EXPECT_NE(text.find("LIBZXUT22: ", goodbye - 40), std::string::npos) << "the library's tag";
  // The library as the loader opened it: by its SONAME.
  EXPECT_NE(text.find("LIBZXUT22.SO.22 22.5.0.5637 [", goodbye), std::string::npos) << text;
  std::remove(log.c_str());
  std::remove((dir + "/HKLM.reg").c_str());
  rmdir(dir.c_str());
}

}  // namespace
