// Fuzz target for the path functions on arbitrary text: split into exact rooms
// with guard cells behind them, make the path again (merge of split gives the
// path back), the full path with a fixed current folder in both forms and into a
// room of the input's choice, the normalising of the network services, and the
// token expansion.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz_util.h"
#include "path/PathRuntime.h"
#include "path/PathServices.h"

namespace {

constexpr char16_t kGuard = 0xBEEF;

// Bytes to text: the characters paths are made of, more often than others.
std::u16string TextOf(fuzzutil::ByteReader& in) {
  static const char16_t kSpecial[] = u"\\/.:% C?*\xE4\x20AC";
  std::u16string s;
  while (in.More()) {
    const uint8_t b = in.Byte();
    if (b < 22) s += kSpecial[b % 11];
    else if (b == 0xFF) break;
    else s += static_cast<char16_t>(b < 127 ? b : 0x100 + b);
  }
  return s;
}

template <size_t N>
struct Room {
  char16_t cells[N + 1];
  size_t room;
  explicit Room(size_t r) : room(r) {
    for (auto& c : cells) c = kGuard;
  }
  bool GuardKept() const {
    for (size_t i = room; i <= N; ++i)
      if (cells[i] != kGuard) return false;
    return true;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzutil::ByteReader in(data, size);
  const uint8_t roomByte = in.Byte();
  const std::u16string path = TextOf(in);

  Room<3> drive(3);
  Room<256> dir(256), name(256), ext(256);
  const int rc = zx::SplitPath(path.c_str(), drive.cells, 3, dir.cells, 256, name.cells, 256, ext.cells, 256);
  FUZZ_CHECK(rc == 0 || rc == zx::kPathERange);
  FUZZ_CHECK(drive.GuardKept() && dir.GuardKept() && name.GuardKept() && ext.GuardKept());
  if (rc == 0 && path.size() < 260) {
    Room<260> out(260);
    FUZZ_CHECK(zx::MakePath(out.cells, 260, drive.cells, dir.cells, name.cells, ext.cells) == 0);
    FUZZ_CHECK(out.GuardKept());
    // A drive part of a path like "x:" comes back; a dir without its separator can't occur.
    FUZZ_CHECK(std::u16string(out.cells) == path);
  }

  const size_t room = roomByte % 200 + 1;
  Room<200> full(room);
  zx::PathContext windows;
  windows.currentDirectory = u"C:\\cur\\dir";
  zx::PathContext posix;
  posix.currentDirectory = u"/home/u";
  posix.posixRoot = true;
  for (const zx::PathContext* c : {&windows, &posix}) {
    const std::u16string f = zx::FullPathName(path, *c);
    FUZZ_CHECK(path.empty() == f.empty());
    const bool fits = zx::FullPath(full.cells, path.c_str(), room, *c);
    FUZZ_CHECK(full.GuardKept());
    if (fits && !path.empty()) FUZZ_CHECK(std::u16string(full.cells) == f);
  }

  const zx::String text{std::u16string_view(path)};
  const zx::String normal = zx::NormalizePath(text);
  FUZZ_CHECK(normal.Length() < 260 || normal == text);
  zx::ExpandDefaultTokensOfFolderPath(text);
  zx::String out;
  zx::EnsureLocalPath(text, out);
  return 0;
}
