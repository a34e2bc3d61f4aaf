// zxut unzip / zip --list: extraction of an archive and its table of entries.
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "command.h"
#include "text.h"
#include "zip/Extract.h"
#include "zip/Unzipper.h"
#include "zip/ZipText.h"

int RunUnzip(int argc, char** argv);

namespace {

zx::String Arg(const char* utf8) { return zx::String(std::u16string_view(Wide(utf8))); }


int Fail(const std::exception& e) {
  std::fprintf(stderr, "zxut: %s\n", e.what());
  return 1;
}

[[maybe_unused]] const bool kAdded = zxut::AddCommand(
    {"unzip", "extract every entry of a ZIP archive",
     "usage: zxut unzip ARCHIVE DIR\n"
     "  extracts every entry of ARCHIVE below DIR (made as needed), overwriting files;\n"
     "  names that would leave DIR are refused before anything is written\n",
     &RunUnzip});

}  // namespace

// zxut unzip ARCHIVE DIR
int RunUnzip(int argc, char** argv) {
  if (argc != 2 || argv[0][0] == '-' || argv[1][0] == '-') return zxut::UsageError("unzip");
  try {
    zx::ExtractZip(Arg(argv[0]), Arg(argv[1]));
  } catch (const std::exception& e) {
    return Fail(e);
  }
  return 0;
}

// zxut zip --list ARCHIVE (the "--list" may have been taken off by the caller):
// length, date, time and name of every entry, and a total line.
int RunZipList(int argc, char** argv) {
  if (argc > 0 && std::strcmp(argv[0], "--list") == 0) --argc, ++argv;
  if (argc != 1) return zxut::UsageError("zip");
  try {
    zipper::Unzipper zip(Arg(argv[0]));
    std::printf("Archive:  %s\n", argv[0]);
    if (!zip.comment().empty()) std::printf("%s\n", zip.comment().c_str());
    std::printf("  Length      Date    Time    Name\n---------  ---------- -----   ----\n");
    uint64_t total = 0, count = 0;
    zip.forEachEntry([&](const zipper::ZipEntry& e) {
      const uint32_t date = e.dosDate >> 16, time = e.dosDate & 0xFFFF;
      std::printf("%9" PRIu64 "  %04u-%02u-%02u %02u:%02u   %s\n", e.uncompressedSize, 1980 + (date >> 9),
                  (date >> 5) & 15, date & 31, time >> 11, (time >> 5) & 63, zx::EncodeZipText(e.name, true).c_str());
      total += e.uncompressedSize;
      ++count;
    });
    std::printf("---------                     -------\n%9" PRIu64 "                     %" PRIu64 " file%s\n", total,
                count, count == 1 ? "" : "s");
  } catch (const std::exception& e) {
    return Fail(e);
  }
  return 0;
}
