#include "thread_test_util.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include "core/diag/Diag.h"
#include "debug/DebugChannel.h"
#include "platform/process.h"

namespace zxtest {
namespace {

const bool g_setUp = [] {
#ifdef _WIN32
  _putenv_s("user", "zrk");
#else
  setenv("user", "zrk", 1);
  std::string reg = (std::filesystem::temp_directory_path() /
                     ("zxut_thread_reg_" + std::to_string(plat::ProcessId()))).string();
  std::filesystem::create_directories(reg);
  setenv("ZXUT_REGISTRY_DIR", reg.c_str(), 1);
#endif
  return true;
}();

}  // namespace

std::string Ascii(const std::u16string& s) {
  std::string out;
  for (char16_t c : s) out.push_back(c < 128 ? static_cast<char>(c) : '?');
  return out;
}

// The debug channel takes the diagnostic lines over when it is built: build it
// first, so that it doesn't replace the capture.
DiagCapture::DiagCapture() {
  zx::DebugChannel();
  previous_ = zx::SetDiagSink(&Sink, this, &previousContext_);
}
DiagCapture::~DiagCapture() { zx::SetDiagSink(previous_, previousContext_); }

void DiagCapture::Sink(const char16_t* line, void* self) {
  auto* c = static_cast<DiagCapture*>(self);
  std::lock_guard<std::mutex> l(c->lock_);
  c->lines_.push_back(Ascii(line));
}

std::vector<std::string> DiagCapture::Lines() const {
  std::lock_guard<std::mutex> l(lock_);
  return lines_;
}

int DiagCapture::Count(const std::string& text) const {
  int n = 0;
  for (const std::string& s : Lines()) n += s.find(text) != std::string::npos;
  return n;
}

}  // namespace zxtest
