// Helpers of the crash-protection tests: the debug channel of this program's copy
// writes to a log file, and its lines come back as the text behind the prefix.
#pragma once
#include <string>
#include <vector>

#include "support/support_test_util.h"

namespace zxtest {

class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  // The lines' texts behind tag, time, thread and indentation, as ASCII.
  std::vector<std::string> Messages() const;
  size_t Count(const std::string& text) const;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// The messages of a debug log file written by another process.
std::vector<std::string> LogMessages(const std::string& path);

}  // namespace zxtest
