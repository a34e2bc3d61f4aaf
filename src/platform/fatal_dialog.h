// The assertion box and the immediate end of the process.
// Errors: none; the box answers cancel where it cannot be shown.
// Threads: any thread; the box blocks only the calling thread.
//
//   if (plat::ShowAssertionBox(u"Assertion", text) == plat::kIdCancel) plat::EndProcess(3);
#pragma once
#include <cstdint>

namespace plat {

// Answers of the box, with the system's values.
constexpr int kIdOk = 1;
constexpr int kIdCancel = 2;
constexpr int kIdRetry = 4;

// Shows `text` under `caption` with retry and cancel buttons and an error icon,
// task-modal and without owner, and returns the answer. Linux has no box: the
// caption and text go to standard error and to the last-resort debug channel, and
// the answer is cancel.
int ShowAssertionBox(const char16_t* caption, const char16_t* text);

// A message box with `style` (MessageBoxW without owner). Linux has no box: the
// answer is kNoBox, and the caller tells the text another way.
constexpr int kNoBox = -1;
int ShowMessageBox(const char16_t* caption, const char16_t* text, uint32_t style);
// Opens a folder in the desktop's file manager (ShellExecuteW "open"); Linux:
// nothing, false.
bool OpenFolder(const char16_t* folder);

// Ends the process at once with `code`, without exit-time destruction on Linux
// (_exit: the shell sees the code modulo 256, so -1 reads 255); ExitProcess on
// Windows.
[[noreturn]] void EndProcess(int code);

}  // namespace plat
