#include "zip/ZipEntry.h"

#include <algorithm>

#include "core/diag/Diag.h"

namespace zx {
namespace {

// The name for messages: "(Stream)" for a file over a stream.
const char16_t* SourceLabel(const clsFile& file) { return file.Stream() ? u"(Stream)" : file.Name().wchar(); }

// The first path: the file's own last-write time in local time, and its attributes.
// The second (a file the system cannot describe, such as a stream): the present
// moment and the attributes of the name; on this path the date goes into the time
// field and the time into the date field, as archives of this writer have it.
void StampFromFile(clsFile& source, scZIPLocalHeader& header, uint32_t& attributes) {
  plat::FileInfo info;
  plat::SystemTime t{};   // stays year 0, out of range, when the time cannot be had
  if (source.Handle() && plat::FileInfoByHandle(source.Handle(), &info)) {
    plat::FileTimeToLocal(info.lastWrite, &t);
    DosDateTime(t, &header.date, &header.time);
    attributes = info.attributes;
    return;
  }
  plat::LocalTimeNow(&t);
  DosDateTime(t, &header.time, &header.date);
  attributes = plat::FileInfoByName(source.Name().wchar(), &info) ? info.attributes : 0xFFFFFFFFu;
}

}  // namespace

bool DosDateTime(const plat::SystemTime& time, uint16_t* dosDate, uint16_t* dosTime) {
  if (time.year < 1980 || time.year > 2107) return false;
  *dosDate = static_cast<uint16_t>(((time.year - 1980) << 9) | (time.month << 5) | time.day);
  *dosTime = static_cast<uint16_t>((time.hour << 11) | (time.minute << 5) | (time.second / 2));
  return true;
}

int32_t clsZIPFileEntry::FillFromFile(clsFile& source, clsFileDeflater& deflater, uint64_t maxSize) {
  // Signed, so that a size query that failed (all ones) passes, as -1.
  const int64_t size = static_cast<int64_t>(source.GetSize());
  if (size > static_cast<int64_t>(maxSize)) {
    DiagFormat(u"ERR: source size > 4GB");
    return -2;
  }
  uint32_t crc = 0;
  const int32_t rc = deflater.Deflate(
      source, [this](const uint8_t* data, uint32_t n) { return spill.Write(data, n); }, &crc);
  spill.Park();
  if (rc < 0) {
    DiagFormat(u"ERR while compressing file '%s': %d", SourceLabel(source), rc);
    return -2;
  }
  if (spill.Size() > maxSize) {
    DiagFormat(u"ERR: compressed size > 4GB");
    return -2;
  }
  StampFromFile(source, header, attributes);
  header.method = kZipMethodDeflated;
  header.crc32 = crc;
  header.compressedSize = static_cast<uint32_t>(spill.Size());
  header.uncompressedSize = static_cast<uint32_t>(size);
  header.extraLength = 0;
  EncodeName(source.Name(), false);
  return 0;
}

void clsZIPFileEntry::FillFolder(const plat::FindEntry& folder, const String& sourcePath) {
  plat::SystemTime t{};   // stays year 0, out of range, when the time cannot be had
  plat::FileTimeToLocal(folder.info.lastWrite, &t);
  DosDateTime(t, &header.date, &header.time);
  attributes = folder.info.attributes;
  header.method = kZipMethodStored;
  header.crc32 = 0;
  header.compressedSize = 0;
  header.uncompressedSize = 0;
  header.extraLength = 0;
  EncodeName(sourcePath, true);
}

void clsZIPFileEntry::EncodeName(const String& sourceName, bool folder) {
  // A name that lost everything to the drive rule is the source path as given.
  const String& text = m_sName.IsEmpty() ? sourceName : m_sName;
  const bool utf8 = !IsZipCp437(text) || (!folder && !IsZipCp437(m_sComment));
  header.flags = utf8 ? kZipFlagUtf8 : 0;
  name = EncodeZipText(text, utf8);
  if (folder) name.push_back('/');
  // Longer names than the 16-bit length can tell are cut, bytes and length alike,
  // so that the archive stays readable.
  if (name.size() > kZipMaxTextLength) name.resize(kZipMaxTextLength);
  header.nameLength = static_cast<uint16_t>(name.size());
}

}  // namespace zx
