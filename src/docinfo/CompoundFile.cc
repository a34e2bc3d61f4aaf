#include "docinfo/CompoundFile.h"

#include <algorithm>
#include <cstring>

#include "docinfo/Docu.h"

namespace zx {
namespace {

constexpr uint32_t kEndOfChain = 0xFFFFFFFEu;
constexpr uint32_t kFreeSect = 0xFFFFFFFFu;
constexpr uint32_t kMaxRegSect = 0xFFFFFFFAu;
constexpr uint32_t kNoStream = 0xFFFFFFFFu;
constexpr uint32_t kMiniCutoff = 4096;
constexpr uint32_t kMiniSectorSize = 64;
constexpr uint32_t kHeaderDifatEntries = 109;
constexpr uint32_t kEntrySize = 128;

uint16_t U16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
uint32_t U32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 | static_cast<uint32_t>(p[2]) << 16 |
         static_cast<uint32_t>(p[3]) << 24;
}
uint64_t U64(const uint8_t* p) { return U32(p) | static_cast<uint64_t>(U32(p + 4)) << 32; }

char16_t Fold(char16_t c) { return (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c; }

bool SameName(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (Fold(a[i]) != Fold(b[i])) return false;
  return true;
}

int32_t StatusOfOpenError(uint32_t kind) {
  switch (kind) {
    case kFileErrPath: return kStgPathNotFound;
    case kFileErrInUse: return kStgShareViolation;
    case kFileErrAccess: return kStgAccessDenied;
    default: return kStgFileNotFound;
  }
}

}  // namespace

bool clsMemorySource::ReadAt(uint64_t offset, void* buffer, size_t count) {
  if (offset > bytes_.size() || count > bytes_.size() - offset) return false;
  std::memcpy(buffer, bytes_.data() + offset, count);
  return true;
}

clsFileSource::clsFileSource(std::unique_ptr<clsFile> file) : file_(std::move(file)) {
  const uint64_t size = file_ ? file_->GetSize() : kAllOnes64;
  size_ = size == kAllOnes64 ? 0 : size;
}

bool clsFileSource::ReadAt(uint64_t offset, void* buffer, size_t count) {
  if (offset > size_ || count > size_ - offset || count > 0xFFFFFFFFu) return false;
  if (file_->SetPos(offset) != offset) return false;
  return file_->Read(buffer, static_cast<uint32_t>(count)) == count;
}

int32_t clsCompoundFile::Open(std::unique_ptr<clsByteSource> source) {
  source_ = std::move(source);
  fat_.clear();
  miniFat_.clear();
  miniStreamChain_.clear();
  miniChainRead_ = miniChainOk_ = false;
  entries_.clear();
  uint8_t header[512];
  if (!source_ || !source_->ReadAt(0, header, 8)) return kStgNotStorage;
  if (std::memcmp(header, kCompoundSignature, 8) != 0) return kStgNotStorage;
  if (!source_->ReadAt(0, header, sizeof header)) return kStgInvalidHeader;
  const uint16_t shift = U16(header + 0x1E);
  if (U16(header + 0x1C) != 0xFFFE || (shift != 9 && shift != 12) || U16(header + 0x20) != 6)
    return kStgInvalidHeader;
  sectorShift_ = shift;
  sectorSize_ = 1u << shift;
  // A last sector cut short is read with zeros behind the end; a sector that
  // begins at or behind the end does not exist.
  const uint64_t size = source_->Size();
  sectorCount_ = size <= sectorSize_ ? 0 : (size - sectorSize_ + sectorSize_ - 1) >> sectorShift_;
  if (!ReadDifatAndFat(header)) return kStgDocfileCorrupt;
  if (!ReadDirectory(U32(header + 0x30))) return kStgDocfileCorrupt;
  // A broken mini FAT only makes the small streams unreadable.
  if (!ReadMiniFat(U32(header + 0x3C), U32(header + 0x40))) miniFat_.clear();
  return kStgOk;
}

bool clsCompoundFile::ReadSector(uint32_t sector, uint8_t* out) {
  if (sector >= sectorCount_) return false;
  const uint64_t offset = (static_cast<uint64_t>(sector) + 1) << sectorShift_;
  const uint64_t size = source_->Size();
  const size_t have = static_cast<size_t>(std::min<uint64_t>(sectorSize_, size - offset));
  if (!source_->ReadAt(offset, out, have)) return false;
  std::memset(out + have, 0, sectorSize_ - have);
  return true;
}

bool clsCompoundFile::ReadDifatAndFat(const uint8_t* header) {
  const uint32_t fatSectors = U32(header + 0x2C);
  // Every FAT sector is a sector of the file.
  if (fatSectors > sectorCount_) return false;
  std::vector<uint32_t> fatList;
  fatList.reserve(fatSectors);
  for (uint32_t i = 0; i < kHeaderDifatEntries && fatList.size() < fatSectors; ++i)
    fatList.push_back(U32(header + 0x4C + 4 * i));
  const uint32_t perSector = sectorSize_ / 4;
  std::vector<uint8_t> buf(sectorSize_);
  uint32_t difat = U32(header + 0x44);
  uint64_t difatRead = 0;
  while (fatList.size() < fatSectors) {
    // At most as many DIFAT sectors as the file has: a loop stops here.
    if (difat == kEndOfChain || difat == kFreeSect || ++difatRead > sectorCount_) return false;
    if (!ReadSector(difat, buf.data())) return false;
    for (uint32_t i = 0; i + 1 < perSector && fatList.size() < fatSectors; ++i)
      fatList.push_back(U32(buf.data() + 4 * i));
    difat = U32(buf.data() + 4 * (perSector - 1));
  }
  fat_.resize(static_cast<size_t>(fatSectors) * perSector);
  for (size_t i = 0; i < fatList.size(); ++i) {
    if (!ReadSector(fatList[i], buf.data())) return false;
    for (uint32_t k = 0; k < perSector; ++k) fat_[i * perSector + k] = U32(buf.data() + 4 * k);
  }
  return true;
}

bool clsCompoundFile::Chain(uint32_t start, uint64_t maxSectors, std::vector<uint32_t>* out) const {
  out->clear();
  uint32_t s = start;
  while (s != kEndOfChain) {
    if (out->size() >= maxSectors) return false;
    if (s > kMaxRegSect || s >= sectorCount_ || s >= fat_.size()) return false;
    out->push_back(s);
    s = fat_[s];
  }
  return true;
}

bool clsCompoundFile::ReadDirectory(uint32_t start) {
  std::vector<uint32_t> chain;
  if (!Chain(start, sectorCount_, &chain) || chain.empty()) return false;
  const uint32_t perSector = sectorSize_ / kEntrySize;
  entries_.reserve(chain.size() * perSector);
  std::vector<uint8_t> buf(sectorSize_);
  const bool version3 = sectorShift_ == 9;
  for (uint32_t sector : chain) {
    if (!ReadSector(sector, buf.data())) return false;
    for (uint32_t i = 0; i < perSector; ++i) {
      const uint8_t* p = buf.data() + i * kEntrySize;
      scCfbEntry e;
      const uint16_t nameBytes = U16(p + 64);
      const size_t chars = nameBytes >= 2 ? std::min<size_t>(nameBytes / 2 - 1, 31) : 0;
      for (size_t c = 0; c < chars; ++c) e.name.push_back(static_cast<char16_t>(U16(p + 2 * c)));
      e.type = p[66];
      e.left = U32(p + 68);
      e.right = U32(p + 72);
      e.child = U32(p + 76);
      e.start = U32(p + 116);
      // Version 3 files may leave garbage in the high half.
      e.size = version3 ? U32(p + 120) : U64(p + 120);
      entries_.push_back(std::move(e));
    }
  }
  return entries_[0].type == kCfbRoot;
}

bool clsCompoundFile::ReadMiniFat(uint32_t start, uint32_t count) {
  if (count == 0 || start == kEndOfChain) return true;
  std::vector<uint32_t> chain;
  if (!Chain(start, std::min<uint64_t>(count, sectorCount_), &chain)) return false;
  const uint32_t perSector = sectorSize_ / 4;
  miniFat_.resize(chain.size() * perSector);
  std::vector<uint8_t> buf(sectorSize_);
  for (size_t i = 0; i < chain.size(); ++i) {
    if (!ReadSector(chain[i], buf.data())) return false;
    for (uint32_t k = 0; k < perSector; ++k) miniFat_[i * perSector + k] = U32(buf.data() + 4 * k);
  }
  return true;
}

int32_t clsCompoundFile::FindChild(int32_t storage, std::u16string_view name) const {
  for (int32_t i : Children(storage))
    if (SameName(entries_[static_cast<size_t>(i)].name, name)) return i;
  return -1;
}

std::vector<int32_t> clsCompoundFile::Children(int32_t storage) const {
  std::vector<int32_t> found;
  if (storage < 0 || static_cast<size_t>(storage) >= entries_.size()) return found;
  const scCfbEntry& parent = entries_[static_cast<size_t>(storage)];
  if (parent.type != kCfbStorage && parent.type != kCfbRoot) return found;
  // An in-order walk; an entry seen twice ends its branch, so a tree that loops
  // or shares subtrees is still walked once an entry.
  std::vector<bool> seen(entries_.size());
  std::vector<uint32_t> stack;
  uint32_t node = parent.child;
  while (node != kNoStream || !stack.empty()) {
    while (node != kNoStream && node < entries_.size() && !seen[node]) {
      seen[node] = true;
      stack.push_back(node);
      node = entries_[node].left;
    }
    if (stack.empty()) break;
    node = stack.back();
    stack.pop_back();
    if (entries_[node].type != kCfbUnused) found.push_back(static_cast<int32_t>(node));
    node = entries_[node].right;
  }
  return found;
}

bool clsCompoundFile::ReadStream(int32_t index, uint64_t limit, std::string* bytes) {
  bytes->clear();
  if (index < 0 || static_cast<size_t>(index) >= entries_.size()) return false;
  const scCfbEntry& e = entries_[static_cast<size_t>(index)];
  if (e.type != kCfbStream || e.size > limit) return false;
  if (e.size == 0) return true;
  if (e.size < kMiniCutoff) return ReadMiniStream(e, limit, bytes);
  const uint64_t needed = (e.size + sectorSize_ - 1) >> sectorShift_;
  if (needed > sectorCount_) return false;
  // Walk the chain as far as the size needs, then read runs of adjacent sectors
  // at once.
  std::vector<uint32_t> chain;
  uint32_t s = e.start;
  while (chain.size() < needed) {
    if (s > kMaxRegSect || s >= sectorCount_ || s >= fat_.size()) return false;
    chain.push_back(s);
    s = fat_[s];
  }
  bytes->resize(static_cast<size_t>(needed) << sectorShift_);
  size_t at = 0;
  for (size_t i = 0; i < chain.size();) {
    size_t run = 1;
    while (i + run < chain.size() && chain[i + run] == chain[i] + run) ++run;
    const uint64_t offset = (static_cast<uint64_t>(chain[i]) + 1) << sectorShift_;
    const uint64_t want = static_cast<uint64_t>(run) << sectorShift_;
    const uint64_t have = std::min<uint64_t>(want, source_->Size() - offset);
    if (!source_->ReadAt(offset, bytes->data() + at, static_cast<size_t>(have))) return false;
    std::memset(bytes->data() + at + have, 0, static_cast<size_t>(want - have));
    at += static_cast<size_t>(want);
    i += run;
  }
  bytes->resize(static_cast<size_t>(e.size));
  return true;
}

bool clsCompoundFile::ReadMiniStream(const scCfbEntry& e, uint64_t, std::string* bytes) {
  if (!miniChainRead_) {
    miniChainRead_ = true;
    const scCfbEntry& root = entries_[0];
    const uint64_t needed = (root.size + sectorSize_ - 1) >> sectorShift_;
    miniChainOk_ = needed <= sectorCount_ && Chain(root.start, needed, &miniStreamChain_);
    if (!miniChainOk_) miniStreamChain_.clear();
  }
  if (!miniChainOk_) return false;
  const uint64_t miniSectors = (static_cast<uint64_t>(miniStreamChain_.size()) << sectorShift_) / kMiniSectorSize;
  const uint64_t needed = (e.size + kMiniSectorSize - 1) / kMiniSectorSize;
  bytes->resize(static_cast<size_t>(needed * kMiniSectorSize));
  uint32_t m = e.start;
  for (uint64_t i = 0; i < needed; ++i) {
    if (m >= miniFat_.size() || m >= miniSectors) return false;
    const uint64_t at = static_cast<uint64_t>(m) * kMiniSectorSize;
    const uint32_t sector = miniStreamChain_[static_cast<size_t>(at >> sectorShift_)];
    const uint64_t offset = ((static_cast<uint64_t>(sector) + 1) << sectorShift_) + (at & (sectorSize_ - 1));
    if (offset >= source_->Size()) return false;
    const uint64_t have = std::min<uint64_t>(kMiniSectorSize, source_->Size() - offset);
    uint8_t* out = reinterpret_cast<uint8_t*>(bytes->data()) + i * kMiniSectorSize;
    if (!source_->ReadAt(offset, out, static_cast<size_t>(have))) return false;
    std::memset(out + have, 0, static_cast<size_t>(kMiniSectorSize - have));
    m = miniFat_[m];
  }
  bytes->resize(static_cast<size_t>(e.size));
  return true;
}

int32_t TestCompoundFile(const String& path) {
  clsDocFile file;
  if (file.OpenDocument(path) != 0) return StatusOfOpenError(file.GetLastErrorKind());
  uint8_t head[8] = {};
  if (file.Read(head, 8) != 8) return 1;
  return std::memcmp(head, kCompoundSignature, 8) == 0 ? 0 : 1;
}

bool IsCompoundFile(const String& path) { return TestCompoundFile(path) == 0; }

}  // namespace zx
