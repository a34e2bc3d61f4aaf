// What the document reader targets share: the input as an open file (an
// in-memory stream behind clsFile) and a fresh document to fill.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "docinfo/Docu.h"
#include "platform/com.h"

namespace fuzzutil {

inline std::unique_ptr<zx::clsFile> InputFile(const uint8_t* data, size_t size) {
  IStream* stream = nullptr;
  if (plat::CreateMemoryStream(&stream) < 0 || !stream) return nullptr;
  ULONG written = 0;
  if (size) stream->Write(data, static_cast<ULONG>(size), &written);
  auto file = std::make_unique<zx::clsFile>(stream);   // takes a reference of its own
  stream->Release();
  return file;
}

inline zx::clsDocu NewDocument() { return zx::clsDocu(zx::String(u"fuzz.bin"), 0, 0, nullptr); }

}  // namespace fuzzutil
