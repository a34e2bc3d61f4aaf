// Raw deflate of a file's data with its CRC-32, as ZIP entries hold it: no zlib
// header, the default level, memory level 8, input read 1 MiB at a time and the
// output handed on as each deflate call produces it. One clsFileDeflater keeps its
// buffers and its zlib state from one file to the next.
// Errors: Deflate returns 1 (the stream ended: success), -3 when the input ended
// before the size it had at the start, -1 when the output was refused, and zlib's
// own negative codes otherwise.
// Threads: one object per thread.
//
//   clsFileDeflater deflater;
//   uint32_t crc = 0;
//   int32_t rc = deflater.Deflate(source, [&](const uint8_t* p, uint32_t n) { return spill.Write(p, n); }, &crc);
#pragma once
#include <cstdint>
#include <functional>
#include <memory>

#include "file/File.h"

namespace zx {

class clsFileDeflater {
 public:
  static constexpr uint32_t kBlock = 0x100000;
  using Sink = std::function<bool(const uint8_t* data, uint32_t size)>;

  clsFileDeflater();
  ~clsFileDeflater();
  clsFileDeflater(const clsFileDeflater&) = delete;
  clsFileDeflater& operator=(const clsFileDeflater&) = delete;

  // From `in`'s position to the end it has now. An empty input gives the two
  // bytes of an empty deflate stream.
  int32_t Deflate(clsFile& in, const Sink& sink, uint32_t* crc);
  // The same into `out` at its position.
  int32_t Deflate(clsFile& in, clsFile& out, uint32_t* crc);

 private:
  struct State;
  std::unique_ptr<State> m_state;
};

}  // namespace zx
