// Helpers of the thread tests: captured diagnostic lines, and a program set-up with
// a registry folder of its own and the developer mode on (for the extra lines of
// the thread end).
#pragma once
#include <mutex>
#include <string>
#include <vector>

namespace zxtest {

// Collects the library's diagnostic lines while it lives (ASCII, '?' beyond).
class DiagCapture {
 public:
  DiagCapture();
  ~DiagCapture();
  DiagCapture(const DiagCapture&) = delete;
  DiagCapture& operator=(const DiagCapture&) = delete;
  std::vector<std::string> Lines() const;
  // The number of lines that contain `text`.
  int Count(const std::string& text) const;

 private:
  static void Sink(const char16_t* line, void* self);
  void (*previous_)(const char16_t*, void*) = nullptr;
  void* previousContext_ = nullptr;
  mutable std::mutex lock_;
  std::vector<std::string> lines_;
};

std::string Ascii(const std::u16string& s);

}  // namespace zxtest
