// The writer of the profile file formats: plain text (0), XML (1) and XFDF (2).
//
// The level of the top list is the job's baseLevel; at baseLevel 0 XML and XFDF
// start at level 1, and only then are the byte order mark (text, XML), the header
// and the trailer written. An empty root writes nothing at all. In XML and XFDF a
// list named "/" (the root, or a nested one) writes no tag: its items stand at its
// level. Each line is built in place in one large output buffer that goes out in
// big writes; a counting pass with the same rules gives the exact size first.
// Errors: WriteProfile returns 0, or kErrWrite (-4) when a write failed (the walk
// stops at the first failed item). Threads: the job's rule (prof/Prof.h).
//
//   clsFileRW f(u"a.prf", 1, 2, 0, kFileNormal);
//   int rc = prof::WriteProfile(*job, f, prof::kFormatXml);
#pragma once
#include <cstdint>
#include <string>

namespace zx {
class clsFile;
class clsProfJob;
}  // namespace zx

namespace zx::prof {

enum : int { kFormatText = 0, kFormatXml = 1, kFormatXfdf = 2 };

// The format of a save selector: low 4 bits 0 text, 2 XFDF, anything else XML.
int FormatOfFlags(uint32_t flags);

// The exact number of bytes the job's profile takes in `format`.
uint64_t ProfileSize(clsProfJob& job, int format);

// Writes the profile at the start of `out`: reserves the exact size first, then
// writes, then sets the end of file behind the data. 0 or kErrWrite.
int WriteProfile(clsProfJob& job, clsFile& out, int format);

// The whole profile as bytes in memory; false when memory ran out.
bool SerializeProfile(clsProfJob& job, int format, std::string& image);

}  // namespace zx::prof
