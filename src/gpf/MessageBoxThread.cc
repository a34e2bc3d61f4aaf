// The report's dialogues.
#include "gpf/MessageBoxThread.h"

#include <cstdlib>
#include <mutex>
#include <string>

#include "debug/Debug.h"
#include "platform/event.h"
#include "platform/fatal_dialog.h"
#include "platform/process.h"

namespace zx {
namespace {

// The next answer of ZXUT_MSGBOX_ANSWERS, or 0 when the variable is not set.
int ScriptedAnswer() {
  static std::mutex* lock = new std::mutex;
  static size_t next = 0;
  std::lock_guard<std::mutex> guard(*lock);
  bool found = false;
  const std::u16string list = plat::EnvironmentVariable(u"ZXUT_MSGBOX_ANSWERS", &found);
  if (!found) return 0;
  size_t at = 0;
  for (size_t i = 0; i < next && at != std::u16string::npos; ++i) {
    at = list.find(u',', at);
    if (at != std::u16string::npos) ++at;
  }
  ++next;
  if (at == std::u16string::npos || at >= list.size()) return -1;   // the script ran out: default
  int v = 0;
  while (at < list.size() && list[at] >= u'0' && list[at] <= u'9') v = v * 10 + (list[at++] - u'0');
  return v;
}

}  // namespace

clsMessageBoxThread::clsMessageBoxThread(const String& caption, const String& text, uint32_t style,
                                         int defaultAnswer)
    : clsThreadBase("GPFInfo::clsMessageBox"), caption_(caption), text_(text), style_(style),
      default_(defaultAnswer), answer_(defaultAnswer) {
  threaded_ = ThreadStart();
  if (!threaded_) answer_ = Show(style_);   // on this thread, with the plain style
}

clsMessageBoxThread::~clsMessageBoxThread() {
  if (threaded_) ThreadEnd(false, plat::kInfinite, false);
}

uint32_t clsMessageBoxThread::ThreadProc() {
  answer_ = Show(style_ | 0x12000);
  return 0;
}

int clsMessageBoxThread::Show(uint32_t style) {
  const int scripted = ScriptedAnswer();
  int answer = scripted;
  if (scripted == 0) answer = plat::ShowMessageBox(caption_.wchar(), text_.wchar(), style);
  if (scripted != 0 || answer == plat::kNoBox) {
    if (answer <= 0) answer = default_;
    DebugPrint(u"message box '%s': %s -> %d", caption_.wchar(), text_.wchar(), answer);
  }
  return answer;
}

int clsMessageBoxThread::Answer() {
  if (threaded_) plat::WaitOne(ThreadHandle(), plat::kInfinite);
  return answer_;
}

}  // namespace zx
