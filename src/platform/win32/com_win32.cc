// The in-memory stream and the task allocator: the system's own.
#include "platform/win32/pch.h"
#include <objbase.h>

#include "platform/com.h"

namespace plat {

HRESULT CreateMemoryStream(IStream** out) {
  if (!out) return kE_INVALIDARG;
  return CreateStreamOnHGlobal(nullptr, TRUE, out);
}

void* TaskMemAlloc(size_t bytes) { return CoTaskMemAlloc(bytes); }
void TaskMemFree(void* block) { CoTaskMemFree(block); }

}  // namespace plat
