// Helpers of the regular-expression tests: list flattening and UTF-8 views.
#pragma once
#include <string>
#include <vector>

#include "core/regex/RegEx.h"

namespace regex_test {

inline std::vector<std::u16string> Pieces(const WCValSList<String>& list) {
  std::vector<std::u16string> out;
  for (int i = 0; i < list.entries(); ++i) out.emplace_back(list.find(i).View());
  return out;
}

inline std::vector<std::u16string> Texts(const clsRegExMatchList& list) {
  std::vector<std::u16string> out;
  for (int i = 0; i < list.entries(); ++i) out.emplace_back(list.find(i).text.View());
  return out;
}

inline std::vector<int> Offsets(const clsRegExMatchList& list) {
  std::vector<int> out;
  for (int i = 0; i < list.entries(); ++i) out.push_back(list.find(i).offset);
  return out;
}

}  // namespace regex_test
