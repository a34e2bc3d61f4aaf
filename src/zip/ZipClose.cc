// The layout of the archive at close: local headers with names and data, the
// central directory, the end record and the archive comment. Small records go
// through one output buffer, so that an archive of many small entries costs a
// few large writes instead of three small ones per entry.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "core/diag/Diag.h"
#include "zip/ZipFile.h"

namespace zx {

// One entry of the central directory, made from a clsZIPFileEntry at close.
class clsZIPIndexEntry {
 public:
  explicit clsZIPIndexEntry(const clsZIPFileEntry& entry) : name(entry.name) {
    const scZIPLocalHeader& h = entry.header;
    header.versionNeeded = h.versionNeeded;
    header.flags = h.flags;
    header.method = h.method;
    header.time = h.time;
    header.date = h.date;
    header.crc32 = h.crc32;
    header.compressedSize = h.compressedSize;
    header.uncompressedSize = h.uncompressedSize;
    header.nameLength = h.nameLength;
    header.extraLength = 0;
    comment = EncodeZipText(entry.Comment(), entry.IsUtf8());
    if (comment.size() > kZipMaxTextLength) comment.resize(kZipMaxTextLength);
    header.commentLength = static_cast<uint16_t>(comment.size());
    header.externalAttributes = entry.attributes;
    header.localHeaderOffset = static_cast<uint32_t>(entry.localHeaderOffset);
  }
  // The list compares entries: each is only ever equal to itself.
  friend bool operator==(const clsZIPIndexEntry& a, const clsZIPIndexEntry& b) { return &a == &b; }
  uint32_t RecordSize() const { return sizeof(header) + header.nameLength + header.extraLength + header.commentLength; }

  scZIPCentralHeader header;
  std::string name;
  std::string comment;
};

// The archive's output: a buffer before the file, and the position the file
// will have when the buffer is written.
class clsZIPLayout {
 public:
  explicit clsZIPLayout(clsZIPFile& zip) : m_zip(zip) {
    m_buffer.reserve(kBuffer);
    // A file over a stream has the stream's position; all ones (as -1) when
    // neither answers.
    m_qwPos = zip.m_file.GetPos();
  }

  uint64_t Pos() const { return m_qwPos; }

  bool Put(const void* data, size_t size) {
    m_qwPos += size;
    if (m_buffer.size() + size > kBuffer && !Flush()) return false;
    if (size >= kBuffer) return m_zip.m_file.Write(data, static_cast<uint32_t>(size)) == size;
    const auto* bytes = static_cast<const uint8_t*>(data);
    m_buffer.insert(m_buffer.end(), bytes, bytes + size);
    return true;
  }

  bool Flush() {
    if (m_buffer.empty()) return true;
    const bool ok = m_zip.m_file.Write(m_buffer.data(), static_cast<uint32_t>(m_buffer.size())) == m_buffer.size();
    m_buffer.clear();
    return ok;
  }

  // An ERR line with the archive's name and the step's number; the close fails.
  int32_t Fail(int step) {
    DiagFormat(u"ERR: write error file '%s' (%d)", m_zip.ArchiveLabel(), step);
    return -3;
  }

  int32_t WriteEntries() {
    WCPtrSListIter<clsZIPFileEntry> it(m_zip);
    while (++it) {
      clsZIPFileEntry& entry = *it.current();
      entry.localHeaderOffset = m_qwPos;
      if (!Put(&entry.header, sizeof(entry.header)) || !Put(entry.name.data(), entry.header.nameLength))
        return Fail(1);
      const auto sink = [this](const uint8_t* data, uint32_t size) { return Put(data, size); };
      if (!entry.spill.CopyTo(sink, m_zip.m_copyBuffer)) return Fail(2);
    }
    if (!Flush()) return Fail(2);
    m_zip.m_file.SetEOF();
    return 0;
  }

  int32_t WriteDirectory() {
    const uint64_t directoryOffset = m_qwPos;
    class clsIndexEntryList : public WCPtrSList<clsZIPIndexEntry> {
     public:
      ~clsIndexEntryList() { clearAndDestroy(); }
    } index;
    uint64_t directorySize = 0;
    WCPtrSListIter<clsZIPFileEntry> it(m_zip);
    while (++it) {
      auto* entry = new clsZIPIndexEntry(*it.current());
      directorySize += entry->RecordSize();
      index.append(entry);
    }
    WCPtrSListIter<clsZIPIndexEntry> at(index);
    while (++at) {
      const clsZIPIndexEntry& e = *at.current();
      if (!Put(&e.header, sizeof(e.header)) || !Put(e.name.data(), e.header.nameLength) ||
          !Put(e.comment.data(), e.header.commentLength))
        return Fail(4);
    }
    if (!Flush()) return Fail(4);

    // The archive comment: the text's narrow form in its own code page, up to the
    // first zero byte, cut to what the 16-bit length can tell.
    const char* comment = m_zip.m_sComment.narrow();
    const size_t commentLength = std::min<size_t>(std::strlen(comment), kZipMaxTextLength);
    scZIPEndRecord end;
    end.entriesOnDisk = static_cast<uint16_t>(m_zip.entries());
    end.entriesTotal = end.entriesOnDisk;
    end.centralDirectorySize = static_cast<uint32_t>(directorySize);
    end.centralDirectoryOffset = static_cast<uint32_t>(directoryOffset);
    end.commentLength = static_cast<uint16_t>(commentLength);
    if (!Put(&end, sizeof(end)) || !Put(comment, commentLength) || !Flush()) return Fail(5);
    return 0;
  }

 private:
  static constexpr size_t kBuffer = 1 << 20;
  clsZIPFile& m_zip;
  std::vector<uint8_t> m_buffer;
  uint64_t m_qwPos = 0;
};

int32_t clsZIPFile::Close() {
  int32_t rc = 0;
  {
    clsZIPLayout layout(*this);
    rc = layout.WriteEntries();
    if (rc == 0) rc = layout.WriteDirectory();
  }
  if (rc == 0 && m_file.GetSize() > m_qwMaxSize) {
    DiagFormat(u"ERR: ZIP file size > 4GB");
    rc = -3;
  }
  clearAndDestroy();
  m_file.Close();
  return rc;
}

}  // namespace zx
