#include "extract_test_util.h"

#include <zlib.h>

#include <algorithm>
#include <vector>

#include "zxUT22.h"

namespace ziptest {

fs::path DataFile(const std::string& leaf) {
  return fs::path(ZXUT_SOURCE_DIR) / "tests" / "zip" / "data" / fs::path(leaf);
}

std::u16string Wide(const fs::path& p) { return p.u16string(); }

std::string Utf8(const fs::path& p) {
  const std::u8string s = p.generic_u8string();
  return std::string(s.begin(), s.end());
}

long ExtractExport(const fs::path& archive, const fs::path& destination) {
  const std::u16string a = Wide(archive), d = Wide(destination);
  return UtilExtractZip(reinterpret_cast<LPCWSTR>(a.c_str()), reinterpret_cast<LPCWSTR>(d.c_str()));
}

namespace {

std::vector<std::string> Lines(const fs::path& root, bool withContent) {
  std::vector<std::string> lines;
  if (!fs::exists(root)) return lines;
  for (const fs::directory_entry& e : fs::recursive_directory_iterator(root)) {
    const std::string name = Utf8(fs::relative(e.path(), root));
    if (!withContent) {
      lines.push_back(name);
    } else if (e.is_directory()) {
      lines.push_back("D " + name);
    } else {
      const std::string bytes = zxsupport::ReadBytes(e.path());
      const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size()));
      char tail[32];
      std::snprintf(tail, sizeof tail, " %zu %08lx", bytes.size(), static_cast<unsigned long>(crc));
      lines.push_back("F " + name + tail);
    }
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

std::string Join(const std::vector<std::string>& lines) {
  std::string out;
  for (const std::string& l : lines) out += l + "\n";
  return out;
}

}  // namespace

std::string TreeManifest(const fs::path& root) { return Join(Lines(root, true)); }
std::string TreeListing(const fs::path& root) { return Join(Lines(root, false)); }

}  // namespace ziptest
