// Profiles on streams: the library's own memory stream, and a stream a client
// writes by hand as a C vtable, with short reads, failures and refused seeks.
#include <cstring>
#include <string>

#include "file/File.h"
#include "platform/com.h"
#include "prof/Compressed.h"
#include "profdata_util.h"

using namespace pdtest;

namespace {

// A client's stream: a C structure whose first member points at a table of plain
// functions in IStream's slot order. Data lives in a std::string.
struct ForeignStream;
struct ForeignVtbl {
  HRESULT(ZX_COMCALL* QueryInterface)(ForeignStream*, REFIID, void**);
  ULONG(ZX_COMCALL* AddRef)(ForeignStream*);
  ULONG(ZX_COMCALL* Release)(ForeignStream*);
  HRESULT(ZX_COMCALL* Read)(ForeignStream*, void*, ULONG, ULONG*);
  HRESULT(ZX_COMCALL* Write)(ForeignStream*, const void*, ULONG, ULONG*);
  HRESULT(ZX_COMCALL* Seek)(ForeignStream*, LARGE_INTEGER, DWORD, ULARGE_INTEGER*);
  HRESULT(ZX_COMCALL* SetSize)(ForeignStream*, ULARGE_INTEGER);
  HRESULT(ZX_COMCALL* CopyTo)(ForeignStream*, void*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*);
  HRESULT(ZX_COMCALL* Commit)(ForeignStream*, DWORD);
  HRESULT(ZX_COMCALL* Revert)(ForeignStream*);
  HRESULT(ZX_COMCALL* LockRegion)(ForeignStream*, ULARGE_INTEGER, ULARGE_INTEGER, DWORD);
  HRESULT(ZX_COMCALL* UnlockRegion)(ForeignStream*, ULARGE_INTEGER, ULARGE_INTEGER, DWORD);
  HRESULT(ZX_COMCALL* Stat)(ForeignStream*, STATSTG*, DWORD);
  HRESULT(ZX_COMCALL* Clone)(ForeignStream*, void**);
};

constexpr HRESULT kFail = static_cast<HRESULT>(0x80004005);    // E_FAIL
constexpr HRESULT kNotImpl = static_cast<HRESULT>(0x80004001); // E_NOTIMPL

struct ForeignStream {
  const ForeignVtbl* vtbl;
  ULONG refs = 1;
  std::string data;
  size_t pos = 0;
  ULONG maxRead = 0xFFFFFFFFu;  // short reads
  size_t failAt = ~size_t{0};   // reads and writes past this offset fail
  bool refuseSeek = false;
  bool hideSize = false;        // Stat fails; seeks still work

  IStream* AsStream() { return reinterpret_cast<IStream*>(this); }
};

HRESULT ZX_COMCALL FsQueryInterface(ForeignStream* s, REFIID, void** out) {
  *out = s;
  ++s->refs;
  return 0;
}
ULONG ZX_COMCALL FsAddRef(ForeignStream* s) { return ++s->refs; }
ULONG ZX_COMCALL FsRelease(ForeignStream* s) { return --s->refs; }  // owned by the test
HRESULT ZX_COMCALL FsRead(ForeignStream* s, void* pv, ULONG cb, ULONG* got) {
  if (got) *got = 0;
  if (s->pos >= s->failAt) return kFail;
  size_t n = std::min<size_t>({cb, s->maxRead, s->data.size() - std::min(s->pos, s->data.size()), s->failAt - s->pos});
  std::memcpy(pv, s->data.data() + s->pos, n);
  s->pos += n;
  if (got) *got = static_cast<ULONG>(n);
  return 0;
}
HRESULT ZX_COMCALL FsWrite(ForeignStream* s, const void* pv, ULONG cb, ULONG* put) {
  if (put) *put = 0;
  if (s->pos + cb > s->failAt) return kFail;
  if (s->data.size() < s->pos + cb) s->data.resize(s->pos + cb);
  std::memcpy(s->data.data() + s->pos, pv, cb);
  s->pos += cb;
  if (put) *put = cb;
  return 0;
}
HRESULT ZX_COMCALL FsSeek(ForeignStream* s, LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* out) {
  if (s->refuseSeek) return kNotImpl;
  const int64_t base = origin == 0 ? 0 : origin == 1 ? static_cast<int64_t>(s->pos) : static_cast<int64_t>(s->data.size());
  if (base + move.QuadPart < 0) return kFail;
  s->pos = static_cast<size_t>(base + move.QuadPart);
  if (out) out->QuadPart = s->pos;
  return 0;
}
HRESULT ZX_COMCALL FsSetSize(ForeignStream* s, ULARGE_INTEGER size) {
  if (s->refuseSeek || size.QuadPart > s->failAt) return kFail;
  s->data.resize(static_cast<size_t>(size.QuadPart));
  return 0;
}
HRESULT ZX_COMCALL FsCopyTo(ForeignStream*, void*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) { return kNotImpl; }
HRESULT ZX_COMCALL FsCommit(ForeignStream*, DWORD) { return 0; }
HRESULT ZX_COMCALL FsRevert(ForeignStream*) { return kNotImpl; }
HRESULT ZX_COMCALL FsLock(ForeignStream*, ULARGE_INTEGER, ULARGE_INTEGER, DWORD) { return kNotImpl; }
HRESULT ZX_COMCALL FsStat(ForeignStream* s, STATSTG* st, DWORD) {
  if (s->refuseSeek || s->hideSize) return kNotImpl;
  std::memset(st, 0, sizeof *st);
  st->type = 2;
  st->cbSize.QuadPart = s->data.size();
  return 0;
}
HRESULT ZX_COMCALL FsClone(ForeignStream*, void**) { return kNotImpl; }

const ForeignVtbl kForeignVtbl = {FsQueryInterface, FsAddRef, FsRelease, FsRead,   FsWrite,
                                  FsSeek,           FsSetSize, FsCopyTo, FsCommit, FsRevert,
                                  FsLock,           FsLock,    FsStat,   FsClone};

struct Foreign : ForeignStream {
  Foreign() { vtbl = &kForeignVtbl; }
};

}  // namespace

// Ours: a memory stream written in each format and read back; the job holds a
// reference on the stream until it ends; the compressed form works on streams too.
TEST(ProfStream, MemoryStreamRoundTrip) {
  IStream* stream = nullptr;
  ASSERT_GE(plat::CreateMemoryStream(&stream), 0);
  Job job;
  Fill(job);
  for (DWORD flags : {DWORD(PROF_FMT_TEXT), DWORD(PROF_FMT_XML), DWORD(PROF_FMT_TEXT | PROF_SAVE_COMPRESSED),
                      DWORD(PROF_FMT_XML | PROF_SAVE_COMPRESSED)}) {
    ASSERT_EQ(0, ProfSaveToStream(job, stream, flags)) << flags;
    Job loaded(ProfJobOpenStream(stream));
    EXPECT_EQ(0, ProfGetError(loaded)) << flags;
    EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec3/key8")) << flags;
  }
  EXPECT_EQ(0, ProfSaveToStream(nullptr, stream, 0));
  EXPECT_EQ(PROF_ERR_WRITE, ProfSaveToStream(job, nullptr, 0));
  stream->Release();
  Job none(ProfJobOpenStream(nullptr));
  EXPECT_EQ(0, ProfGetError(none));
}

// A stream object at base level 2: no byte order mark and no header, the root
// section at level 2; read back with the same level and root name.
TEST(ProfStream, StreamObjectAtBaseLevel) {
  Foreign s;
  Job job(ProfJobOpenStreamObjectW(s.AsStream(), W(u"Root"), 2));
  EXPECT_EQ(0, ProfGetError(job));
  Set(job, u"a/b", u"1");
  ASSERT_EQ(0, ProfSaveToStream(job, nullptr, PROF_FMT_TEXT));  // its own stream
  ASSERT_GE(s.data.size(), 2u);
  EXPECT_EQ(std::string(" \0 \0[\0R\0", 8), s.data.substr(0, 8));  // UTF-16, no mark, indented to level 2
  EXPECT_FALSE(s.data[0] == '\xff' && s.data[1] == '\xfe') << "no byte order mark";
  Job back(ProfJobOpenStreamObjectW(s.AsStream(), W(u"Root"), 2));
  EXPECT_EQ(0, ProfGetError(back));
  // The section line stands inside the reading job's root, as for any stream object.
  EXPECT_EQ(u"1", Get(back, nullptr, u"Root/a/b"));
}

// Short reads lose nothing; a write failing mid-way is PROF_ERR_WRITE; a read
// failing mid-way gives an empty tree (never a half one); a stream
// that refuses seeks and its size is no usable wrapper (PROF_ERR_OPEN). Every
// reference taken is given back.
TEST(ProfStream, ForeignStreamFailures) {
  Job job;
  Fill(job, 300);
  Foreign good;
  ASSERT_EQ(0, ProfSaveToStream(job, good.AsStream(), PROF_FMT_XML));
  EXPECT_EQ(1u, good.refs);

  Foreign shortReads;
  shortReads.data = good.data;
  shortReads.maxRead = 7;
  {
    Job loaded(ProfJobOpenStream(shortReads.AsStream()));
    EXPECT_EQ(0, ProfGetError(loaded));
    EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec4/key299"));
    EXPECT_GT(shortReads.refs, 1u);  // the job holds it
  }
  EXPECT_EQ(1u, shortReads.refs);

  Foreign failing;
  failing.failAt = good.data.size() / 2;
  EXPECT_EQ(PROF_ERR_WRITE, ProfSaveToStream(job, failing.AsStream(), PROF_FMT_XML));
  failing.data.clear();
  failing.pos = 0;
  failing.failAt = 100;
  EXPECT_EQ(PROF_ERR_WRITE, ProfSaveToStream(job, failing.AsStream(), PROF_FMT_XML | PROF_SAVE_COMPRESSED));

  Foreign failRead;
  failRead.data = good.data;
  failRead.failAt = good.data.size() / 2;
  {
    // The reader keeps no part of UTF-16 text that did not arrive whole.
    Job loaded(ProfJobOpenStream(failRead.AsStream()));
    EXPECT_EQ(u"<missing>", Get(loaded, nullptr, u"sec0/key0"));
  }

  Foreign noSeek;
  noSeek.data = good.data;
  noSeek.refuseSeek = true;
  {
    Job loaded(ProfJobOpenStream(noSeek.AsStream()));
    EXPECT_EQ(PROF_ERR_OPEN, ProfGetError(loaded));
  }
  EXPECT_EQ(1u, noSeek.refs);
  EXPECT_EQ(PROF_ERR_WRITE, ProfSaveToStream(job, noSeek.AsStream(), PROF_FMT_XML));
}

// The compressed form from a client's stream: 7-byte reads lose nothing. A
// stream that cannot tell its size is copied whole all the same, the copy
// growing as the data keeps coming.
TEST(ProfStream, CompressedFromForeignStreams) {
  Job job;
  Fill(job, 300);
  Foreign packed;
  ASSERT_EQ(0, ProfSaveToStream(job, packed.AsStream(), PROF_FMT_XML | PROF_SAVE_COMPRESSED));
  ASSERT_EQ("PRZB", packed.data.substr(0, 4));
  packed.pos = 0;
  packed.maxRead = 7;
  {
    Job loaded(ProfJobOpenStream(packed.AsStream()));
    EXPECT_EQ(0, ProfGetError(loaded));
    EXPECT_EQ(u"value <&> \u00e4\u20ac = x", Get(loaded, nullptr, u"sec4/key299"));
  }
  EXPECT_EQ(1u, packed.refs);

  Foreign unsized;
  for (uint32_t i = 0; unsized.data.size() < (3u << 20) + 5; ++i) unsized.data += static_cast<char>(i * 2654435761u >> 24);
  unsized.hideSize = true;
  unsized.maxRead = 100003;
  {
    zx::clsFile wrapped(unsized.AsStream());
    ASSERT_EQ(zx::kAllOnes64, wrapped.GetSize());
    wrapped.SetPos(4);
    zx::prof::CompressedBytes copy;
    ASSERT_EQ(zx::prof::kCopyOk, zx::prof::CopyRest(wrapped, zx::prof::kMaxCompressedRest, copy));
    ASSERT_EQ(unsized.data.size() - 4, copy.size);
    EXPECT_TRUE(unsized.data.compare(4, std::string::npos, reinterpret_cast<const char*>(copy.data.get()),
                                     copy.size) == 0);
    wrapped.SetPos(0);
    EXPECT_EQ(zx::prof::kCopyTooLarge, zx::prof::CopyRest(wrapped, 2u << 20, copy));
  }
  EXPECT_EQ(1u, unsized.refs);
}
