// The replacement template of clsRegEx::Substitute, parsed once per call into
// parts: "\\" followed by "\\" is one backslash, "\\" followed by a digit d is
// group d of the match, every other character is copied as it is (a lone or
// trailing backslash included).
// Threads: any thread; a template is a local of one call.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace zx {

struct RegExTemplatePart {
  int32_t group;   // group number, or -1 for literal text
  int64_t start;   // literal: first character in the template
  int64_t length;  // literal: character count
};

std::vector<RegExTemplatePart> ParseRegExTemplate(std::u16string_view text);

}  // namespace zx
