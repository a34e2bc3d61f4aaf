// The old viewer: a window found by its class, text through a mailslot or
// WM_COPYDATA, and the message beep. Only Windows has these; elsewhere no window is
// ever found and the mailslot cannot be opened.
// Errors: null window, kNoMailslot or false; nothing to recover, the caller drops
// the line.
// Threads: any thread; the caller serialises writes to one mailslot (the debug
// channel's output lock does).
//
//   if (uint64_t w = plat::FindViewerWindow(u"ZrkClsTRAVUE16")) plat::SendCopyData(w, 6, u"", 0, &reply);
#pragma once
#include <cstdint>

namespace plat {

constexpr intptr_t kNoMailslot = -1;

// FindWindowW(className, NULL); 0 when none.
uint64_t FindViewerWindow(const char16_t* className);
bool IsViewerWindow(uint64_t window);
// SendMessageTimeoutW(WM_COPYDATA, SMTO_ABORTIFHUNG, 5000 ms). False on failure or
// time-out; *reply receives the window's answer.
bool SendCopyData(uint64_t window, uint64_t dwData, const void* data, uint32_t size,
                  uint64_t* reply);
// CreateFileW(name, GENERIC_WRITE, read and write sharing, OPEN_EXISTING).
intptr_t OpenMailslot(const char16_t* name);
bool WriteMailslot(intptr_t mailslot, const void* data, uint32_t size, uint32_t* written);
void CloseMailslot(intptr_t mailslot);
// MessageBeep(type).
void Beep(uint32_t type);

}  // namespace plat
