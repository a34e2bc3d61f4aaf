#include "gpf_test_util.h"

#include <cstdio>
#include <regex>

#include "debug/DebugChannel.h"

namespace zxtest {

LogCapture::LogCapture() : path_(zxsupport::TempPath("gpf_log")) {
  zx::DebugChannel()->SetLogFile(zx::String(std::u16string_view(zxsupport::U16(path_))), true);
}

LogCapture::~LogCapture() {
  zx::DebugChannel()->SetLogFile(zx::String(), false);
  std::remove(path_.c_str());
}

std::vector<std::string> LogMessages(const std::string& path) {
  // [tag: ] time thread/processor digit, then the indented text.
  static const std::regex prefix(R"(^(?:\S+ *: )?(?:\d\d:)?\d\d:\d\d\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d +)");
  std::vector<std::string> out;
  for (const std::u16string& text : zxsupport::ReadUtf16Lines(path)) {
    std::string line = zxsupport::Ascii(text);
    std::smatch m;
    if (std::regex_search(line, m, prefix)) line = line.substr(m.length(0));
    out.push_back(line);
  }
  return out;
}

std::vector<std::string> LogCapture::Messages() const { return LogMessages(path_); }

size_t LogCapture::Count(const std::string& text) const {
  size_t n = 0;
  for (const std::string& m : Messages()) n += m.find(text) != std::string::npos;
  return n;
}

}  // namespace zxtest
