// What the library sets up before the rest of its attach sequence: the window
// message and clipboard format it registers, and the live-instance counters of two
// classes, whose leftovers are reported at exit.
// Threads: set up during attach; the registered numbers and counters are atomic.
#pragma once
#include <cstdint>

namespace zx {

// Registers the names and zeroes the counters; the first step of the attach.
void LibraryStaticSetup();

// The window message "ZrkUtilGetContextHelpID" and the clipboard format
// "ZrkProfCBFormat", 0 until registered (or when registration failed).
uint32_t ContextHelpMessage();
uint32_t ProfClipboardFormat();

enum class CountedClass { kTimerQueueTimer, kSubclassed };
void CountInstance(CountedClass cls, int32_t delta);
int32_t LiveInstances(CountedClass cls);
// At exit: "<class>: undeleted objects, count=<n>" through the last-resort debug
// output for each class with instances left.
void ReportUndeletedInstances();

}  // namespace zx
