#include "docinfo/ShellLink.h"

#include <cstring>
#include <string>

#include "core/strings/CharsetConversion.h"
#include "docinfo/Docu.h"
#include "platform/shortcut.h"

namespace zx {
namespace {

// ShellLinkHeader: HeaderSize 0x4C and LinkCLSID 00021401-0000-0000-C000-000000000046.
constexpr uint32_t kHeaderSize = 0x4C;
constexpr uint8_t kLinkClsid[16] = {0x01, 0x14, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
                                    0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};
// LinkFlags.
constexpr uint32_t kHasLinkTargetIdList = 0x01;
constexpr uint32_t kHasLinkInfo = 0x02;
constexpr uint32_t kHasName = 0x04;
constexpr uint32_t kHasRelativePath = 0x08;
constexpr uint32_t kIsUnicode = 0x80;
constexpr uint32_t kForceNoLinkInfo = 0x100;
// LinkInfoFlags.
constexpr uint32_t kVolumeIdAndLocalBasePath = 0x1;
constexpr uint32_t kCommonNetworkRelativeLinkAndPathSuffix = 0x2;

// A bounded view of the bytes; every read checks its range.
struct Bytes {
  const uint8_t* data;
  size_t size;
  bool U16(size_t at, uint32_t* v) const {
    if (at > size || size - at < 2) return false;
    *v = data[at] | (uint32_t{data[at + 1]} << 8);
    return true;
  }
  bool U32(size_t at, uint32_t* v) const {
    if (at > size || size - at < 4) return false;
    *v = data[at] | (uint32_t{data[at + 1]} << 8) | (uint32_t{data[at + 2]} << 16) | (uint32_t{data[at + 3]} << 24);
    return true;
  }
  Bytes Sub(size_t at, size_t length) const {
    if (at > size || size - at < length) return {data, 0};
    return {data + at, length};
  }
  // A terminated narrow string in the default code page; false when unterminated.
  bool Narrow(size_t at, String* out) const {
    if (at >= size) return false;
    const void* end = std::memchr(data + at, 0, size - at);
    if (!end) return false;
    const size_t n = static_cast<const uint8_t*>(end) - (data + at);
    *out = StringFromNarrow(reinterpret_cast<const char*>(data + at), static_cast<int64_t>(n), String::DefaultCodePage());
    return true;
  }
  // A terminated UTF-16 string; false when unterminated.
  bool Wide(size_t at, String* out) const {
    std::u16string text;
    for (uint32_t c; U16(at, &c); at += 2) {
      if (c == 0) {
        *out = String(std::u16string_view(text));
        return true;
      }
      text.push_back(static_cast<char16_t>(c));
    }
    return false;
  }
};

// "a" + "\" + "b" without a doubled separator.
String JoinPath(String a, const String& b) {
  if (b.IsEmpty()) return a;
  if (!a.IsEmpty() && a.GetAt(a.Length() - 1) != u'\\' && a.GetAt(a.Length() - 1) != u'/') a.Append(u'\\');
  a.Append(b);
  return a;
}

// The path the link info gives, network form first; empty when it has none.
String LinkInfoPath(const Bytes& info) {
  uint32_t headerSize = 0, flags = 0, localOffset = 0, networkOffset = 0, suffixOffset = 0;
  if (!info.U32(4, &headerSize) || !info.U32(8, &flags) || !info.U32(16, &localOffset) ||
      !info.U32(20, &networkOffset) || !info.U32(24, &suffixOffset) || headerSize < 0x1C)
    return String();
  uint32_t localUnicode = 0, suffixUnicode = 0;
  const bool unicode = headerSize >= 0x24 && info.U32(28, &localUnicode) && info.U32(32, &suffixUnicode);
  String suffix;
  if (!(unicode && suffixUnicode && info.Wide(suffixUnicode, &suffix))) info.Narrow(suffixOffset, &suffix);

  if (flags & kCommonNetworkRelativeLinkAndPathSuffix) {
    // CommonNetworkRelativeLink: size, flags, NetNameOffset, DeviceNameOffset,
    // provider type, then (when NetNameOffset > 0x14) the Unicode offsets.
    uint32_t linkSize = 0, netOffset = 0;
    if (info.U32(networkOffset, &linkSize) && info.U32(networkOffset + 8, &netOffset) && linkSize >= 0x14) {
      const Bytes link = info.Sub(networkOffset, linkSize);
      String net;
      uint32_t netUnicode = 0;
      const bool found = (netOffset > 0x14 && link.U32(0x14, &netUnicode) && netUnicode && link.Wide(netUnicode, &net)) ||
                         link.Narrow(netOffset, &net);
      if (found && !net.IsEmpty()) return JoinPath(net, suffix);
    }
  }
  if (flags & kVolumeIdAndLocalBasePath) {
    String base;
    if ((unicode && localUnicode && info.Wide(localUnicode, &base)) || info.Narrow(localOffset, &base))
      if (!base.IsEmpty()) {
        base.Append(suffix);
        return base;
      }
  }
  return String();
}

// One StringData entry at `*at`: a count of characters, then the characters.
bool StringDataEntry(const Bytes& b, size_t* at, bool unicode, String* out) {
  uint32_t count = 0;
  if (!b.U16(*at, &count)) return false;
  const size_t bytes = unicode ? size_t{count} * 2 : count;
  const Bytes text = b.Sub(*at + 2, bytes);
  if (text.size != bytes) return false;
  if (unicode) {
    std::u16string s(count, u'\0');
    for (uint32_t i = 0; i < count; ++i) s[i] = static_cast<char16_t>(text.data[2 * i] | (text.data[2 * i + 1] << 8));
    *out = String(std::u16string_view(s));
  } else {
    *out = StringFromNarrow(reinterpret_cast<const char*>(text.data), count, String::DefaultCodePage());
  }
  *at += 2 + bytes;
  return true;
}

String FolderOf(const String& path) {
  const std::u16string_view v = path.View();
  const size_t cut = v.find_last_of(u"\\/");
  return cut == std::u16string_view::npos ? String() : path.Left(static_cast<int64_t>(cut));
}

}  // namespace

String ShellLinkTarget(const uint8_t* data, size_t size, const String& folder) {
  const Bytes b{data, data ? size : 0};
  uint32_t headerSize = 0, flags = 0;
  if (!b.U32(0, &headerSize) || headerSize != kHeaderSize || b.size < kHeaderSize ||
      std::memcmp(data + 4, kLinkClsid, 16) != 0 || !b.U32(20, &flags))
    return String();
  size_t at = kHeaderSize;
  if (flags & kHasLinkTargetIdList) {
    uint32_t idListSize = 0;
    if (!b.U16(at, &idListSize)) return String();
    at += 2 + size_t{idListSize};
  }
  if ((flags & kHasLinkInfo) && !(flags & kForceNoLinkInfo)) {
    uint32_t infoSize = 0;
    if (!b.U32(at, &infoSize) || infoSize < 0x1C) return String();
    const Bytes info = b.Sub(at, infoSize);
    if (info.size != infoSize) return String();
    String path = LinkInfoPath(info);
    if (!path.IsEmpty()) return path;
    at += infoSize;
  } else if (flags & kHasLinkInfo) {
    uint32_t infoSize = 0;
    if (!b.U32(at, &infoSize)) return String();
    at += infoSize;
  }
  const bool unicode = (flags & kIsUnicode) != 0;
  String name, relative;
  if ((flags & kHasName) && !StringDataEntry(b, &at, unicode, &name)) return String();
  if (!(flags & kHasRelativePath) || !StringDataEntry(b, &at, unicode, &relative) || relative.IsEmpty())
    return String();
  // A relative path is taken from the shortcut's own folder, with that folder's separators.
  const bool slashes = folder.View().find(u'/') != std::u16string_view::npos &&
                       folder.View().find(u'\\') == std::u16string_view::npos;
  if (slashes) relative.ReplaceChar(u'\\', u'/');
  if (folder.IsEmpty()) return relative;
  String joined = folder;
  joined.Append(slashes ? u'/' : u'\\');
  joined.Append(relative);
  return joined;
}

String ResolveShortcut(const String& lnkPath) {
  const std::u16string path(lnkPath.View());
  std::u16string target;
  const int system = plat::ResolveShellLink(path, target);
  if (system >= 0) return system == 1 ? String(std::u16string_view(target)) : String();
  if (plat::ReadSymbolicLink(path, target)) return String(std::u16string_view(target));
  clsDocFile file;
  if (file.OpenDocument(lnkPath) != 0) return String();
  const uint64_t size = file.GetSize();
  if (size == 0 || size > kShellLinkReadLimit) return String();
  std::string bytes(static_cast<size_t>(size), '\0');
  if (file.Read(bytes.data(), static_cast<uint32_t>(size)) != size) return String();
  return ShellLinkTarget(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), FolderOf(lnkPath));
}

}  // namespace zx
