#include "module_test_util.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "core/format/Format.h"
#include "debug/DebugChannel.h"
#include "module/HeapNode.h"
#include "platform/process.h"

namespace zxtest {

using zxsupport::Ascii;
using zxsupport::U16;

namespace {

// Blocks and registry of this test program stay its own.
const bool g_isolated = [] {
  if (std::getenv("ZXUT_MODULE_CHILD")) return false;   // a child: its parent decides
  std::string tag = "zxmod" + std::to_string(plat::ProcessId());
#ifdef _WIN32
  _putenv_s("ZXUT_SHM_PREFIX", tag.c_str());
#else
  setenv("ZXUT_SHM_PREFIX", tag.c_str(), 1);
  std::string reg = zxsupport::TempPath("module_reg");
  mkdir(reg.c_str(), 0700);
  setenv("ZXUT_REGISTRY_DIR", reg.c_str(), 1);
#endif
  return true;
}();

}  // namespace

std::string PointerText(const void* p) {
  char16_t buf[32];
  zx::FormatTo(buf, 32, u"%#p", p);
  return Ascii(buf);
}

DebugCapture::DebugCapture() : path_(zxsupport::TempPath("module_log")) {
  zx::clsDebugChannel* ch = zx::DebugChannel();
  ch->SetLogFile(zx::String(std::u16string_view(U16(path_))), false);
  if (ch->AppLocal()) ch->AppLocal()->indentation.store(0);
}

DebugCapture::~DebugCapture() {
  zx::DebugChannel()->SetLogFile(zx::String(), false);
  std::remove(path_.c_str());
}

void DebugCapture::Clear() { std::remove(path_.c_str()); }

std::vector<std::string> DebugCapture::Messages() const {
  const std::string tag = Ascii(zx::DebugChannel()->LibraryTag());
  // [tag: ] time (wall clock or counter) thread/processor digit, then the text.
  static const std::regex prefix(
      R"(^(?:\S+ *: )?(?:\d\d:)?\d\d:\d\d\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d )");
  std::vector<std::string> out;
  for (const std::u16string& text : zxsupport::ReadUtf16Lines(path_)) {
    std::string line = Ascii(text);
    std::smatch m;
    if (std::regex_search(line, m, prefix)) line = line.substr(m.length(0));
    out.push_back(line);
  }
  return out;
}

std::vector<std::string> DebugCapture::TraceMessages() const {
  std::vector<std::string> out;
  for (const std::string& m : Messages()) {
    if (m.compare(0, 9, "        :") != 0) continue;
    std::string t = m.substr(9);
    if (!t.empty() && t.back() == '\n') t.pop_back();
    out.push_back(t);
  }
  return out;
}

bool DebugCapture::Saw(const std::string& text) const {
  for (const std::string& m : Messages())
    if (m.find(text) != std::string::npos) return true;
  return false;
}

// ---- the fake heap services

FakeHeap* FakeHeap::current = nullptr;

FakeHeap::FakeHeap() {
  current = this;
  services = plat::SystemHeapServices();
  services.alloc = [](plat::SysHeap h, uint32_t flags, size_t size) -> void* {
    if (current->failAlloc) return nullptr;
    return plat::SystemHeapServices().alloc(h, flags, size);
  };
  services.free = [](plat::SysHeap h, uint32_t flags, void* block) {
    ++current->freeCalls;
    size_t n = plat::SystemHeapServices().size(h, flags, block);
    if (n != plat::kHeapBadBlock) {
      auto* p = static_cast<unsigned char*>(block);
      current->lastFreed.assign(p, p + n);
    }
    return plat::SystemHeapServices().free(h, flags, block);
  };
  services.validate = [](plat::SysHeap h, uint32_t flags, const void* block) {
    return !current->failValidate && plat::SystemHeapServices().validate(h, flags, block);
  };
  services.compact = [](plat::SysHeap, uint32_t) { return current->compactResult; };
  zx::SetHeapServicesForTests(&services);
}

FakeHeap::~FakeHeap() {
  zx::SetHeapServicesForTests(nullptr);
  current = nullptr;
}

}  // namespace zxtest
