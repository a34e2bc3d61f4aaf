// Writes an archive of the entries the input describes (names from an alphabet of
// separators, drive letters and characters inside and outside code page 437; sizes;
// contents; comments) and reads it back with minizip: every entry must come back
// with the name the naming rules give, its flag, size, CRC, data and comment; and
// extraction of it puts every entry into the folder with its data.
#include <unzip.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "fuzz_util.h"
#include "zip/Extract.h"
#include "zip/ZipFile.h"

namespace {

namespace fs = std::filesystem;

const fs::path& Dir() {
  static const fs::path d = [] {
    // One folder, reused by every run (libFuzzer may end without running exit handlers).
    fs::path p = fs::temp_directory_path() / "zxut_fuzz_zip_write";
    fs::create_directories(p);
    return p;
  }();
  return d;
}

const char16_t* const kPieces[] = {u"a", u"B", u".", u"\\", u"/", u":", u"C:", u"\\\\", u"\u00e9", u"\u0101",
                                   u"\u65e5", u"\u20ac", u" ", u"x\\y"};

std::u16string Text(fuzzutil::ByteReader& in, int maxPieces) {
  std::u16string s;
  for (int n = in.Byte() % (maxPieces + 1); n > 0; --n) s += kPieces[in.Byte() % std::size(kPieces)];
  return s;
}

// The entry name the writer must store (before encoding).
std::u16string ExpectedName(const std::u16string& given, const std::u16string& source) {
  std::u16string name = given.empty() ? source : given;
  auto isLetter = [](char16_t c) { return (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z'); };
  if (name.size() >= 2 && isLetter(name[0]) && name[1] == u':') {
    name = name.substr(2);
  } else if (name.size() >= 2 && name[0] == u'\\' && name[1] == u'\\') {
    const size_t next = name.find(u'\\', 2);
    if (next != std::u16string::npos) name = name.substr(next);
  }
  if (name.empty()) return source;
  for (char16_t& c : name)
    if (c == u'\\') c = u'/';
  return name;
}

bool OutsideCp437(const std::u16string& s) {
  for (char16_t c : s)
    if (c >= 0x80 && c != u'\u00e9') return true;
  return false;
}

std::string Encode(const std::u16string& s, bool utf8) {
  std::string out;
  for (char16_t c : s) {
    if (c < 0x80) out += static_cast<char>(c);
    else if (!utf8) out += '\x82';   // é, the one character of the alphabet inside code page 437
    else if (c < 0x800) out += {static_cast<char>(0xC0 | c >> 6), static_cast<char>(0x80 | (c & 0x3F))};
    else out += {static_cast<char>(0xE0 | c >> 12), static_cast<char>(0x80 | ((c >> 6) & 0x3F)), static_cast<char>(0x80 | (c & 0x3F))};
  }
  return out;
}

struct Expected {
  std::string name, comment, data;
  bool utf8;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzutil::ByteReader in(data, size);
  const fs::path archive = Dir() / "f.zip";
  std::vector<Expected> expected;
  {
    zx::clsZIPFile zip;
    FUZZ_CHECK(zip.Create(zx::String(archive.u16string()), zx::String(u"archive comment")));
    for (int i = 0, n = in.Byte() % 6; i < n; ++i) {
      const fs::path src = Dir() / ("src" + std::to_string(i));
      std::string content(static_cast<size_t>(in.Byte()) * in.Byte() % 70000, '\0');
      const uint8_t seed = in.Byte();
      for (size_t k = 0; k < content.size(); ++k) content[k] = static_cast<char>(seed & 1 ? k * seed >> 3 : seed + k % 7);
      FILE* f = std::fopen(src.c_str(), "wb");
      FUZZ_CHECK(f && std::fwrite(content.data(), 1, content.size(), f) == content.size());
      std::fclose(f);
      const std::u16string name = Text(in, 6), comment = Text(in, 3), source = src.u16string();
      FUZZ_CHECK(zip.Append(zx::String(source), zx::String(comment), zx::String(name)) == 0);
      const std::u16string stored = ExpectedName(name, source);
      const bool utf8 = OutsideCp437(stored) || OutsideCp437(comment);
      expected.push_back({Encode(stored, utf8), Encode(comment, utf8), content, utf8});
    }
    FUZZ_CHECK(zip.Close() == 0);
  }

  if (expected.empty()) {   // minizip opens no archive without entries
    FUZZ_CHECK(fs::file_size(archive) == 22 + 15);
    return 0;
  }
  unzFile z = unzOpen64(archive.c_str());
  FUZZ_CHECK(z != nullptr);
  unz_global_info64 global;
  FUZZ_CHECK(unzGetGlobalInfo64(z, &global) == UNZ_OK && global.number_entry == expected.size());
  char comment[64] = {};
  FUZZ_CHECK(unzGetGlobalComment(z, comment, sizeof comment) == 15 && std::strcmp(comment, "archive comment") == 0);
  int rc = unzGoToFirstFile(z);
  std::vector<char> buffer;
  for (const Expected& e : expected) {
    FUZZ_CHECK(rc == UNZ_OK);
    unz_file_info64 info;
    char name[512] = {}, entryComment[512] = {};
    FUZZ_CHECK(unzGetCurrentFileInfo64(z, &info, name, sizeof name, nullptr, 0, entryComment, sizeof entryComment) ==
               UNZ_OK);
    FUZZ_CHECK(std::string(name, info.size_filename) == e.name);
    FUZZ_CHECK(std::string(entryComment, info.size_file_comment) == e.comment);
    FUZZ_CHECK(((info.flag & 0x800) != 0) == e.utf8);
    FUZZ_CHECK(info.uncompressed_size == e.data.size() && info.compression_method == 8);
    FUZZ_CHECK(unzOpenCurrentFile(z) == UNZ_OK);
    buffer.assign(e.data.size() + 1, 0);
    FUZZ_CHECK(unzReadCurrentFile(z, buffer.data(), static_cast<unsigned>(buffer.size())) ==
               static_cast<int>(e.data.size()));
    FUZZ_CHECK(std::memcmp(buffer.data(), e.data.data(), e.data.size()) == 0);
    FUZZ_CHECK(unzCloseCurrentFile(z) == UNZ_OK);   // the CRC matched
    rc = unzGoToNextFile(z);
  }
  FUZZ_CHECK(rc == UNZ_END_OF_LIST_OF_FILE);
  unzClose(z);

  // Extraction of the same archive: refused as a whole, stopped by a clash of a file
  // and a folder of one name, or every entry lands in the folder with its data (a
  // later entry of the same name wins).
  const fs::path out = Dir() / "out";
  std::error_code ec;
  fs::remove_all(out, ec);
  try {
    zx::ExtractZip(zx::String(archive.u16string()), zx::String(out.u16string()));
  } catch (const std::runtime_error& e) {
    // A refused name writes nothing; a file and a folder of one name clash.
    const bool refused = std::strstr(e.what(), " refusing internal file '") == e.what();
    FUZZ_CHECK(refused || std::strstr(e.what(), " creating ") == e.what());
    FUZZ_CHECK(!refused || !fs::exists(out));
    return 0;
  }
  std::map<std::string, const std::string*> last;
  for (const Expected& e : expected) {
    std::string onDisk = e.name;   // names in code page 437 are written in UTF-8
    for (size_t at; !e.utf8 && (at = onDisk.find('\x82')) != std::string::npos;) onDisk.replace(at, 1, "\xc3\xa9");
    last[onDisk] = &e.data;
  }
  for (const auto& [name, content] : last) {
    if (name.find("//") != std::string::npos || name.find("./") != std::string::npos ||
        name.find("/.") != std::string::npos || name.front() == '.' || name.back() == '.' || name.back() == '/')
      continue;   // dot and empty components are dropped on the way out
    FILE* f = std::fopen((out / name).c_str(), "rb");
    if (!f) std::fprintf(stderr, "missing: '%s'\n", name.c_str());
    FUZZ_CHECK(f != nullptr);
    std::string got(content->size() + 1, '\0');
    got.resize(std::fread(got.data(), 1, got.size(), f));
    std::fclose(f);
    FUZZ_CHECK(got == *content);
  }
  return 0;
}
