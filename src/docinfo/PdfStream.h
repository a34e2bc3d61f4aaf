// The stream data of cross-reference and object streams: read from the file in
// blocks of 64 KiB, inflated (FlateDecode, or no filter at all) and undone of a
// PNG predictor (Predictor 10 to 15 of DecodeParms), handed on as it comes.
// Reads stop at the stream's Length, at the file's end, at the end of the zlib
// stream, at `kMaxPdfStreamInput` bytes, or when the sink has enough; more than
// `kMaxPdfStreamOutput` decoded bytes end the reading.
// Errors: clsException "bad stream(%s)" for a filter or predictor this reader
// does not know and for damaged zlib data.
// Threads: any; all state is local.
//
//   DecodePdfStream(file, dataPos, dict, parms, [&](const uint8_t* p, size_t n) { ...; return true; });
#pragma once
#include <cstddef>
#include <cstdint>
#include <functional>

#include "docinfo/PdfTokens.h"
#include "file/File.h"

namespace zx {

constexpr uint64_t kMaxPdfStreamInput = 16u << 20;
constexpr uint64_t kMaxPdfStreamOutput = 64u << 20;

// Receives decoded bytes; false: enough, stop reading.
using PdfStreamSink = std::function<bool(const uint8_t* data, size_t size)>;

// The data of the stream whose dictionary is `dict` (its DecodeParms entries in
// `parms`) and whose data begins at `dataPos` in the file.
void DecodePdfStream(clsFile& file, uint64_t dataPos, const PdfDict& dict, const PdfDict& parms,
                     const PdfStreamSink& sink);

}  // namespace zx
