// Arbitrary bytes as XML properties, two ways: as a ".xml" document (the pull
// parser, then the property-block expression) and as the properties entry of a
// stored ZIP package (meta.xml or docProps/core.xml by the first byte), which
// takes the ODF or OOXML expressions and the declared encoding. Entity bombs
// and deep nesting must end quickly without a crash.
#include <filesystem>
#include <fstream>
#include <string>

#include "docinfo/DocReaders.h"
#include "fuzz_util.h"
#include "platform/process.h"

namespace fs = std::filesystem;

namespace {

void Put(std::string& s, uint32_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) s.push_back(static_cast<char>(v >> (8 * i)));
}

// One stored entry, its central entry and the end record.
std::string StoredZip(const std::string& name, const std::string& body) {
  std::string z;
  Put(z, 0x04034B50, 4); Put(z, 20, 2); Put(z, 0, 2); Put(z, 0, 2); Put(z, 0, 4); Put(z, 0, 4);
  Put(z, static_cast<uint32_t>(body.size()), 4); Put(z, static_cast<uint32_t>(body.size()), 4);
  Put(z, static_cast<uint32_t>(name.size()), 2); Put(z, 0, 2);
  z += name + body;
  const uint32_t central = static_cast<uint32_t>(z.size());
  Put(z, 0x02014B50, 4); Put(z, 20, 2); Put(z, 20, 2); Put(z, 0, 2); Put(z, 0, 2); Put(z, 0, 4); Put(z, 0, 4);
  Put(z, static_cast<uint32_t>(body.size()), 4); Put(z, static_cast<uint32_t>(body.size()), 4);
  Put(z, static_cast<uint32_t>(name.size()), 2); Put(z, 0, 2); Put(z, 0, 2); Put(z, 0, 2); Put(z, 0, 2);
  Put(z, 0, 4); Put(z, 0, 4);
  z += name;
  const uint32_t centralSize = static_cast<uint32_t>(z.size()) - central;
  Put(z, 0x06054B50, 4); Put(z, 0, 2); Put(z, 0, 2); Put(z, 1, 2); Put(z, 1, 2);
  Put(z, centralSize, 4); Put(z, central, 4); Put(z, 0, 2);
  return z;
}

int ReadFile(int (*reader)(zx::clsDocu&, zx::clsFile&), const fs::path& path, const std::string& bytes) {
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  zx::clsDocFile file;
  FUZZ_CHECK(file.OpenDocument(zx::String(std::u16string_view(path.u16string()))) == 0);
  zx::clsDocu doc(zx::String(u"fuzz.xml"), 0, 0, nullptr);
  return reader(doc, file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const fs::path path =
      fs::temp_directory_path() / ("zxut_fuzz_xmlprops_" + std::to_string(plat::ProcessId()));
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const int xml = ReadFile(zx::ReadXmlProperties, path, bytes);
  FUZZ_CHECK(xml == 0 || xml == -1);
  const std::string name = size && (data[0] & 1) ? "docProps/core.xml" : "meta.xml";
  FUZZ_CHECK(ReadFile(zx::ReadOfficePackage, path, StoredZip(name, bytes)) == 0);
  return 0;
}
