// A clipboard of named binary formats. Windows: the session's clipboard, opened
// under an owner window, with registered formats and moveable global blocks.
// Linux has no such common object: each user has a folder of slots, one file per
// format ($XDG_RUNTIME_DIR/zxut22-clipboard, else <temp>/zxut22-clipboard-<uid>,
// mode 0700 and owned by the user), each written to a temporary file and renamed,
// so another process sees either the old data or the new.
// Errors: false / 0 for failures; nothing throws.
// Threads: any thread; on Windows one clipboard session per process at a time.
//
//   plat::ClipboardSession cb(window);
//   if (cb.IsOpen()) cb.Put(plat::ClipboardRegister(u"MyFormat"), data, size);
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

namespace plat {

// Standard format 1, narrow text.
inline constexpr uint32_t kClipboardText = 1;

// RegisterClipboardFormatW: the same id for the same name; 0 on failure.
uint32_t ClipboardRegister(const char16_t* name);
// Whether the format holds data now.
bool ClipboardHasFormat(uint32_t format);

class ClipboardSession {
 public:
  // OpenClipboard(owner); CloseClipboard at the end. EmptyClipboard is not called.
  explicit ClipboardSession(void* owner);
  ~ClipboardSession();
  ClipboardSession(const ClipboardSession&) = delete;
  ClipboardSession& operator=(const ClipboardSession&) = delete;
  bool IsOpen() const { return open_; }
  // The data as a zeroed block of size + 1 bytes (the extra zero ends a text).
  bool Put(uint32_t format, const void* data, size_t size);
  // The whole block of the format (Windows: its allocated size, which may be
  // larger than what was put); false when the format is missing.
  bool Get(uint32_t format, std::string& data);

 private:
  bool open_ = false;
};

}  // namespace plat
