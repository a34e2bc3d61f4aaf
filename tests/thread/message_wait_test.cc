// Waits that pump messages or take APCs. On Windows: a pumping end serves the
// thread's SendMessage, ThreadWait reports input (-4) and APCs (-3). Elsewhere the
// same classes wait plainly.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "platform/event.h"
#include "thread/ThreadBase.h"
#ifdef _WIN32
#include <windows.h>
#endif

namespace {

class MessageWaiter : public zx::clsThreadBase {
 public:
  MessageWaiter(bool alertable) : clsThreadBase("Test::MessageWaiter"), alertable_(alertable) {}
  ~MessageWaiter() override { ThreadEnd(false, 10000, false); }
  bool ThreadWaitsForMessages() override { return !alertable_; }
  bool ThreadWaitIsAlertable() override { return alertable_; }
  uint32_t ThreadProc() override {
    int32_t r = 0;
    while (ThreadWait(plat::kInfinite, &r, 1, wake)) {
      results.push_back(r);
      if (r == 0) break;
    }
    return 1;
  }
  plat::WaitHandle wake = plat::EventCreate(false, false);
  std::vector<int32_t> results;

 private:
  bool alertable_;
};

TEST(MessageWait, ArgumentHandlesWakeAWaitThatAlsoTakesMessages) {
  MessageWaiter t(false);
  ASSERT_TRUE(t.ThreadStart(0));
  plat::EventSet(t.wake);
  ASSERT_EQ(plat::WaitOne(t.ThreadHandle(), 10000), 0u);
  EXPECT_TRUE(t.ThreadEnd(false, 1000, false));
  ASSERT_FALSE(t.results.empty());
  EXPECT_EQ(t.results.back(), 0);
  plat::HandleClose(t.wake);
}

#ifdef _WIN32
void CALLBACK NoOpApc(ULONG_PTR) {}

TEST(MessageWait, PostedInputOrAQueuedApcEndsTheWait) {
  for (bool apc : {false, true}) {
    MessageWaiter t(apc);   // alertable for the APC, the message form for input
    ASSERT_TRUE(t.ThreadStart(0));
    if (apc) {
      ::Sleep(50);
      ASSERT_NE(::QueueUserAPC(&NoOpApc, t.ThreadHandle(), 0), 0u);
    } else {   // the thread's queue exists once it waits in the message form
      for (int i = 0; i < 200 && !::PostThreadMessageW(t.ThreadId(), WM_USER, 0, 0); ++i) ::Sleep(5);
    }
    ::Sleep(50);
    plat::EventSet(t.wake);
    ASSERT_EQ(plat::WaitOne(t.ThreadHandle(), 10000), 0u);
    t.ThreadEnd(false, 1000, false);
    ASSERT_GE(t.results.size(), 2u);
    EXPECT_EQ(t.results.front(), apc ? -3 : -4);
    plat::HandleClose(t.wake);
  }
}

// Sends a message to a window of the thread that ends it.
class Sender : public zx::clsThreadBase {
 public:
  Sender(HWND w, bool pump) : clsThreadBase("Test::Sender"), window_(w), pump_(pump) {}
  ~Sender() override { ThreadEnd(false, 10000, false); }
  bool ThreadEndPumpsMessages() override { return pump_; }
  uint32_t ThreadProc() override { return static_cast<uint32_t>(::SendMessageW(window_, WM_USER + 7, 0, 0)); }

 private:
  HWND window_;
  bool pump_;
};

LRESULT CALLBACK Answer(HWND w, UINT m, WPARAM wp, LPARAM lp) {
  return m == WM_USER + 7 ? 77 : ::DefWindowProcW(w, m, wp, lp);
}

HWND MessageWindow() {
  WNDCLASSW wc{};
  wc.lpfnWndProc = &Answer;
  wc.hInstance = ::GetModuleHandleW(nullptr);
  wc.lpszClassName = L"zxut_thread_test";
  ::RegisterClassW(&wc);
  return ::CreateWindowExW(0, L"zxut_thread_test", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, wc.hInstance, nullptr);
}

TEST(MessageWait, PumpingEndServesTheThreadsSendMessage) {
  HWND w = MessageWindow();
  ASSERT_NE(w, nullptr);
  {
    Sender t(w, true);
    ASSERT_TRUE(t.ThreadStart(0));
    EXPECT_TRUE(t.ThreadEnd(false, 5000, false));
    EXPECT_EQ(t.ThreadHandle(), nullptr);
    EXPECT_EQ(t.ThreadExitCode(), 77u);
  }
  {
    Sender t(w, false);   // a plain wait can't serve it: the time runs out
    ASSERT_TRUE(t.ThreadStart(0));
    EXPECT_TRUE(t.ThreadEnd(false, 200, false));
    EXPECT_NE(t.ThreadHandle(), nullptr);
    MSG msg;
    for (int i = 0; i < 100 && t.ThreadGetState() != 3; ++i) {
      while (::PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) ::DispatchMessageW(&msg);
      ::Sleep(10);
    }
    EXPECT_TRUE(t.ThreadEnd(false, 1000, false));
    EXPECT_EQ(t.ThreadExitCode(), 77u);
  }
  ::DestroyWindow(w);
}
#endif

}  // namespace
