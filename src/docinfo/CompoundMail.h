// A stored mail message (a compound file whose streams are named after MAPI
// property tags): subject, sender, recipients and the two times into the
// document. Strings stand in "__substg1.0_%08x" streams, recipients in the
// sub-storages "__recip_version1.0_#%08x", fixed-size values in
// "__properties_version1.0": after a header of 32 bytes, entries of 16 bytes
// (tag, flags, 8 bytes of value), which is the stride that stored messages
// really have.
// Errors: a file that cannot be opened as a storage fails (negative) and sets
// nothing; missing streams give empty texts and unset times.
// Threads: any; nothing shared.
//
//   if (ReadCompoundMailInfo(doc, u"note.msg") == 0) ... doc.title (the subject) ...
#pragma once
#include <cstdint>
#include <string>

#include "docinfo/CompoundFile.h"
#include "docinfo/Docu.h"

namespace zx {

constexpr uint32_t kMailPropertyHeader = 32;   // the top-level message's header
constexpr uint32_t kMailPropertyStride = 16;

// A string property (tag without type) of a storage: the narrow stream
// (type 0x001E, default code page) first, else the UTF-16 stream (0x001F);
// empty when neither is there or the stream is 0x7FFFFFFF bytes or longer.
String ReadMailString(clsCompoundFile& storage, int32_t parent, uint32_t tag);

// The message of an open compound file into the document. 0.
int ReadCompoundMailFrom(clsDocu& doc, clsCompoundFile& storage);

// The reader of the table (DocReaders.h): 0 if the storage could be opened,
// otherwise negative.
int ReadCompoundMailInfo(clsDocu& doc, const String& path);

}  // namespace zx
