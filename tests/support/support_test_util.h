// Helpers every test program shares: captured diagnostic lines, scratch paths and
// folders, whole-file bytes, UTF-16LE bytes, and an outside filter (iconv) to judge
// the library's output by.
#pragma once
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/diag/Diag.h"

namespace zxsupport {

namespace fs = std::filesystem;

// Collects the library's diagnostic lines while it lives. Thread-safe: lines come
// from any thread. A program whose tests build the debug channel builds it before
// the first capture (the channel takes the diagnostic lines over when it is built).
class DiagCapture {
 public:
  DiagCapture();
  ~DiagCapture();
  DiagCapture(const DiagCapture&) = delete;
  DiagCapture& operator=(const DiagCapture&) = delete;

  std::vector<std::u16string> Lines() const;
  // The lines as ASCII ('?' beyond).
  std::vector<std::string> AsciiLines() const;
  // The number of lines that contain `text`.
  size_t Count(std::u16string_view text) const;
  size_t Count(std::string_view asciiText) const;
  // The number of lines equal to `line`.
  size_t CountEqual(std::u16string_view line) const;
  bool Contains(std::u16string_view text) const { return Count(text) != 0; }
  bool AnyStartsWith(std::u16string_view prefix) const;
  size_t Size() const;
  void Clear();

 private:
  static void Sink(const char16_t* line, void* self);
  zx::DiagSink previous_ = nullptr;
  void* previousContext_ = nullptr;
  mutable std::mutex lock_;
  std::vector<std::u16string> lines_;
};

// ASCII of UTF-16 text ('?' beyond), and the reverse for ASCII text.
std::string Ascii(std::u16string_view s);
std::u16string U16(std::string_view ascii);

// A path in the temporary folder no other test (or test program) uses:
// zxut_<stem>_<process>_<counter>. Nothing is made there.
std::string TempPath(std::string_view stem);

// A fresh folder for one test, named for the test, removed with everything in it.
class ScratchDir {
 public:
  explicit ScratchDir(std::string_view stem = "scratch");
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  fs::path operator/(const std::string& leaf) const { return path_ / leaf; }
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

// Points the library's temporary folder (TMP on Windows, TMPDIR on Linux) at a
// folder while it lives; the cached folder names are forgotten on both ends.
class ScopedTempFolder {
 public:
  explicit ScopedTempFolder(const fs::path& p);
  ~ScopedTempFolder();
  ScopedTempFolder(const ScopedTempFolder&) = delete;
  ScopedTempFolder& operator=(const ScopedTempFolder&) = delete;

 private:
  std::string old_;
  bool had_ = false;
};

// Removes a folder tree, read-only entries too (Windows refuses to delete those).
void RemoveTree(const fs::path& root);

// A whole file's bytes ("" when it cannot be read), and a file of exactly `bytes`.
std::string ReadBytes(const fs::path& p);
void WriteBytes(const fs::path& p, std::string_view bytes);

std::string Utf16LeBytes(std::u16string_view text);
std::u16string FromUtf16LeBytes(std::string_view bytes);

// The lines of a text whose every line ends with CR LF (the log file's form), and
// what stands after the last CR LF (empty when the text ends with one).
std::vector<std::u16string> SplitCrLfLines(std::u16string_view text, std::u16string* rest = nullptr);
// The lines of a UTF-16LE file without byte-order mark, such as the debug log.
inline std::vector<std::u16string> ReadUtf16Lines(const fs::path& p, std::u16string* rest = nullptr) {
  return SplitCrLfLines(FromUtf16LeBytes(ReadBytes(p)), rest);
}

// Runs `command` through the shell with `input` on stdin; its stdout in `output`.
// False when the command fails, or always on Windows (no shell tools under wine).
bool RunFilter(const std::string& command, std::string_view input, std::string& output);

// True under wine, which runs as the Unix user (root writes into read-only files).
bool UnderWine();

// Sets environment variables (null: removes them) for one scope, then restores them.
class ScopedEnv {
 public:
  ScopedEnv(std::initializer_list<std::pair<const char*, const char*>> values);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  struct Saved {
    const char* name;
    bool had;
    std::string value;
  };
  std::vector<Saved> saved_;
};

// For a test program whose tests build the debug channel: developer mode on (the
// extra diagnostic lines), a registry folder of its own named from `stem` (Linux),
// and the channel built before the first test, so that it doesn't take the
// diagnostic lines over from a capture. Call once, from a static initialiser.
bool SetUpDeveloperProgram(const char* stem);

}  // namespace zxsupport
