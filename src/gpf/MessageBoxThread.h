// clsMessageBoxThread: one dialogue of the crash report on a thread of its own
// ("GPFInfo::clsMessageBox"), awaited without limit. Where no box can be shown
// (Linux) the default answer applies and the text goes to debug output. Tests
// answer through the environment: ZXUT_MSGBOX_ANSWERS="6,7" gives the boxes of the
// process these answers in turn (and the texts go to debug output as well).
// Threads: the creating thread waits for the answer.
#pragma once
#include <cstdint>

#include "core/strings/String.h"
#include "thread/ThreadBase.h"

namespace zx {

constexpr uint32_t kStyleYesNo = 0x42014;   // Yes and No, error icon, task-modal, topmost
constexpr uint32_t kStyleOk = 0x42010;
constexpr int kAnswerYes = 6;
constexpr int kAnswerNo = 7;
constexpr int kAnswerOk = 1;

class clsMessageBoxThread final : public clsThreadBase {
 public:
  clsMessageBoxThread(const String& caption, const String& text, uint32_t style, int defaultAnswer);
  ~clsMessageBoxThread() override;
  // Waits for the box's end and gives its answer.
  int Answer();

 protected:
  uint32_t ThreadProc() override;

 private:
  int Show(uint32_t style);

  String caption_, text_;
  uint32_t style_;
  int default_;
  int answer_;
  bool threaded_;
};

}  // namespace zx
