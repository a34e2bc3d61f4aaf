// The stream face: a foreign IStream consumer, status values, and foreign streams
// behind clsFile.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "file/File.h"
#include "file_test_util.h"
#include "platform/errors.h"

using namespace zx;
using ftest::Str;

namespace {

template <typename T = LARGE_INTEGER>
T L(int64_t v) {
  T x;
  x.QuadPart = v;
  return x;
}
ULARGE_INTEGER U(uint64_t v) { return L<ULARGE_INTEGER>(static_cast<int64_t>(v)); }

// A consumer that knows nothing but IStream: copies in small pieces, as a foreign library would.
HRESULT PumpStream(IStream* from, IStream* to, uint64_t* copied) {
  IStream* src = nullptr;
  HRESULT hr = from->QueryInterface(plat::kIID_IStream, reinterpret_cast<void**>(&src));
  if (hr < 0) return hr;
  src->Seek(L(0), STREAM_SEEK_SET, nullptr);
  char buf[7];
  *copied = 0;
  for (;;) {
    ULONG got = 0;
    hr = src->Read(buf, sizeof buf, &got);
    if (hr < 0) break;
    ULONG put = 0;
    if (got && (hr = to->Write(buf, got, &put)) < 0) break;
    *copied += put;
    if (got < sizeof buf) {
      hr = plat::kS_OK;
      break;
    }
  }
  src->Release();
  return hr;
}

// A foreign stream over a memory stream that can misbehave: SetSize moves the
// position, SetSize or Write fail, LockRegion is not implemented.
class OddStream : public IStream {
 public:
  OddStream() { plat::CreateMemoryStream(&inner_); }
  virtual ~OddStream() { inner_->Release(); }
  bool moveOnSetSize = false, failSetSize = false, failWrite = false;
  int lockCalls = 0;
  HRESULT lockAnswer = plat::kE_NOTIMPL;

  HRESULT ZX_COMCALL QueryInterface(REFIID riid, void** ppv) override {
    const bool ok = plat::SameGuid(riid, plat::kIID_IStream) || plat::SameGuid(riid, plat::kIID_IUnknown);
    *ppv = ok ? static_cast<IStream*>(this) : nullptr;
    if (ok) AddRef();
    return ok ? plat::kS_OK : plat::kE_NOINTERFACE;
  }
  ULONG ZX_COMCALL AddRef() override { return ++refs; }
  ULONG ZX_COMCALL Release() override { return --refs; }   // lives on the test's stack
  HRESULT ZX_COMCALL Read(void* pv, ULONG cb, ULONG* n) override { return inner_->Read(pv, cb, n); }
  HRESULT ZX_COMCALL Write(const void* pv, ULONG cb, ULONG* n) override {
    return failWrite ? plat::kE_FAIL : inner_->Write(pv, cb, n);
  }
  HRESULT ZX_COMCALL Seek(LARGE_INTEGER m, DWORD o, ULARGE_INTEGER* p) override { return inner_->Seek(m, o, p); }
  HRESULT ZX_COMCALL SetSize(ULARGE_INTEGER s) override {
    if (failSetSize) return plat::kE_FAIL;
    const HRESULT hr = inner_->SetSize(s);
    if (moveOnSetSize) inner_->Seek(L(static_cast<int64_t>(s.QuadPart)), STREAM_SEEK_SET, nullptr);
    return hr;
  }
  HRESULT ZX_COMCALL CopyTo(IStream* t, ULARGE_INTEGER cb, ULARGE_INTEGER* r, ULARGE_INTEGER* w) override {
    return inner_->CopyTo(t, cb, r, w);
  }
  HRESULT ZX_COMCALL Commit(DWORD f) override { return inner_->Commit(f); }
  HRESULT ZX_COMCALL Revert() override { return plat::kE_NOTIMPL; }
  HRESULT ZX_COMCALL LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    ++lockCalls;
    return lockAnswer;
  }
  HRESULT ZX_COMCALL UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override { return lockAnswer; }
  HRESULT ZX_COMCALL Stat(STATSTG* st, DWORD f) override { return inner_->Stat(st, f); }
  HRESULT ZX_COMCALL Clone(IStream** out) override { return *out = nullptr, plat::kE_NOTIMPL; }
  int refs = 1;

 private:
  IStream* inner_ = nullptr;
};

}  // namespace

TEST(FileStream, AForeignConsumerCopiesADiskFileThroughTheFace) {
  zxsupport::ScratchDir dir;
  std::string text;
  for (int i = 0; i < 1000; ++i) text += "line " + std::to_string(i) + "\n";
  zxsupport::WriteBytes(dir / "in.txt", text);

  auto* in = new clsFileRO(Str(dir / "in.txt"), 0, 0, 2, 0x102);
  auto* out = new clsFileRW(Str(dir / "out.txt"), 2, 2, 0, 0x102);
  ASSERT_TRUE(in->IsOpen() && out->IsOpen());
  IStream* inFace = static_cast<IStream*>(in);
  IStream* outFace = nullptr;
  ASSERT_EQ(plat::kS_OK, out->NonDelegatingQueryInterface(plat::kIID_IStream, reinterpret_cast<void**>(&outFace)));
  inFace->AddRef();
  uint64_t copied = 0;
  EXPECT_EQ(plat::kS_OK, PumpStream(inFace, outFace, &copied));
  EXPECT_EQ(text.size(), copied);
  // The last references delete both objects and close their files.
  EXPECT_EQ(0u, inFace->Release());
  EXPECT_EQ(0u, outFace->Release());
  EXPECT_EQ(text, zxsupport::ReadBytes(dir / "out.txt"));

  // The other way round: clsFile over the consumer's own memory stream.
  IStream* mem = nullptr;
  ASSERT_EQ(plat::kS_OK, plat::CreateMemoryStream(&mem));
  {
    clsFileRO disk(Str(dir / "in.txt"), 0, 0, 2, 0x102);
    disk.SetDeleteOnRelease(false);
    EXPECT_EQ(plat::kS_OK, PumpStream(&disk, mem, &copied));
    clsFile overMem(mem);
    EXPECT_EQ(text.size(), overMem.GetSize());
    EXPECT_EQ(0u, overMem.GetPos());   // rewound on attach
    std::string back(text.size(), '\0');
    EXPECT_EQ(text.size(), overMem.Read(back.data(), static_cast<uint32_t>(back.size())));
    EXPECT_EQ(text, back);
  }
  EXPECT_EQ(0u, mem->Release());
}

TEST(FileStream, StatusValuesOverAHandle) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "s.bin";
  zxsupport::WriteBytes(path, "0123456789");
  clsFileRW rw(Str(path), 2, 0, 0, 0x100);
  rw.SetDeleteOnRelease(false);
  IStream& s = rw;
  char buf[16];
  ULONG n = 0;
  EXPECT_EQ(plat::kS_OK, s.Read(buf, 4, &n));
  EXPECT_EQ(4u, n);
  EXPECT_EQ(plat::kS_FALSE, s.Read(buf, 16, &n));
  EXPECT_EQ(6u, n);
  ULARGE_INTEGER pos;
  EXPECT_EQ(plat::kS_OK, s.Seek(L(-3), STREAM_SEEK_END, &pos));
  EXPECT_EQ(7u, pos.QuadPart);
  EXPECT_EQ(plat::kS_OK, s.Seek(L(-2), STREAM_SEEK_CUR, &pos));
  EXPECT_EQ(5u, pos.QuadPart);
  EXPECT_EQ(plat::kE_INVALIDARG, s.Seek(L(0), 3, &pos));
  EXPECT_EQ(plat::kS_OK, s.Write("AB", 2, &n));
  EXPECT_EQ(7u, rw.GetPos());

  // SetSize returns to the old position, or to 0 when that is at or past the end.
  EXPECT_EQ(plat::kS_OK, s.SetSize(U(20)));
  EXPECT_EQ(7u, rw.GetPos());
  EXPECT_EQ(20u, rw.GetSize());
  EXPECT_EQ(plat::kS_OK, s.SetSize(U(7)));
  EXPECT_EQ(0u, rw.GetPos());
  EXPECT_EQ(7u, rw.GetSize());

  EXPECT_EQ(plat::kE_NOTIMPL, s.Revert());
  EXPECT_EQ(plat::kE_NOTIMPL, s.Clone(nullptr));
  EXPECT_EQ(plat::kE_NOTIMPL, s.CopyTo(nullptr, U(1), nullptr, nullptr));
  EXPECT_EQ(plat::kS_OK, s.Commit(0));
  EXPECT_EQ(plat::kS_OK, s.LockRegion(U(0), U(3), LOCK_EXCLUSIVE));
  EXPECT_EQ(plat::kS_OK, s.UnlockRegion(U(0), U(3), LOCK_EXCLUSIVE));
  EXPECT_EQ(plat::kE_NOTIMPL, s.UnlockRegion(U(0), U(3), LOCK_EXCLUSIVE));
  EXPECT_EQ(nullptr, rw.LockListHead());   // the face keeps no list

  STATSTG st;
  EXPECT_EQ(plat::kE_INVALIDARG, s.Stat(nullptr, 0));
  EXPECT_EQ(plat::kS_OK, s.Stat(&st, STATFLAG_DEFAULT));
  EXPECT_EQ(2u, st.type);
  EXPECT_EQ(7u, st.cbSize.QuadPart);
  ASSERT_NE(nullptr, st.pwcsName);
  EXPECT_EQ(Str(path), String(reinterpret_cast<const char16_t*>(st.pwcsName)));
  EXPECT_NE(0u, st.mtime.dwHighDateTime);
  plat::TaskMemFree(st.pwcsName);
  EXPECT_EQ(plat::kS_OK, s.Stat(&st, STATFLAG_NONAME));
  EXPECT_EQ(nullptr, st.pwcsName);

  // Closed: E_HANDLE for the methods that need the file.
  rw.Close();
  EXPECT_EQ(plat::kE_HANDLE, s.Read(buf, 1, &n));
  EXPECT_EQ(plat::kE_HANDLE, s.Write(buf, 1, &n));
  EXPECT_EQ(plat::kE_HANDLE, s.Seek(L(0), 0, nullptr));
  EXPECT_EQ(plat::kE_HANDLE, s.SetSize(U(0)));
  EXPECT_EQ(plat::kE_NOTIMPL, s.LockRegion(U(0), U(1), 0));
  EXPECT_EQ(plat::kE_FAIL, s.Commit(0));
  ftest::fs::remove(path);
  EXPECT_EQ(2, s.Stat(&st, 0));   // no attributes: the plain value 2
}

TEST(FileStream, OnlyAReadWriteObjectWritesThroughTheFace) {
  zxsupport::ScratchDir dir;
  const auto path = dir / "ro.bin";
  clsFileRO ro(Str(path), 2, 2, 0, 0x100);   // opened with write access all the same
  ro.SetDeleteOnRelease(false);
  ASSERT_TRUE(ro.IsOpen());
  ULONG n = 9;
  EXPECT_EQ(plat::kE_ACCESSDENIED, static_cast<IStream&>(ro).Write("x", 1, &n));
  EXPECT_EQ(plat::kE_ACCESSDENIED, static_cast<IStream&>(ro).SetSize(U(5)));
  EXPECT_EQ(plat::kS_OK, static_cast<IStream&>(ro).Commit(0));   // Flush: nothing to do
  EXPECT_EQ(1u, ro.Write("x", 1));                                 // the file operation itself writes
  EXPECT_TRUE(ro.Flush());
}

TEST(FileStream, QueryInterfaceAndCounting) {
  clsFileRWTempStream* t = new clsFileRWTempStream();
  ASSERT_TRUE(t->IsOpen());
  IStream* face = nullptr;
  EXPECT_EQ(plat::kS_OK, t->QueryInterface(plat::kIID_IStream, reinterpret_cast<void**>(&face)));
  EXPECT_EQ(static_cast<IStream*>(t), face);
  EXPECT_EQ(1u, t->RefCount());
  IUnknown* unk = nullptr;
  EXPECT_EQ(plat::kS_OK, face->QueryInterface(plat::kIID_IUnknown, reinterpret_cast<void**>(&unk)));
  EXPECT_EQ(2u, t->RefCount());
  void* other = reinterpret_cast<void*>(1);
  EXPECT_EQ(plat::kE_NOINTERFACE, face->QueryInterface(plat::kIID_ISequentialStream, &other));
  EXPECT_EQ(nullptr, other);
  unk->Release();
  EXPECT_EQ(0u, face->Release());   // deleted here (leak checkers watch)
}

TEST(FileStream, GrowByRepairsAStreamThatMovesItsPosition) {
  zxsupport::DiagCapture diag;
  OddStream odd;
  odd.moveOnSetSize = true;
  {
    clsFileRW f(&odd);
    EXPECT_EQ(4u, f.WriteString("abcd"));
    f.SetPos(2);
    f.GrowBy(10);
    EXPECT_EQ(2u, f.GetPos());
    EXPECT_EQ(12u, f.GetSize());
    EXPECT_TRUE(diag.Contains(u"WRN: need to correct Outlook stream implementation error, cross your fingers to proceed"));
  }
  OddStream failing;
  failing.failSetSize = true;
  {
    clsFileRW f(&failing);
    EXPECT_EQ(4u, f.WriteString("abcd"));
    f.SetPos(1);
    f.GrowBy(3);
    EXPECT_TRUE(diag.Contains(u"ERR: Stream->SetSize(1+3) failed!"));
    EXPECT_EQ(1u, f.GetPos());
    EXPECT_EQ(1u, diag.Count(u"WRN: need to correct"));   // no move, no repair
    f.SetEOF();
    EXPECT_TRUE(diag.Contains(u"ERR: Stream->SetEOF(1) failed!"));
  }
  EXPECT_EQ(1, odd.refs);
  EXPECT_EQ(1, failing.refs);
}

TEST(FileStream, StreamsWithoutLockingLockAtOnce) {
  OddStream odd;
  clsFileRW f(&odd);
  scFileLock* l = f.Lock(0, 100);
  ASSERT_NE(nullptr, l);
  EXPECT_EQ(1, odd.lockCalls);
  EXPECT_EQ(l, f.LockListHead());
  f.Unlock(l);
  EXPECT_EQ(nullptr, f.LockListHead());
  odd.lockAnswer = plat::kSTG_E_INVALIDFUNCTION;
  EXPECT_NE(nullptr, f.Lock(5, 5));   // left for the destructor
}

TEST(FileStream, AFailingStreamWriteIsReported) {
  zxsupport::DiagCapture diag;
  OddStream odd;
  odd.failWrite = true;
  clsFileRW f(&odd);
  EXPECT_EQ(0u, f.Write("abc", 3));
  EXPECT_TRUE(diag.Contains(u"clsFile((Stream))::Write(): write failure... 0/3 ("));
  ULONG n = 0;
  EXPECT_EQ(plat::kE_FAIL, static_cast<IStream&>(f).Write("abc", 3, &n));   // passed through
}

TEST(FileStream, PositionsOverAStream) {
  IStream* mem = nullptr;
  ASSERT_EQ(plat::kS_OK, plat::CreateMemoryStream(&mem));
  clsFileRW f(mem);
  mem->Release();
  EXPECT_EQ(3u, f.WriteString("xyz"));
  EXPECT_EQ(3u, f.GetPos());
  EXPECT_EQ(1u, f.SeekRel(-2));
  EXPECT_EQ(kAllOnes64, f.SeekRel(-5));   // a failing stream seek gives all ones
  EXPECT_EQ(1u, f.GetPos());
#ifndef _WIN32
  EXPECT_EQ(0x180000000ull, f.SetPos(0x180000000ull));   // the full position, past 4 GB
#endif
  EXPECT_EQ(0u, f.SetPos(0));
  EXPECT_TRUE(f.Flush());
  // A clsFile over a null stream stays closed.
  clsFile none(static_cast<IStream*>(nullptr));
  EXPECT_FALSE(none.IsOpen());
}
