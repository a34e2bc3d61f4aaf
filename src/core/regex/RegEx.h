// clsRegEx: the library's regular expressions over String, on the 16-bit engine.
// The pattern compiles on demand; matches come back as a clsRegExMatchList
// (element 0 the whole match, element n group n). Substitution (template or
// callback) and splitting walk the subject once with start offsets, so they are
// linear in its length; an empty match advances by one character (a surrogate
// pair or a CRLF newline counts as one). A match limit stops runaway
// backtracking: the call fails with an ERR line and LastMatchError() tells why.
// Not thread-safe: the offsets vector is shared by the calls on one object.
#pragma once

#include <cstdint>
#include <functional>

#include "core/strings/String.h"
#include "core/containers/WCList.h"

struct pcre2_real_code_16;
struct pcre2_real_match_data_16;
struct pcre2_real_match_context_16;

namespace zx {

struct scRegExMatch {
  int32_t offset = -1;  // start of the group in the subject, in characters; -1 when unset
  String text;
};

inline bool operator==(const scRegExMatch& a, const scRegExMatch& b) {
  return a.offset == b.offset && a.text == b.text;
}

class clsRegExMatchList : public WCValSList<scRegExMatch> {};

// A replacement callback: fills `replacement` for the match in `list`. Returning
// false stops the substitution; the rest of the subject, this match included,
// is copied unchanged.
class IclsRegExGSubCB {
 public:
  virtual ~IclsRegExGSubCB() = default;
  virtual bool Replace(const clsRegExMatchList& list, String& replacement) = 0;
};

using RegExReplaceFn = std::function<bool(const clsRegExMatchList&, String&)>;

// Option bits (the compile options of the engine's original interface).
enum : uint32_t {
  kRegExCaseless = 0x1,
  kRegExMultiline = 0x2,
  kRegExDotAll = 0x4,
  kRegExExtended = 0x8,
  kRegExAnchored = 0x10,
  kRegExDollarEndOnly = 0x20,
  kRegExNotBol = 0x80,
  kRegExNotEol = 0x100,
  kRegExUngreedy = 0x200,
  kRegExNotEmpty = 0x400,
  kRegExUtf = 0x800,
  kRegExNoAutoCapture = 0x1000,
  kRegExMatchMask = 0x5B0,  // the bits also passed to each match
};

class clsRegEx {
 public:
  static constexpr uint32_t kMatchLimit = 10'000'000;  // backtracking steps per match
  static constexpr uint32_t kDepthLimit = 250'000;     // nested backtracking frames

  clsRegEx() = default;
  explicit clsRegEx(const String& pattern, uint32_t options = 0);
  clsRegEx(const clsRegEx&) = delete;
  clsRegEx& operator=(const clsRegEx&) = delete;
  ~clsRegEx();

  bool Compile(const String& pattern, uint32_t options = 0);
  bool Match(const String& subject, clsRegExMatchList* list);
  bool Match(const char16_t* subject, clsRegExMatchList* list);
  String Substitute(const String& subject, const String& replacementTemplate);
  String Substitute(const String& subject, IclsRegExGSubCB& callback);
  String Substitute(const String& subject, const RegExReplaceFn& callback);
  WCValSList<String> Split(const String& subject);
  static String Escape(const String& text);

  const String& Pattern() const { return pattern; }
  uint32_t Options() const { return options; }
  const String& ErrorText() const { return errorText; }
  bool IsCompiled() const { return compiled != nullptr; }
  int32_t VectorSize() const { return vectorSize; }
  // The engine's code of the last failed match (0 after a success or a plain
  // miss), e.g. the match-limit error.
  int LastMatchError() const { return lastMatchError; }
  bool UsesJit() const { return jitReady; }

 private:
  void Release();
  bool EnsureCompiled();
  // One match at `start`; >0 groups found, 0 no match, <0 a reported failure.
  int Exec(const char16_t* subject, int64_t length, int64_t start, uint32_t extra);
  void FillList(const char16_t* subject, int groups, clsRegExMatchList& list) const;
  int64_t AdvanceAfterEmpty(const char16_t* subject, int64_t length, int64_t at) const;
  // The shared global walk: calls onMatch(start of match, end, groups) for each
  // match in order; returns false when a match failed or onMatch stopped it.
  template <class OnMatch>
  bool ForEachMatch(const char16_t* subject, int64_t length, OnMatch&& onMatch);

  String pattern;
  uint32_t options = 0;
  String errorText;
  pcre2_real_code_16* compiled = nullptr;
  void* study = nullptr;  // the engine keeps no separate study data; JIT lives in `compiled`
  int32_t vectorSize = 0;
  pcre2_real_match_data_16* vector = nullptr;
  pcre2_real_match_context_16* limits = nullptr;
  bool jitReady = false;
  bool crlfIsNewline = false;
  int lastMatchError = 0;
};

}  // namespace zx

using zx::clsRegEx;
using zx::clsRegExMatchList;
using zx::IclsRegExGSubCB;
using zx::scRegExMatch;
