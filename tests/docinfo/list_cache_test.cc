// The cache of a list: hits without file access, expiry on the list's clock, the
// reload pass, names with "|" and without case, the result block's sizes and the
// exports' edges.
#include <gtest/gtest.h>

#include <cmath>

#include "file/File.h"
#include "list_test_util.h"
#include "platform/clock.h"
#include "platform/time_zone.h"
#include "zxUT22.h"

using namespace zx;
using listtest::FakeReaders;
using listtest::Result;
using listtest::Str;
using Calls = std::vector<std::string>;

namespace {

class Cache : public ::testing::Test {
 protected:
  int pdfReads() {
    int n = 0;
    for (const std::string& c : readers.Calls()) n += c == "pdf";
    return n;
  }
  zxsupport::ScratchDir dir{"doclist_cache"};
  FakeReaders readers;
  plat::FakeClock clock;
};

TEST_F(Cache, FreshDocumentsAnswerFromMemoryUntilTheyExpire) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF one");
  clsDocuList list(60);
  const String name = Str(dir / "a.pdf");
  EXPECT_EQ(list.Get(name, nullptr, 5), 1);
  EXPECT_EQ(pdfReads(), 1);
  EXPECT_TRUE(list.ReloadThreadRuns());   // the first cached document starts it
  // Gone from disk, still answered from memory for 60 s.
  std::filesystem::remove(dir / "a.pdf");
  clock.Advance(60000);
  Result r;
  EXPECT_EQ(list.Get(name, &r.data, 5), 1);
  EXPECT_EQ(r.Text(listtest::kTitle), u"pdf");
  EXPECT_EQ(pdfReads(), 1);
  // One millisecond later the document is read again: it's gone.
  clock.Advance(1);
  EXPECT_EQ(list.Get(name, nullptr, 5), 0);
  EXPECT_EQ(list.CachedCount(), 1);
  list.ReloadPass();   // reset documents go at the next pass
  EXPECT_EQ(list.CachedCount(), 0);
}

TEST_F(Cache, AnUnchangedFileIsNotReadAgainAChangedOneIs) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF one");
  clsDocuList list(10);
  const String name = Str(dir / "a.pdf");
  ASSERT_EQ(list.Get(name, nullptr, 5), 1);
  clock.Advance(10001);
  ASSERT_EQ(list.Get(name, nullptr, 5), 1);
  EXPECT_EQ(pdfReads(), 1);   // one open and one time query, no reader
  // A new last-write time: read again.
  const auto later = std::filesystem::last_write_time(dir / "a.pdf") + std::chrono::seconds(5);
  std::filesystem::last_write_time(dir / "a.pdf", later);
  clock.Advance(10001);
  Result r;
  ASSERT_EQ(list.Get(name, &r.data, 5), 1);
  EXPECT_EQ(pdfReads(), 2);
}

TEST_F(Cache, ReloadPassDropsOnlyExpiredDocuments) {
  for (const char* n : {"a.pdf", "b.pdf", "c.pdf"}) zxsupport::WriteBytes(dir / n, "%PDF");
  clsDocuList list(30);
  EXPECT_EQ(list.Get(Str(dir / "a.pdf"), nullptr, 5), 1);
  clock.Advance(20000);
  EXPECT_EQ(list.Get(Str(dir / "b.pdf"), nullptr, 5), 1);
  EXPECT_EQ(list.Get(Str(dir / "missing.pdf"), nullptr, 5), 0);   // reset: lastCheck 0
  EXPECT_EQ(list.CachedCount(), 3);
  list.ReloadPass();
  EXPECT_EQ(list.CachedCount(), 2);   // the missing one went
  clock.Advance(10001);               // a: 30001 ms old, b: 10001
  list.ReloadPass();
  EXPECT_EQ(list.CachedCount(), 1);
  clock.Advance(20000);
  list.ReloadPass();
  EXPECT_EQ(list.CachedCount(), 0);
  // An expired document asked for before the pass is read again, and stays.
  EXPECT_EQ(list.Get(Str(dir / "c.pdf"), nullptr, 5), 1);
  EXPECT_EQ(list.CachedCount(), 1);
}

TEST_F(Cache, NamesSplitAtTheBarAndCompareWithoutCase) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(60);
  const std::u16string base = (dir / "a.pdf").u16string();
  Result r;
  EXPECT_EQ(list.Get(String(std::u16string_view(base + u"|page2")), &r.data, 5), 1);
  EXPECT_EQ(r.Text(listtest::kResolvedPath).size(), base.size());   // the part before "|" was read
  EXPECT_EQ(list.Get(String(std::u16string_view(base)), nullptr, 5), 1);
  EXPECT_EQ(list.CachedCount(), 2);   // "a.pdf|page2" and "a.pdf": two entries
  EXPECT_EQ(pdfReads(), 2);
  // The same name in other case: the entry that is there (the file itself isn't
  // asked, so this works on a file system with case too).
  std::u16string upper = base;
  for (char16_t& c : upper) c = (c >= u'a' && c <= u'z') ? static_cast<char16_t>(c - 32) : c;
  EXPECT_EQ(list.Get(String(std::u16string_view(upper)), nullptr, 5), 1);
  EXPECT_EQ(list.CachedCount(), 2);
  EXPECT_EQ(pdfReads(), 2);
  // "|" alone: an empty name before it.
  EXPECT_EQ(list.Get(String(u"|x"), nullptr, 5), 0);
}

TEST_F(Cache, WithoutCacheEveryCallReadsAndNoThreadRuns) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(list.Get(Str(dir / "a.pdf"), nullptr, 5), 1);
  EXPECT_EQ(pdfReads(), 3);
  EXPECT_EQ(list.CachedCount(), 0);
  EXPECT_FALSE(list.ReloadThreadRuns());
}

TEST_F(Cache, ALockedFileKeepsWhatWasRead) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(1);
  const String name = Str(dir / "a.pdf");
  ASSERT_EQ(list.Get(name, nullptr, 5), 1);
  const auto later = std::filesystem::last_write_time(dir / "a.pdf") + std::chrono::seconds(5);
  std::filesystem::last_write_time(dir / "a.pdf", later);   // changed, and then locked
  clsFileRW locker;   // no sharing at all
  ASSERT_EQ(locker.Open(name, 2, 0, 0, kFileNormal), 0);
  clock.Advance(1001);
  Result r;
  EXPECT_EQ(list.Get(name, &r.data, 5), 1);   // the old information
  EXPECT_EQ(r.Text(listtest::kTitle), u"pdf");
  // A new document that is locked: it doesn't exist for the caller.
  clsDocuList other(1);
  EXPECT_EQ(other.Get(name, nullptr, 5), 0);
  locker.Close();
  clock.Advance(1001);
  EXPECT_EQ(other.Get(name, nullptr, 5), 1);   // the next call tries again
}

TEST_F(Cache, TheBlockIsFilledByItsSize) {
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(60);
  const String name = Str(dir / "a.pdf");
  Result small(71);
  EXPECT_EQ(list.Get(name, &small.data, 5), 1);
  for (const VARIANT& v : small.v) EXPECT_EQ(v.vt, VT_EMPTY);
  Result base(72);
  EXPECT_EQ(list.Get(name, &base.data, 5), 1);
  EXPECT_EQ(base.Text(listtest::kTitle), u"pdf");
  EXPECT_EQ(base.v[listtest::kLastSaved].vt, VT_DATE);
  EXPECT_EQ(base.v[listtest::kResolvedPath].vt, VT_EMPTY);
  Result full(80);
  EXPECT_EQ(list.Get(name, &full.data, 5), 1);
  EXPECT_EQ(full.Text(listtest::kResolvedPath), (dir / "a.pdf").u16string());
  // Members not wanted stay untouched; the others replace what the caller had.
  Result some(80);
  some.data.Title = nullptr;
  some.v[listtest::kSubject].vt = VT_I4;
  some.v[listtest::kSubject].lVal = 7;
  EXPECT_EQ(list.Get(name, &some.data, 5), 1);
  EXPECT_EQ(some.v[listtest::kTitle].vt, VT_EMPTY);
  EXPECT_EQ(some.v[listtest::kSubject].vt, VT_EMPTY);   // the document has none
  EXPECT_EQ(list.Get(name, nullptr, 5), 1);
  Result none(80);
  EXPECT_EQ(list.Get(Str(dir / "b.pdf"), &none.data, 5), 0);
  for (const VARIANT& v : none.v) EXPECT_EQ(v.vt, VT_EMPTY);
}

TEST(DocInfoDates, UtcBecomesLocalWithMilliseconds) {
  if (!plat::PinTimeZoneForTests("Europe/Berlin")) GTEST_SKIP() << "the zone can't be pinned here";
  zxsupport::ScratchDir dir("doclist_dates");
  FakeReaders readers;
  readers.set().pdf = [](clsDocu& d, clsFile&) {
    d.created = plat::SystemTime{2024, 7, 0, 15, 10, 20, 30, 500};   // summer: UTC+2
    d.lastSaved = plat::SystemTime{2024, 1, 0, 2, 23, 30, 0, 0};     // winter: UTC+1, next day
    return 0;
  };
  readers.Install();
  zxsupport::WriteBytes(dir / "a.pdf", "%PDF");
  clsDocuList list(0);
  Result r;
  ASSERT_EQ(list.Get(Str(dir / "a.pdf"), &r.data, 5), 1);
  plat::PinTimeZoneForTests(nullptr);
  // 2024-07-15 12:20:30.5 local; days since 1899-12-30: 45488.
  EXPECT_EQ(r.v[listtest::kCreated].vt, VT_DATE);
  EXPECT_NEAR(r.v[listtest::kCreated].date, 45488 + (12 * 3600 + 20 * 60 + 30.5) / 86400.0, 1e-9);
  EXPECT_NEAR(r.v[listtest::kLastSaved].date, 45294 + 30 * 60 / 86400.0, 1e-9);   // 2024-01-03 00:30
}

TEST(DocInfoExports, EdgesOfTheExports) {
  EXPECT_EQ(UtilDocInfoGet(nullptr, reinterpret_cast<LPCWSTR>(u"x"), nullptr, 1), 0);
  UtilDocInfoClose(nullptr);
  HDOCINFO list = UtilDocInfoOpen(0);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(UtilDocInfoGet(list, nullptr, nullptr, 1), 0);
  const std::u16string readme = std::u16string(listtest::U16(ZXUT_SOURCE_DIR)) + u"/README.md";
  VARIANT path;
  plat::VariantInit(&path);
  ::scDocInfoData data{80, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &path};
  EXPECT_EQ(UtilDocInfoGet(list, reinterpret_cast<LPCWSTR>(readme.c_str()), &data, 1), 1);
  EXPECT_EQ(path.vt, VT_BSTR);
  plat::VariantClear(&path);
  UtilDocInfoClose(list);
  EXPECT_EQ(UtilDocInfoShareAccessibility(nullptr), -1);
  EXPECT_EQ(UtilDocInfoShareAccessibility(reinterpret_cast<LPCWSTR>(readme.c_str())), -1);   // local
}

}  // namespace
