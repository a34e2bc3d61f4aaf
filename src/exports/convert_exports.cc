// The packed-string exports: memory blocks, streams and global memory handles to
// packed text and back, without a password.
#include <cstring>
#include <vector>

#include "file/File.h"
#include "packed/PackedString.h"
#include "platform/com.h"
#include "zxUT22.h"

namespace {

constexpr LONG kNullArgument = -2;
constexpr LONG kBufferTooSmall = -44;

// The size needed, or the text copied (cut to the buffer) with 0 or -44.
LONG CopyOut(const zx::String& text, LPWSTR buffer, LONG bufferSize) {
  const int64_t needed = text.Length() + 1;
  if (!buffer || bufferSize <= 0) return static_cast<LONG>(needed);
  const int64_t n = needed <= bufferSize ? text.Length() : bufferSize - 1;
  std::memcpy(buffer, text.wchar(), static_cast<size_t>(n) * sizeof(char16_t));
  buffer[n] = 0;
  return needed <= bufferSize ? 0 : kBufferTooSmall;
}

LONG PackBytes(const BYTE* data, size_t size, LPWSTR buffer, LONG bufferSize, BOOL compress) {
  zx::clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);  // on the stack
  if (size && file.Write(data, static_cast<uint32_t>(size)) != size) return kNullArgument;
  return CopyOut(zx::Pack(file, compress != 0, zx::String()), buffer, bufferSize);
}

// The data of a packed text, through an in-memory file.
std::vector<unsigned char> UnpackBytes(LPCWSTR text) {
  zx::clsFileRWTempStream file;
  file.SetDeleteOnRelease(false);  // on the stack
  zx::Unpack(file, zx::String(reinterpret_cast<const char16_t*>(text)), zx::String());
  std::vector<unsigned char> data(static_cast<size_t>(file.GetSize()));
  file.SetPos(0);
  if (!data.empty() && file.Read(data.data(), static_cast<uint32_t>(data.size())) != data.size()) data.clear();
  return data;
}

}  // namespace

ZXUT_EXPORT LONG ZXUT_API UtilConvertBLOBToString(const BYTE* data, DWORD size, LPWSTR buffer, LONG bufferSize,
                                                  BOOL compress) {
  if (!data && size) return kNullArgument;
  return PackBytes(data, size, buffer, bufferSize, compress);
}

ZXUT_EXPORT LONG ZXUT_API UtilConvertStreamToString(IStream* stream, LPWSTR buffer, LONG bufferSize,
                                                    BOOL compress) {
  if (!stream) return kNullArgument;
  zx::clsFile file(stream);
  file.SetDeleteOnRelease(false);  // on the stack
  return CopyOut(zx::Pack(file, compress != 0, zx::String()), buffer, bufferSize);
}

ZXUT_EXPORT LONG ZXUT_API UtilConvertHGLOBALToString(HGLOBAL handle, LPWSTR buffer, LONG bufferSize,
                                                     BOOL compress) {
  if (!handle) return kNullArgument;
  const size_t size = plat::GlobalSize(handle);
  const void* data = size ? plat::GlobalLock(handle) : nullptr;
  if (size && !data) return kNullArgument;
  const LONG result = PackBytes(static_cast<const BYTE*>(data), size, buffer, bufferSize, compress);
  if (data) plat::GlobalUnlock(handle);
  return result;
}

ZXUT_EXPORT LONG ZXUT_API UtilConvertStringToBLOB(LPCWSTR text, BYTE* buffer, LONG bufferSize) {
  if (!text) return kNullArgument;
  const std::vector<unsigned char> data = UnpackBytes(text);
  if (!buffer) return static_cast<LONG>(data.size());
  if (bufferSize < 0 || static_cast<size_t>(bufferSize) < data.size()) return 0;
  if (!data.empty()) std::memcpy(buffer, data.data(), data.size());
  return static_cast<LONG>(data.size());
}

ZXUT_EXPORT LONG ZXUT_API UtilConvertStringToStream(LPCWSTR text, IStream* stream) {
  if (!text || !stream) return kNullArgument;
  zx::clsFile file(stream);
  file.SetDeleteOnRelease(false);  // on the stack
  zx::Unpack(file, zx::String(reinterpret_cast<const char16_t*>(text)), zx::String());
  return 0;
}

ZXUT_EXPORT LONG ZXUT_API UtilConvertStringToHGLOBAL(LPCWSTR text, HGLOBAL handle) {
  if (!text || !handle) return kNullArgument;
  const std::vector<unsigned char> data = UnpackBytes(text);
  if (!plat::GlobalReAlloc(handle, data.size())) return -1;
  if (!data.empty()) {
    void* to = plat::GlobalLock(handle);
    if (!to) return -1;
    std::memcpy(to, data.data(), data.size());
    plat::GlobalUnlock(handle);
  }
  return 0;
}
