// The error of a profile load: thrown by the format parsers, caught at the top
// of the load (prof/Load.h), which reports it and fails the load. It never leaves
// the profile layer.
// Threads: a local of one load.
#pragma once
#include <cstdint>

#include "core/strings/String.h"

namespace zx {

class clsLoadException {
 public:
  // Writes "PROF load error line %d: '%s'" to the debug channel.
  clsLoadException(uint32_t lineNumber, const char16_t* text, const String& fieldPath);

  uint32_t line;   // the parser's count of non-empty lines when the error arose
  String message;
  String path;     // the field path (XFDF), joined by "."
};

}  // namespace zx
