// Kernel-style wait objects: events (manual- or auto-reset) and thread handles,
// and the wait for any of several. The rules are the Windows ones on every OS:
// when several objects are signalled the lowest index wins, an auto-reset event
// releases exactly one waiter and is reset by that wait, a thread handle becomes
// signalled for good when its thread ends. On Windows these are the system's
// objects; on Linux our own (a handle is a counted pointer).
// Errors: creation gives null, the other calls false or kWaitFailed, each with
// plat::LastError set.
// Threads: any thread; a handle may be signalled, waited on and closed from
// different threads, as long as it is closed only once nobody uses it any more.
//
//   plat::WaitHandle ev = plat::EventCreate(true, false);
//   if (plat::WaitOne(ev, 1000) == plat::kWaitTimeout) ...;
//   plat::HandleClose(ev);
#pragma once
#include <cstdint>

namespace plat {

using WaitHandle = void*;

constexpr uint32_t kInfinite = 0xFFFFFFFFu;
constexpr uint32_t kWaitObject0 = 0;
constexpr uint32_t kWaitAbandoned0 = 0x80;
constexpr uint32_t kWaitIoCompletion = 0xC0;
constexpr uint32_t kWaitTimeout = 0x102;
constexpr uint32_t kWaitFailed = 0xFFFFFFFFu;
constexpr uint32_t kMaxWaitObjects = 64;
// The input mask of the pumping waits (QS_ALLINPUT | QS_ALLPOSTMESSAGE).
constexpr uint32_t kQsAllInput = 0x4FF;

// A handle is valid when it is neither null nor all ones.
inline bool HandleIsValid(WaitHandle h) {
  return h != nullptr && h != reinterpret_cast<WaitHandle>(~uintptr_t(0));
}

// Null on failure (thread error set).
WaitHandle EventCreate(bool manualReset, bool initiallySignalled);
bool EventSet(WaitHandle event);
bool EventReset(WaitHandle event);
// CloseHandle for events and threads. False (error 6) for an invalid handle.
bool HandleClose(WaitHandle h);
// DuplicateHandle into this process with the same access, inheritable.
bool HandleDuplicate(WaitHandle source, WaitHandle* target);

// How a wait treats the thread's message queue and APCs.
struct WaitMode {
  bool pumpMessages = false;   // the Msg... forms: input for the thread ends the wait with `count`
  bool alertable = false;      // the ...Ex forms: a queued APC ends it with kWaitIoCompletion
};
// WaitForMultipleObjects(count, handles, FALSE, timeoutMs) and its message and
// alertable forms. Returns the index of the signalled object (the lowest one),
// `count` for input (pumping waits), kWaitTimeout, kWaitIoCompletion or kWaitFailed
// (count 0 without pumping, count above 64, an invalid handle). Systems without a
// message queue or APCs wait plainly.
uint32_t WaitAny(uint32_t count, const WaitHandle* handles, uint32_t timeoutMs, WaitMode mode = {});
inline uint32_t WaitOne(WaitHandle h, uint32_t timeoutMs) { return WaitAny(1, &h, timeoutMs); }

// Dispatches every message queued for the calling thread (PeekMessageW,
// TranslateMessage, DispatchMessageW). Nothing on systems without a queue.
void PumpMessages();

}  // namespace plat
