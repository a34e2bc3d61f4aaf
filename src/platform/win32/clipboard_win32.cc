// The session's clipboard through the system.
#include <windows.h>

#include <cstring>

#include "platform/clipboard.h"

namespace plat {

uint32_t ClipboardRegister(const char16_t* name) {
  return name ? ::RegisterClipboardFormatW(reinterpret_cast<const wchar_t*>(name)) : 0;
}

bool ClipboardHasFormat(uint32_t format) { return format != 0 && ::IsClipboardFormatAvailable(format) != 0; }

ClipboardSession::ClipboardSession(void* owner) : open_(::OpenClipboard(static_cast<HWND>(owner)) != 0) {}

ClipboardSession::~ClipboardSession() {
  if (open_) ::CloseClipboard();
}

bool ClipboardSession::Put(uint32_t format, const void* data, size_t size) {
  if (!open_) return false;
  HGLOBAL block = ::GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT | GMEM_DDESHARE, size + 1);
  if (block == nullptr) return false;
  if (size > 0) {
    void* p = ::GlobalLock(block);
    if (p == nullptr) {
      ::GlobalFree(block);
      return false;
    }
    std::memcpy(p, data, size);
    ::GlobalUnlock(block);
  }
  if (::SetClipboardData(format, block) == nullptr) {
    ::GlobalFree(block);
    return false;
  }
  return true;  // the clipboard owns the block now
}

bool ClipboardSession::Get(uint32_t format, std::string& data) {
  data.clear();
  if (!open_) return false;
  HANDLE block = ::GetClipboardData(format);
  if (block == nullptr) return false;
  const size_t size = ::GlobalSize(block);
  const void* p = ::GlobalLock(block);
  if (p == nullptr) return false;
  data.assign(static_cast<const char*>(p), size);
  ::GlobalUnlock(block);
  return true;
}

}  // namespace plat
