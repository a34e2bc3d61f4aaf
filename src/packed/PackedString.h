// Packed strings: binary data carried in text, optionally compressed (zlib),
// optionally enciphered (clsBlowfish), then base64. "@2@" in front marks the
// compressed form (length, "Zrk_Packed" and a zlib stream), "@1@" the older one
// (length and a zlib stream), which is read but never written.
// Errors: Pack gives the empty text for an empty or unreadable file; Unpack gives
// false for the empty text (or a failed write) and otherwise true, also when the
// data turned out unusable (then less or nothing is written).
// Threads: any thread; all state is local.
//
//   String text = Pack(file, true, u"");  Unpack(out, text, u"");
#pragma once
#include "core/strings/String.h"
#include "file/File.h"

namespace zx {

// The whole of `file`, read from its start.
String Pack(clsFile& file, bool compress, const String& password);
// Writes the data of `text` into `target` from its start.
bool Unpack(clsFile& target, const String& text, const String& password);

// Unpack that tells why: kUndecodable (bad base64, or a compressed form whose
// marker or stream does not check out, as with a wrong password) writes nothing.
enum class UnpackResult { kWritten, kEmpty, kUndecodable, kWriteFailed };
UnpackResult UnpackChecked(clsFile& target, const String& text, const String& password);

}  // namespace zx
