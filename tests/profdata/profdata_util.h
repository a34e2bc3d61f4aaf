// Helpers of the stream, variant and embedded-file tests of the profile store.
#pragma once
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/support_test_util.h"
#include "zxUT22.h"

namespace pdtest {

namespace fs = std::filesystem;

inline LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }

// Owns one reference to a job.
class Job {
 public:
  Job() : h_(ProfJobOpenW(nullptr)) {}
  explicit Job(HPROFJOB h) : h_(h) {}
  ~Job() { ProfJobClose(h_); }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  operator HPROFJOB() const { return h_; }  // NOLINT

 private:
  HPROFJOB h_;
};

inline std::u16string Get(HPROFJOB job, HPROFLIST list, const char16_t* path) {
  char16_t buf[4096];
  ProfGetStringW(job, list, W(path), reinterpret_cast<LPWSTR>(buf), 4096, W(u"<missing>"));
  return buf;
}

inline void Set(HPROFJOB job, const char16_t* path, const char16_t* value) {
  ProfSetStringW(job, nullptr, W(path), W(value));
}

// A path as the library's wide text.
inline std::u16string Wide(const fs::path& p) { return p.u16string(); }

// Some items at several levels, with text that needs masking.
inline void Fill(HPROFJOB job, int items = 20) {
  for (int i = 0; i < items; ++i) {
    const std::u16string n = u"sec" + zxsupport::U16(std::to_string(i % 5)) + u"/key" + zxsupport::U16(std::to_string(i));
    Set(job, n.c_str(), u"value <&> \u00e4\u20ac = x");
  }
}

// Whole bytes a save to a fresh file gives.
inline std::string Saved(HPROFJOB job, DWORD flags, const zxsupport::ScratchDir& dir) {
  const fs::path p = dir / "saved.prf";
  fs::remove(p);
  EXPECT_EQ(0, ProfSaveW(job, W(Wide(p).c_str()), flags));
  return zxsupport::ReadBytes(p);
}

}  // namespace pdtest
