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

namespace zxtest {

// How a child process ended.
struct ChildEnd {
  bool exited = false;
  int code = 0;     // exit code (Windows: the process's exit code, e.g. 0xC0000005)
  int signal = 0;   // Linux: the signal that ended it
};

// Runs this test program again with only `test` selected, with the environment
// variables `env` ("NAME=value", an empty value removes) added to this one's.
ChildEnd RunSelf(const std::string& test, const std::vector<std::string>& env);

// Writes `text` (registry editor format, without the header line) as the hive
// file `hive` ("HKLM" or "HKCU") of the registry folder `dir` (Linux).
void WriteHive(const std::string& dir, const std::string& hive, const std::string& text);

}  // namespace zxtest
