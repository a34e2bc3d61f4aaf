// Helpers of the String tests: a capture of the diagnostic lines.
#pragma once
#include <string>
#include <vector>

#include "core/diag/Diag.h"

namespace string_test {

// Collects every diagnostic line while it lives.
class DiagCapture {
 public:
  DiagCapture() { previous_ = zx::SetDiagSink(&Sink, this, &previousContext_); }
  ~DiagCapture() { zx::SetDiagSink(previous_, previousContext_); }
  DiagCapture(const DiagCapture&) = delete;
  DiagCapture& operator=(const DiagCapture&) = delete;

  const std::vector<std::u16string>& Lines() const { return lines_; }
  size_t Count(std::u16string_view line) const {
    size_t n = 0;
    for (const auto& l : lines_) n += l == line;
    return n;
  }
  bool AnyStartsWith(std::u16string_view prefix) const {
    for (const auto& l : lines_)
      if (l.compare(0, prefix.size(), prefix) == 0) return true;
    return false;
  }
  void Clear() { lines_.clear(); }

 private:
  static void Sink(const char16_t* line, void* context) {
    static_cast<DiagCapture*>(context)->lines_.emplace_back(line);
  }
  std::vector<std::u16string> lines_;
  zx::DiagSink previous_ = nullptr;
  void* previousContext_ = nullptr;
};

}  // namespace string_test
