// Helpers of the module tests: the debug channel of this program's copy writes to a
// log file, and the lines come back as the text behind tag, time and thread.
#pragma once
#include <string>
#include <vector>

#include "platform/heap.h"
#include "support/support_test_util.h"

namespace zxtest {

// Turns debug output on (through a log file) while it lives.
class DebugCapture {
 public:
  DebugCapture();
  ~DebugCapture();
  DebugCapture(const DebugCapture&) = delete;
  DebugCapture& operator=(const DebugCapture&) = delete;
  // Every line's message: the text behind the optional tag, the time, thread,
  // processor and digit fields and the channel's indentation. ASCII ('?' beyond).
  std::vector<std::string> Messages() const;
  // The messages of trace lines: behind "        :", with the level as blanks.
  std::vector<std::string> TraceMessages() const;
  // True when some message contains `text`.
  bool Saw(const std::string& text) const;
  void Clear();

 private:
  std::string path_;
};

// "%#p" as the library prints it.
std::string PointerText(const void* p);

// System heap services that count calls and can be told to fail; the rest goes to
// the real ones.
struct FakeHeap {
  plat::HeapServices services;
  static FakeHeap* current;
  bool failAlloc = false;
  bool failValidate = false;
  size_t compactResult = 1;
  int freeCalls = 0;
  std::vector<unsigned char> lastFreed;   // the block's bytes as free saw them
  FakeHeap();
  ~FakeHeap();   // restores the real services
};

}  // namespace zxtest
