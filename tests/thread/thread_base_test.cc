// clsThreadBase: the start handshake and its limit, the end (time-out, force,
// recursion guard), names, priorities, ThreadWait; waits that pump messages or
// take APCs (Windows: input -4, APC -3, a pumping end serves SendMessage).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "thread_test_util.h"
#include "debug/DebugChannel.h"
#include "core/identity/Identity.h"
#include "platform/clock.h"
#include "platform/event.h"
#include "platform/process.h"
#include "platform/thread.h"
#include "thread/ThreadBase.h"
#ifdef _WIN32
#include <windows.h>
#endif

namespace {

using zxsupport::Ascii;
using zxsupport::DiagCapture;

// A kernel event as a gate; safe to leave in a thread that is ended by force.
struct Gate {
  plat::WaitHandle h = plat::EventCreate(true, false);
  ~Gate() { plat::HandleClose(h); }
  void Open() { plat::EventSet(h); }
};

// Loops on ThreadWait until stopped; remembers what it saw.
class Looper : public zx::clsThreadBase {
 public:
  explicit Looper(const char* name = "Test::Looper") : clsThreadBase(name) {}
  ~Looper() override { ThreadEnd(false, 10000, false); }
  uint32_t ThreadProc() override {
    const char* n = zx::DebugChannel()->ThreadName();
    channelName = n ? n : "(none)";
    int32_t r = 0;
    while (ThreadWait(plat::kInfinite, &r, 0)) {
    }
    lastResult = r;
    return exitCode.load();
  }
  std::string channelName;
  int32_t lastResult = 0;
  std::atomic<uint32_t> exitCode{7};
};

// Ignores the stop event: runs until its gate opens.
class Stubborn : public zx::clsThreadBase {
 public:
  explicit Stubborn(plat::WaitHandle gate, bool endInDestructor = true)
      : clsThreadBase("Test::Stubborn"), gate_(gate), end_(endInDestructor) {}
  ~Stubborn() override {
    if (end_) ThreadEnd(false, 10000, false);
  }
  uint32_t ThreadProc() override {
    // Nothing of the object after `entered` opens: the test may abandon or destroy it.
    const plat::WaitHandle gate = gate_;
    entered.Open();
    plat::WaitOne(gate, plat::kInfinite);
    return 5;
  }
  // The thread is inside the derived ThreadProc.
  void WaitEntered() { ASSERT_EQ(plat::WaitOne(entered.h, 10000), 0u); }
  Gate entered;

 private:
  plat::WaitHandle gate_;
  bool end_;
};

std::atomic<bool> g_hookRan{false};
void MarkHook(zx::clsThreadBase*) { g_hookRan = true; }

TEST(ThreadBase, StartRunsEndStopsAndCollectsTheExitCode) {
  DiagCapture diag;
  Looper t("DocuList::Reload");
  const std::string module = Ascii(zx::Identity().libraryBaseName.wchar());
  EXPECT_EQ(std::string(t.ThreadName()), module + "::DocuList::Reload");
  EXPECT_EQ(std::string(Looper(nullptr).ThreadName()), module + "::");
  EXPECT_EQ(t.ThreadGetState(), 0);
  g_hookRan = false;
  zx::clsThreadBase::SetBeforeHandshakeHookForTests(&MarkHook);
  ASSERT_TRUE(t.ThreadStart(0));
  zx::clsThreadBase::SetBeforeHandshakeHookForTests(nullptr);
  EXPECT_TRUE(g_hookRan.load());   // returns only after the thread has begun
  EXPECT_TRUE(t.ThreadStarted());
  EXPECT_EQ(t.ThreadGetState(), 1);
  EXPECT_NE(t.ThreadId(), 0u);
  EXPECT_EQ(t.ThreadExitCode(), 0xFFFFFFFFu);
  EXPECT_TRUE(t.ThreadEnd(false, 10000, false));
  EXPECT_EQ(t.ThreadHandle(), nullptr);
  EXPECT_EQ(t.ThreadId(), 0u);
  EXPECT_EQ(t.ThreadExitCode(), 7u);
  EXPECT_EQ(t.lastResult, static_cast<int32_t>(0x80000000u));
  EXPECT_EQ(t.ThreadGetState(), 0);
  EXPECT_EQ(t.channelName, "DocuList::Reload");   // the channel sees the part behind the module
  EXPECT_EQ(diag.Count("thread '" + module + "::DocuList::Reload' was alive for "), 1u);   // developer mode
  EXPECT_TRUE(t.ThreadEnd(false, 10000, false));   // nothing left to end
}

plat::WaitHandle g_holdHandshake = nullptr;
void HoldHook(zx::clsThreadBase*) { plat::WaitOne(g_holdHandshake, plat::kInfinite); }

TEST(ThreadBase, HandshakeTimesOutAfterTwentySecondsOnTheLibraryClock) {
  DiagCapture diag;
  Gate hold;
  g_holdHandshake = hold.h;
  zx::clsThreadBase::SetBeforeHandshakeHookForTests(&HoldHook);
  Looper t("Test::Slow");
  bool started = true;
  {
    plat::FakeClock clock;
    std::thread starter([&] { started = t.ThreadStart(0); });
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    clock.Advance(19990);   // not yet
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    clock.Advance(10);
    starter.join();
  }
  zx::clsThreadBase::SetBeforeHandshakeHookForTests(nullptr);
  EXPECT_FALSE(started);
  EXPECT_FALSE(t.ThreadStarted());
  ASSERT_NE(t.ThreadGetLastError(), nullptr);
  const std::string expected =
      "clsThreadBase(" + std::string(t.ThreadName()) +
      ")::ThreadStart: WaitForSingleObject() failed: result=00000102, GetLastError()=";
  EXPECT_EQ(Ascii(t.ThreadGetLastError()->wchar()).rfind(expected, 0), 0u) << Ascii(t.ThreadGetLastError()->wchar());
  EXPECT_EQ(diag.Count("ERR: " + expected), 1u);
  // The thread was left as it was: let it run, then end it.
  plat::WaitHandle h = t.ThreadHandle();
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(t.ThreadGetState(), 0);   // never started, as far as the object knows
  hold.Open();
  plat::EventSet(t.StopEvent());
  EXPECT_EQ(plat::WaitOne(h, 10000), 0u);
  EXPECT_TRUE(t.ThreadEnd(false, 1000, false));
  EXPECT_EQ(diag.Count("::ThreadEnd(): warning: thread handle is not NULL, but ::GetExitCodeThread(_hThread,&dwEC) "
                       "failed("), 1u);
  EXPECT_EQ(t.ThreadHandle(), nullptr);
}

TEST(ThreadBase, RestartGivesANewThreadAndStartOnARunningOneIsHarmless) {
  class Once : public zx::clsThreadBase {
   public:
    Once() : clsThreadBase("Test::Once") {}
    ~Once() override { ThreadEnd(false, 10000, false); }
    uint32_t ThreadProc() override { return ++runs; }
    std::atomic<uint32_t> runs{0};
  } t;
  ASSERT_TRUE(t.ThreadStart(0));
  ASSERT_EQ(plat::WaitOne(t.ThreadHandle(), 10000), 0u);
  EXPECT_EQ(t.ThreadGetState(), 3);
  ASSERT_TRUE(t.ThreadStart(0));   // collects the old one first
  EXPECT_EQ(t.ThreadExitCode(), 0xFFFFFFFFu);
  EXPECT_TRUE(t.ThreadEnd(false, 10000, false));
  EXPECT_EQ(t.ThreadExitCode(), 2u);
  EXPECT_EQ(t.runs.load(), 2u);

  Looper l;   // start on a running thread is harmless and resumes a suspended one
  ASSERT_TRUE(l.ThreadStart(0));
  const uint32_t id = l.ThreadId();
  EXPECT_TRUE(l.ThreadStart(0));
  EXPECT_EQ(l.ThreadId(), id);
  EXPECT_EQ(plat::ThreadSuspend(l.ThreadHandle()), 0u);
  EXPECT_TRUE(l.ThreadStart(0));                            // resumes
  EXPECT_EQ(plat::ThreadSuspend(l.ThreadHandle()), 0u);     // count back at 0
  EXPECT_EQ(plat::ThreadResume(l.ThreadHandle()), 1u);
}

TEST(ThreadBase, EndFromInsideTheThreadSignalsTheStopAndClosesNothing) {
  class SelfEnder : public zx::clsThreadBase {
   public:
    SelfEnder() : clsThreadBase("Test::SelfEnder") {}
    ~SelfEnder() override { ThreadEnd(false, 10000, false); }
    uint32_t ThreadProc() override {
      endResult = ThreadEnd(false, 1000, false);
      handleKept = ThreadHandle() != nullptr;
      stopped = !ThreadWait(0, &waitResult, 0);
      return 3;
    }
    bool endResult = false, handleKept = false, stopped = false;
    int32_t waitResult = 0;
  } t;
  ASSERT_TRUE(t.ThreadStart(0));
  ASSERT_EQ(plat::WaitOne(t.ThreadHandle(), 10000), 0u);
  EXPECT_TRUE(t.endResult);
  EXPECT_TRUE(t.handleKept);
  EXPECT_TRUE(t.stopped);
  EXPECT_EQ(t.waitResult, static_cast<int32_t>(0x80000000u));
  EXPECT_EQ(t.ThreadGetState(), 3);
  EXPECT_TRUE(t.ThreadEnd(false, 1000, false));
  EXPECT_EQ(t.ThreadExitCode(), 3u);
}

TEST(ThreadBase, SecondEndWhileTheFirstWaitsReturnsAtOnce) {
  DiagCapture diag;
  Gate gate;
  Stubborn t(gate.h);
  ASSERT_TRUE(t.ThreadStart(0));
  std::atomic<bool> firstDone{false};
  std::thread first([&] {
    t.ThreadEnd(false, plat::kInfinite, false);
    firstDone = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  EXPECT_TRUE(t.ThreadEnd(false, plat::kInfinite, false));   // the guard: at once
  EXPECT_FALSE(firstDone.load());
  EXPECT_EQ(diag.Count("ups ;) some recursion in ThreadEnd()? Might be OK though ;)"), 1u);
  gate.Open();
  first.join();
  EXPECT_EQ(t.ThreadHandle(), nullptr);
  EXPECT_EQ(t.ThreadExitCode(), 5u);
}

TEST(ThreadBase, EndWithoutForceOnABusyThreadLeavesItRunning) {
  Gate gate;
  Stubborn t(gate.h);
  ASSERT_TRUE(t.ThreadStart(0));
  EXPECT_TRUE(t.ThreadEnd(false, 0, false));
  EXPECT_NE(t.ThreadHandle(), nullptr);
  EXPECT_EQ(t.ThreadGetState(), 1);
  EXPECT_EQ(plat::WaitOne(t.StopEvent(), 0), 0u);   // the stop is set
  auto t0 = std::chrono::steady_clock::now();
  EXPECT_TRUE(t.ThreadEnd(false, 60, false));       // times out again
  EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(50));
  EXPECT_NE(t.ThreadHandle(), nullptr);
  // Suspended, and asked to: the end skips the wait.
  plat::ThreadSuspend(t.ThreadHandle());
  t0 = std::chrono::steady_clock::now();
  EXPECT_TRUE(t.ThreadEnd(true, 5000, false));
  EXPECT_LT(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(4000));
  EXPECT_NE(t.ThreadHandle(), nullptr);
  plat::ThreadResume(t.ThreadHandle());
  gate.Open();
  EXPECT_TRUE(t.ThreadEnd(false, 10000, false));
  EXPECT_EQ(t.ThreadHandle(), nullptr);
}

TEST(ThreadBase, ForcedEndAndTheDestructorOfAClassThatForgotToEnd) {
  for (bool byDestructor : {false, true}) {
    DiagCapture diag;
    Gate gate;
    plat::WaitHandle dup = nullptr;
    auto t0 = std::chrono::steady_clock::now();
    {
      Stubborn t(gate.h, !byDestructor);
      ASSERT_TRUE(t.ThreadStart(0));
      t.WaitEntered();
      ASSERT_TRUE(plat::HandleDuplicate(t.ThreadHandle(), &dup));
      t0 = std::chrono::steady_clock::now();
      if (!byDestructor) {   // a forced end reports false and closes the handle
        EXPECT_FALSE(t.ThreadEnd(false, 50, true));
        EXPECT_EQ(t.ThreadHandle(), nullptr);
        EXPECT_EQ(t.ThreadExitCode(), 0u);
        EXPECT_EQ(diag.Count("forced to exit!") + diag.Count("was alive for"), 1u);
      }
    }
    if (byDestructor) {   // warns and forces after one second
      EXPECT_GE(std::chrono::steady_clock::now() - t0, std::chrono::milliseconds(900));
      EXPECT_EQ(diag.Count("::~clsThreadBase: warning: derived class does not end thread. I do it here - cross your "
                           "fingers that the derived class does not access any members in the thread function!!!"),
                1u);
    }
    gate.Open();   // an abandoned thread (Linux) runs to its end
    EXPECT_EQ(plat::WaitOne(dup, 10000), 0u);
    plat::HandleClose(dup);
  }
}

TEST(ThreadBase, PriorityIsSetAfterTheHandshakeAndAttachInputFailureIsReported) {
  Looper below;
  ASSERT_TRUE(below.ThreadStart(-1));
  EXPECT_EQ(plat::ThreadGetPriority(below.ThreadHandle()), -1);
  Looper idle;
  ASSERT_TRUE(idle.ThreadStart(plat::kThreadPriorityIdle));
  EXPECT_EQ(plat::ThreadGetPriority(idle.ThreadHandle()), plat::kThreadPriorityIdle);

  DiagCapture diag;   // an attach-input failure is reported
  Looper t;   // no thread: identifier 0, which no system accepts
  t.ThreadAttachInput(plat::ThreadId(), true);
  EXPECT_EQ(diag.Count("clsThreadBase(" + std::string(t.ThreadName()) + ")::ThreadAttachInput(): "), 1u);
}

TEST(ThreadWait, ResultsForTimeOutStopAndArgumentHandles) {
  Looper t;   // not started: ThreadWait works on its stop event from any thread
  int32_t r = 99;
  EXPECT_TRUE(t.ThreadWait(30, &r, 0));
  EXPECT_EQ(r, -1);

  plat::WaitHandle a = plat::EventCreate(false, false), b = plat::EventCreate(true, true);
  EXPECT_TRUE(t.ThreadWait(1000, &r, 2, a, b));
  EXPECT_EQ(r, 1);
  plat::EventSet(a);
  EXPECT_TRUE(t.ThreadWait(1000, &r, 2, a, b));
  EXPECT_EQ(r, 0);   // lowest index wins
  plat::EventSet(t.StopEvent());
  EXPECT_FALSE(t.ThreadWait(1000, &r, 2, a, b));   // the stop event comes first
  EXPECT_EQ(r, static_cast<int32_t>(0x80000000u));
  plat::EventReset(t.StopEvent());

  plat::WaitHandle many[64];
  for (auto& h : many) h = b;
  EXPECT_TRUE(t.ThreadWaitArray(0, &r, 64, many));   // 65 with the stop event
  EXPECT_EQ(r, -2);
  plat::WaitHandle closed = plat::EventCreate(true, false);
  plat::HandleClose(closed);
  EXPECT_TRUE(t.ThreadWait(0, &r, 1, closed));
  EXPECT_EQ(r, -2);
  plat::HandleClose(a);
  plat::HandleClose(b);
}

TEST(ThreadWait, TimeOutWaitsForTheLibraryClock) {
  Looper t;
  int32_t r = 0;
  plat::FakeClock clock;
  std::atomic<bool> done{false};
  std::thread w([&] {
    EXPECT_TRUE(t.ThreadWait(50, &r, 0));
    done = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_FALSE(done.load());   // real time passed, the library's clock didn't
  clock.Advance(50);
  w.join();
  EXPECT_EQ(r, -1);
}


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
