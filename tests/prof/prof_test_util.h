// Helpers of the profile store tests: wide literals at the C boundary, reading
// values and whole trees back through the exports, a private registry folder.
#pragma once
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "prof/ProfJob.h"
#include "zxUT22.h"

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

namespace proftest {

inline LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }
inline const char16_t* U(LPCWSTR s) { return reinterpret_cast<const char16_t*>(s); }

inline zx::clsProfJob* Internal(HPROFJOB job) { return reinterpret_cast<zx::clsProfJob*>(job); }
inline zx::clsItemList* Internal(HPROFLIST list) { return reinterpret_cast<zx::clsItemList*>(list); }

// Owns one reference to a job.
class Job {
 public:
  Job() : h_(ProfJobOpenW(nullptr)) {}
  explicit Job(HPROFJOB h) : h_(h) {}
  ~Job() { ProfJobClose(h_); }
  Job(const Job&) = delete;
  Job& operator=(const Job&) = delete;
  operator HPROFJOB() const { return h_; }  // NOLINT
  zx::clsProfJob* operator->() const { return Internal(h_); }

 private:
  HPROFJOB h_;
};

// The value at a path, or "<missing>"; *rc receives the export's result.
inline std::u16string Get(HPROFJOB job, HPROFLIST list, const char16_t* path, LONG* rc = nullptr) {
  char16_t buf[1024];
  LONG r = ProfGetStringW(job, list, W(path), reinterpret_cast<LPWSTR>(buf), 1024, W(u"<missing>"));
  if (rc) *rc = r;
  return buf;
}

// Only the export's result of that read.
inline LONG GetRc(HPROFJOB job, HPROFLIST list, const char16_t* path) {
  LONG rc = 0;
  Get(job, list, path, &rc);
  return rc;
}

inline void Set(HPROFJOB job, HPROFLIST list, const char16_t* path, const char16_t* value) {
  ProfSetStringW(job, list, W(path), W(value));
}

// A list printed as "name=value" and "[name]{...}" items in order, recursively.
std::u16string Dump(HPROFJOB job, HPROFLIST list);

// One item as ProfEnumW reports it.
struct Entry {
  std::u16string name, value;
  HPROFLIST sublist;
};
std::vector<Entry> Items(HPROFJOB job, HPROFLIST list);

// Sets ZXUT_REGISTRY_DIR to a fresh temporary folder for the whole test program
// (done once, before the first test) and removes it at the end.
const std::string& RegistryDir();
// Writes or removes ProfCacheEnabled for this test program.
void SetCacheSetting(const char16_t* text);
void SetCacheSettingDword(uint32_t value);
void RemoveCacheSetting();

// Restores the default code page when a test ends.
class CodePageGuard {
 public:
  CodePageGuard() : saved_(static_cast<WORD>(ProfGetOption(PROF_OPTION_CODEPAGE))) {}
  ~CodePageGuard() { ProfSetOption(PROF_OPTION_CODEPAGE, saved_); }

 private:
  WORD saved_;
};

std::string ToUtf8(const std::u16string& s);

// ---- saving
// The bytes of a golden file under data/golden.
std::string Golden(const std::string& leaf);
// Saves the job to `path` with ProfSaveW; the export's result.
LONG SaveTo(HPROFJOB job, const std::filesystem::path& path, DWORD flags);
// The bytes a save of the job in that format gives (a fresh file each time).
std::string SavedBytes(HPROFJOB job, DWORD flags);

// A file of `bytes` in the temporary folder, removed when the object ends.
class TempFile {
 public:
  explicit TempFile(std::string_view bytes, std::string_view stem = "prof_load");
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;
  const std::u16string& Name() const { return name_; }
  LPCWSTR WName() const { return W(name_.c_str()); }

 private:
  std::string path_;
  std::u16string name_;
};

// The job of a shared open of a file holding `bytes`.
HPROFJOB OpenBytes(std::string_view bytes);

// A job opened through the library's internal functions, whose diagnostic lines
// reach this program's sink (the exports print through the DLL's own copy).
class InternalJob {
 public:
  explicit InternalJob(std::string_view bytes);
  ~InternalJob();
  InternalJob(const InternalJob&) = delete;
  InternalJob& operator=(const InternalJob&) = delete;
  operator HPROFJOB() const { return reinterpret_cast<HPROFJOB>(job_); }  // NOLINT

 private:
  zx::clsProfJob* job_;
};

// UTF-16LE bytes of `text` behind the mark FF FE.
std::string Utf16File(std::u16string_view text);

}  // namespace proftest
