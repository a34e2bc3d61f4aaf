// Fuzz target for the replacement template of clsRegEx::Substitute: the parsed
// parts stay inside the template and expand to what a plain character-by-character
// reading gives; then a real substitution with the template over a fuzzed subject
// (empty matches included) must keep every character outside the matches.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/regex/RegEx.h"
#include "core/regex/RegExTemplate.h"
#include "core/strings/String.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

std::u16string GroupText(int g) { return u"<" + std::u16string(1, static_cast<char16_t>(u'0' + g)) + u">"; }

// The reading of the template, one character at a time.
std::u16string Reference(const std::u16string& t, int groups) {
  std::u16string out;
  for (size_t i = 0; i < t.size(); ++i) {
    if (t[i] == u'\\' && i + 1 < t.size() && t[i + 1] == u'\\') {
      out += u'\\';
      ++i;
    } else if (t[i] == u'\\' && i + 1 < t.size() && t[i + 1] >= u'0' && t[i + 1] <= u'9') {
      if (t[i + 1] - u'0' < groups) out += GroupText(t[i + 1] - u'0');
      ++i;
    } else {
      out += t[i];
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char16_t kAlphabet[] = u"\\\\\\0129a$\U0001F600\r\n";
  std::u16string tmpl, subject;
  size_t i = 0;
  for (; i < size && data[i] != 0xFF; ++i)
    tmpl += (data[i] & 0x80) ? static_cast<char16_t>(data[i] * 131) : kAlphabet[data[i] % 12];
  for (++i; i < size; ++i) subject += u"ab,\xD83D\xDE00\r\n"[data[i] % 8];

  const auto parts = zx::ParseRegExTemplate(tmpl);
  const int groups = static_cast<int>(size % 11);
  std::u16string expanded;
  for (const auto& p : parts) {
    if (p.group >= 0) {
      Check(p.group <= 9);
      if (p.group < groups) expanded += GroupText(p.group);
    } else {
      Check(p.start >= 0 && p.length > 0 && p.start + p.length <= static_cast<int64_t>(tmpl.size()));
      expanded.append(tmpl, static_cast<size_t>(p.start), static_cast<size_t>(p.length));
    }
  }
  Check(expanded == Reference(tmpl, groups));

  // A pattern that also matches empty: with an empty template, exactly the
  // matched text goes ("ab" pairs and lone "a"s); with the fuzzed one, no crash.
  clsRegEx re(u"(a)(b)?|x*");
  const String subjectText{std::u16string_view(subject)};
  std::u16string kept;
  for (size_t k = 0; k < subject.size(); ++k) {
    if (subject[k] == u'a') {
      if (k + 1 < subject.size() && subject[k + 1] == u'b') ++k;
      continue;
    }
    kept += subject[k];
  }
  Check(re.Substitute(subjectText, String()).View() == kept);
  const String out = re.Substitute(subjectText, String(std::u16string_view(tmpl)));
  Check(out.Length() >= static_cast<int64_t>(kept.size()));
  return 0;
}
