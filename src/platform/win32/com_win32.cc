// The in-memory stream and the task allocator: the system's own.
#include "platform/win32/pch.h"
#include <objbase.h>

#include "platform/com.h"

namespace plat {

HRESULT CreateMemoryStream(IStream** out) {
  if (!out) return kE_INVALIDARG;
  return CreateStreamOnHGlobal(nullptr, TRUE, out);
}

HGLOBAL GlobalAlloc(size_t bytes) { return ::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, bytes); }
void* GlobalLock(HGLOBAL handle) { return handle ? ::GlobalLock(handle) : nullptr; }
void GlobalUnlock(HGLOBAL handle) {
  if (handle) ::GlobalUnlock(handle);
}
size_t GlobalSize(HGLOBAL handle) { return handle ? ::GlobalSize(handle) : 0; }
HGLOBAL GlobalReAlloc(HGLOBAL handle, size_t bytes) {
  return handle ? ::GlobalReAlloc(handle, bytes, GMEM_MOVEABLE | GMEM_ZEROINIT) : nullptr;
}
void GlobalFree(HGLOBAL handle) {
  if (handle) ::GlobalFree(handle);
}

void* TaskMemAlloc(size_t bytes) { return CoTaskMemAlloc(bytes); }
void TaskMemFree(void* block) { CoTaskMemFree(block); }

HRESULT ComInitializeApartment() { return CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
void ComUninitialize() { CoUninitialize(); }

}  // namespace plat
