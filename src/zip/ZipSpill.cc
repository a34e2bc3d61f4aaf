#include "zip/ZipSpill.h"

#include <algorithm>
#include <new>

#include "file/TempName.h"
#include "platform/file.h"

namespace zx {

uint8_t* clsZIPCopyBuffer::Get(uint64_t want, uint32_t* size) {
  uint32_t block = static_cast<uint32_t>(std::min<uint64_t>(want, kMaxBlock));
  if (block <= m_size) {
    *size = block;
    return m_data.get();
  }
  for (; block; block /= 2) {
    std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[block]);
    if (!data) continue;
    m_data = std::move(data);
    m_size = block;
    break;
  }
  *size = std::min<uint32_t>(m_size, static_cast<uint32_t>(std::min<uint64_t>(want, kMaxBlock)));
  return m_data.get();
}

clsZIPSpill::~clsZIPSpill() {
  ReleaseMemory();
  m_file.Close();
  if (!m_sFileName.IsEmpty()) plat::RemoveFile(m_sFileName.wchar());
}

void clsZIPSpill::ReleaseMemory() {
  m_budget.left += m_memory.capacity();
  std::vector<uint8_t>().swap(m_memory);
}

bool clsZIPSpill::MoveToFile() {
  m_sFileName = UtilCreateTempName(String(u"zarnik"), String(u"ZIP"), String(u"tmp"), kTempLongFolder, nullptr);
  if (m_sFileName.IsEmpty()) return false;
  if (m_file.Open(m_sFileName, 2, 0, 0, kFileNormal | kFileSequentialScan | kFileTemporary) != 0) return false;
  const bool ok = m_memory.empty() || m_file.Write(m_memory.data(), static_cast<uint32_t>(m_memory.size())) ==
                                          m_memory.size();
  ReleaseMemory();
  m_bInMemory = false;
  return ok;
}

bool clsZIPSpill::Write(const uint8_t* data, uint32_t size) {
  if (m_bInMemory) {
    const uint64_t total = m_memory.size() + uint64_t{size};
    const uint64_t grow = total > m_memory.capacity() ? total - m_memory.capacity() : 0;
    if (total <= scZIPSpillBudget::kMaxPerEntry && grow <= m_budget.left) {
      m_memory.reserve(total);   // exactly what is taken from the budget
      m_budget.left -= grow;
      m_memory.insert(m_memory.end(), data, data + size);
      m_size = total;
      return true;
    }
    if (!MoveToFile()) return false;
  }
  if (m_file.Write(data, size) != size) return false;
  m_size += size;
  return true;
}

void clsZIPSpill::Park() { m_file.Close(); }

bool clsZIPSpill::CopyTo(const Sink& sink, clsZIPCopyBuffer& buffer) {
  if (m_bInMemory) return m_memory.empty() || sink(m_memory.data(), static_cast<uint32_t>(m_size));
  if (m_file.Open(m_sFileName, 0, 0, 0, kFileNormal | kFileSequentialScan | kFileDeleteOnClose) != 0) return false;
  m_sFileName.Clear();   // deleted when closed
  bool ok = true;
  for (uint64_t left = m_size; left && ok;) {
    uint32_t block = 0;
    uint8_t* data = buffer.Get(left, &block);
    ok = data && m_file.Read(data, block) == block && sink(data, block);
    left -= block;
  }
  m_file.Close();
  return ok;
}

}  // namespace zx
