#include "zip/Unzipper.h"

#include <unzip.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "platform/file.h"
#include "zip/EntryName.h"
#include "zip/ZipText.h"

namespace zipper {
namespace {

// minizip reads headers a byte or a field at a time and jumps between the central
// directory and the entries' data. Two cached windows keep those small reads off
// the system: one stays on the directory while the other follows the data. Reads
// of a block or more go to the file directly.
class BufferedFile {
 public:
  static constexpr uint32_t kWindow = 8192;

  explicit BufferedFile(plat::FileHandle h) : h_(h) {
    if (!plat::FileSize(h_, &size_)) size_ = 0;
  }
  ~BufferedFile() { plat::FileClose(h_); }

  uint64_t Read(void* out, uint64_t count) {
    auto* dst = static_cast<char*>(out);
    uint64_t done = 0;
    while (done < count) {
      if (Window* w = Find(pos_)) {
        const uint64_t n = std::min(count - done, w->start + w->length - pos_);
        std::memcpy(dst + done, w->data + (pos_ - w->start), static_cast<size_t>(n));
        done += n;
        pos_ += n;
        last_ = static_cast<int>(w - windows_);
        continue;
      }
      if (count - done >= kWindow) {
        const uint32_t want = static_cast<uint32_t>(std::min<uint64_t>(count - done, 1u << 30));
        const uint32_t got = RawRead(pos_, dst + done, want);
        done += got;
        pos_ += got;
        if (got < want) break;
        continue;
      }
      Window& w = windows_[1 - last_];   // the one not used last
      w.start = pos_;
      w.length = RawRead(pos_, w.data, kWindow);
      if (w.length == 0) break;
      last_ = static_cast<int>(&w - windows_);
    }
    return done;
  }

  long Seek(uint64_t offset, int origin) {
    uint64_t base = 0;
    if (origin == ZLIB_FILEFUNC_SEEK_CUR) base = pos_;
    else if (origin == ZLIB_FILEFUNC_SEEK_END) base = size_;
    else if (origin != ZLIB_FILEFUNC_SEEK_SET) return -1;
    pos_ = base + offset;
    return 0;
  }

  uint64_t Tell() const { return pos_; }
  bool Failed() const { return failed_; }

 private:
  struct Window {
    uint64_t start = 0;
    uint32_t length = 0;
    char data[kWindow];
  };

  Window* Find(uint64_t pos) {
    for (Window& w : windows_)
      if (pos >= w.start && pos < w.start + w.length) return &w;
    return nullptr;
  }

  uint32_t RawRead(uint64_t at, char* out, uint32_t count) {
    if (at != filePos_) {
      if (!plat::FileSeek(h_, static_cast<int64_t>(at), plat::kSeekBegin, nullptr)) {
        failed_ = true;
        return 0;
      }
      filePos_ = at;
    }
    uint32_t got = 0;
    if (!plat::FileRead(h_, out, count, &got)) failed_ = true;
    filePos_ += got;
    return got;
  }

  plat::FileHandle h_;
  uint64_t size_ = 0;
  uint64_t pos_ = 0;       // where minizip is
  uint64_t filePos_ = 0;   // where the system's file pointer is
  bool failed_ = false;
  Window windows_[2];
  int last_ = 0;
};

BufferedFile* AsFile(voidpf stream) { return static_cast<BufferedFile*>(stream); }

voidpf ZCALLBACK OpenFile(voidpf, const void* name, int mode) {
  if ((mode & ZLIB_FILEFUNC_MODE_READWRITEFILTER) != ZLIB_FILEFUNC_MODE_READ) return nullptr;
  plat::FileHandle h = plat::FileOpen(static_cast<const char16_t*>(name), plat::kGenericRead, plat::kShareRead,
                                      plat::kOpenExisting, plat::kFlagSequentialScan);
  if (!plat::IsValidFile(h)) return nullptr;
  return new (std::nothrow) BufferedFile(h);
}

uLong ZCALLBACK ReadFile(voidpf, voidpf stream, void* buf, uLong size) {
  return static_cast<uLong>(AsFile(stream)->Read(buf, size));
}

uLong ZCALLBACK WriteFile(voidpf, voidpf, const void*, uLong) { return 0; }

ZPOS64_T ZCALLBACK TellFile(voidpf, voidpf stream) { return AsFile(stream)->Tell(); }

long ZCALLBACK SeekFile(voidpf, voidpf stream, ZPOS64_T offset, int origin) {
  return AsFile(stream)->Seek(offset, origin);
}

int ZCALLBACK CloseFile(voidpf, voidpf stream) {
  delete AsFile(stream);
  return 0;
}

int ZCALLBACK TestError(voidpf, voidpf stream) { return AsFile(stream)->Failed() ? 1 : 0; }

unzFile Zip(void* p) { return static_cast<unzFile>(p); }

std::runtime_error EntryError(const char* what, const ZipEntry& entry, const char* reason = nullptr) {
  std::string text = std::string(what) + " internal file '" + zx::EncodeZipText(entry.name, true) + "' in zip";
  if (reason) text += std::string(": ") + reason;
  return std::runtime_error(text);
}

}  // namespace

namespace {

// An archive of no entries: the end record (22 bytes, no entries, no directory)
// and its comment are the whole file.
bool ReadEmptyArchive(const zx::String& path, std::string& comment) {
  plat::FileHandle h = plat::FileOpen(path.wchar(), plat::kGenericRead, plat::kShareRead, plat::kOpenExisting,
                                      plat::kAttrNormal);
  if (!plat::IsValidFile(h)) return false;
  uint64_t size = 0;
  std::string bytes;
  uint32_t done = 0;
  if (plat::FileSize(h, &size) && size >= 22 && size <= 22 + 0xFFFF) {
    bytes.resize(static_cast<size_t>(size));
    if (!plat::FileRead(h, bytes.data(), static_cast<uint32_t>(size), &done) || done != size) bytes.clear();
  }
  plat::FileClose(h);
  auto u16 = [&](size_t at) {
    return static_cast<uint32_t>(static_cast<uint8_t>(bytes[at]) | static_cast<uint8_t>(bytes[at + 1]) << 8);
  };
  if (bytes.size() < 22 || bytes.compare(0, 4, "PK\x05\x06") != 0) return false;
  for (size_t at = 4; at < 20; ++at)   // disks, counts, directory size and offset
    if (bytes[at] != 0) return false;
  if (22 + u16(20) != bytes.size()) return false;
  comment = bytes.substr(22);
  return true;
}

}  // namespace

Unzipper::Unzipper(const zx::String& zipPath) {
  zlib_filefunc64_def functions{};
  functions.zopen64_file = &OpenFile;
  functions.zread_file = &ReadFile;
  functions.zwrite_file = &WriteFile;
  functions.ztell64_file = &TellFile;
  functions.zseek64_file = &SeekFile;
  functions.zclose_file = &CloseFile;
  functions.zerror_file = &TestError;
  zip_ = unzOpen2_64(zipPath.wchar(), &functions);
  if (zip_) {
    unz_global_info64 global{};
    if (unzGetGlobalInfo64(Zip(zip_), &global) == UNZ_OK && global.size_comment) {
      comment_.resize(global.size_comment);
      const int n = unzGetGlobalComment(Zip(zip_), comment_.data(), static_cast<uLong>(comment_.size()));
      comment_.resize(n > 0 ? static_cast<size_t>(n) : 0);
    }
  } else if (!ReadEmptyArchive(zipPath, comment_)) {
    throw std::runtime_error("Error loading zip file!");
  }
}

Unzipper::~Unzipper() { close(); }

void Unzipper::close() {
  if (zip_) unzClose(Zip(zip_));
  zip_ = nullptr;
}

void Unzipper::forEachEntry(const std::function<void(const ZipEntry&)>& onEntry) {
  if (!zip_) return;   // no entries
  // Names and extra fields are at most 65,535 bytes: one buffer of each for all.
  std::string name(0x10000, '\0');
  std::string extra(0x10000, '\0');
  const char* kInfoError = "Error, couln't get the current entry info";
  int rc = unzGoToFirstFile(Zip(zip_));
  while (rc == UNZ_OK) {
    unz_file_info64 info{};
    if (unzGetCurrentFileInfo64(Zip(zip_), &info, name.data(), static_cast<uLong>(name.size()), extra.data(),
                                static_cast<uLong>(extra.size()), nullptr, 0) != UNZ_OK)
      throw std::runtime_error(kInfoError);
    unz64_file_pos pos{};
    if (unzGetFilePos64(Zip(zip_), &pos) != UNZ_OK) throw std::runtime_error(kInfoError);
    ZipEntry e;
    e.rawName.assign(name.data(), info.size_filename);
    e.name = zx::DecodeEntryName(e.rawName, static_cast<uint16_t>(info.flag),
                                 std::string_view(extra.data(), info.size_file_extra));
    e.compressedSize = info.compressed_size;
    e.uncompressedSize = info.uncompressed_size;
    e.crc = static_cast<uint32_t>(info.crc);
    e.dosDate = static_cast<uint32_t>(info.dosDate);
    e.flag = static_cast<uint16_t>(info.flag);
    e.method = static_cast<uint16_t>(info.compression_method);
    e.posInCentralDir = pos.pos_in_zip_directory;
    e.numFile = pos.num_of_file;
    onEntry(e);
    rc = unzGoToNextFile(Zip(zip_));
  }
  // The end of the list is UNZ_END_OF_LIST_OF_FILE; anything else is a damaged record.
  if (rc != UNZ_END_OF_LIST_OF_FILE) throw std::runtime_error(kInfoError);
}

std::vector<ZipEntry> Unzipper::entries() {
  std::vector<ZipEntry> out;
  forEachEntry([&](const ZipEntry& e) { out.push_back(e); });
  return out;
}

void Unzipper::extractEntry(const ZipEntry& entry, const std::function<void(const void*, size_t)>& sink) {
  unz64_file_pos pos{entry.posInCentralDir, entry.numFile};
  if (!zip_ || unzGoToFilePos64(Zip(zip_), &pos) != UNZ_OK) throw EntryError(" opening", entry);
  // Without a password minizip would hand out the enciphered bytes.
  if (entry.isEncrypted()) throw EntryError(" opening", entry, "encrypted entries are not supported");
  if (unzOpenCurrentFile(Zip(zip_)) != UNZ_OK) throw EntryError(" opening", entry);
  constexpr unsigned kBlock = 256 * 1024;
  if (block_.empty()) block_.resize(kBlock);
  uint64_t total = 0;
  for (;;) {
    const int n = unzReadCurrentFile(Zip(zip_), block_.data(), kBlock);
    if (n < 0) {
      unzCloseCurrentFile(Zip(zip_));
      throw EntryError(" reading", entry);
    }
    if (n == 0) break;
    total += static_cast<unsigned>(n);
    try {
      sink(block_.data(), static_cast<size_t>(n));
    } catch (...) {
      unzCloseCurrentFile(Zip(zip_));
      throw;
    }
  }
  // minizip tests the CRC only when the data reached its declared size; a stream
  // that ends early is the same fault.
  const bool complete = total == entry.uncompressedSize;
  if (unzCloseCurrentFile(Zip(zip_)) != UNZ_OK || !complete) throw EntryError(" closing", entry);
}

}  // namespace zipper
