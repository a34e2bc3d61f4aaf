#include "thread/AllocationCountVerifier.h"

#include "core/strings/String.h"
#include "platform/debugout.h"

namespace zx {

void ReportUndeletedObjects(const char* className, int32_t count) {
  char16_t line[256];
  size_t n = 0;
  for (const char* c = className; *c && n < 200; ++c) line[n++] = static_cast<unsigned char>(*c);
  const char16_t* tail = u": undeleted objects, count=";
  for (const char16_t* c = tail; *c; ++c) line[n++] = *c;
  char digits[16];
  int d = 0;
  uint32_t v = count < 0 ? static_cast<uint32_t>(-static_cast<int64_t>(count)) : static_cast<uint32_t>(count);
  do {
    digits[d++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v);
  if (count < 0) line[n++] = u'-';
  while (d) line[n++] = static_cast<char16_t>(digits[--d]);
  line[n++] = u'\n';
  line[n] = 0;
  plat::DebugOutput(line);   // no formatter: it may be gone at this point of the exit
}

}  // namespace zx
