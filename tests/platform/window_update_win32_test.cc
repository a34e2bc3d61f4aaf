// The report's hold on window redrawing: the lock goes to the first non-child
// ancestor, only one window at a time can hold it, and it is given back.
#include <windows.h>

#include <gtest/gtest.h>

#include "platform/window_update.h"

namespace {

class Windows : public ::testing::Test {
 protected:
  void SetUp() override {
    WNDCLASSW wc{};
    wc.lpfnWndProc = ::DefWindowProcW;
    wc.hInstance = ::GetModuleHandleW(nullptr);
    wc.lpszClassName = L"zxut_update_test";
    ::RegisterClassW(&wc);
    top_ = ::CreateWindowExW(0, L"zxut_update_test", L"top", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                             nullptr, wc.hInstance, nullptr);
    if (!top_) GTEST_SKIP() << "no top-level window can be made here (error " << ::GetLastError() << ")";
    child_ = ::CreateWindowExW(0, L"zxut_update_test", L"child", WS_CHILD, 0, 0, 10, 10, top_, nullptr,
                               ::GetModuleHandleW(nullptr), nullptr);
    ASSERT_NE(nullptr, child_);
  }
  void TearDown() override {
    if (top_) ::DestroyWindow(top_);
  }
  HWND top_ = nullptr;
  HWND child_ = nullptr;
};

TEST_F(Windows, TheTopLevelAncestorIsLockedOnceAndReleased) {
  {
    plat::WindowUpdateLock hold(child_);
    EXPECT_TRUE(hold.Locked());
    plat::WindowUpdateLock second(top_);   // the system allows one locked window
    EXPECT_FALSE(second.Locked());
  }
  plat::WindowUpdateLock again(top_);
  EXPECT_TRUE(again.Locked());
}

TEST(WindowUpdateLock, NoWindowLocksNothing) {
  plat::WindowUpdateLock hold(nullptr);
  EXPECT_FALSE(hold.Locked());
}

}  // namespace
