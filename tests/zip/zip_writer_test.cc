// The ZIP writer: every archive judged by an independent layout model (byte for
// byte) and by python's zipfile, unzip -t and 7z t; the entry-name and encoding
// rules, the size limits through the size seam, spills, faults and null handles.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/internal/file_faults.h"
#include "file/TempName.h"
#include "zip/ZipFile.h"
#include "zip_writer_test_util.h"
#include "zxUT22.h"

namespace {

namespace fs = std::filesystem;
using zxsupport::DiagCapture;
using zxsupport::ReadBytes;
using zxsupport::ScratchDir;
using zxsupport::WriteBytes;

std::u16string P(const fs::path& p) { return p.generic_u16string(); }
std::u16string N(const fs::path& p) { return p.u16string(); }
LPCWSTR W(const std::u16string& s) { return reinterpret_cast<LPCWSTR>(s.c_str()); }
std::string U8(const fs::path& p) { return p.u8string().empty() ? std::string() : std::string(reinterpret_cast<const char*>(p.u8string().c_str())); }

// 2021-06-15 10:20:30 local time, an even second, so that DOS time keeps it.
void SetFixedTime(const fs::path& p) {
  std::tm t{};
  t.tm_year = 121;
  t.tm_mon = 5;
  t.tm_mday = 15;
  t.tm_hour = 10;
  t.tm_min = 20;
  t.tm_sec = 30;
  t.tm_isdst = -1;
  const auto sys = std::chrono::system_clock::from_time_t(std::mktime(&t));
  const auto when = fs::file_time_type::clock::now() + (sys - std::chrono::system_clock::now());
  std::error_code ec;   // wine sets no folder times: the model reads them as they are
  fs::last_write_time(p, std::chrono::time_point_cast<fs::file_time_type::duration>(when), ec);
}

void MakeFile(const fs::path& p, const std::string& bytes) {
  fs::create_directories(p.parent_path());
  WriteBytes(p, bytes);
  SetFixedTime(p);
}

std::string Mixed(size_t n) {
  std::string s;
  uint32_t x = 12345;
  while (s.size() < n) {
    x = x * 1103515245 + 12345;
    s += (x >> 28) < 10 ? std::string("line of text number ") + std::to_string(s.size()) + "\n"
                        : std::string(1, static_cast<char>(x >> 16));
  }
  s.resize(n);
  return s;
}

// Bytes that deflate cannot shrink.
std::string Noise(size_t n, uint32_t seed = 7) {
  std::string s(n, '\0');
  for (char& c : s) {
    seed = seed * 1664525 + 1013904223;
    c = static_cast<char>(seed >> 24);
  }
  return s;
}

#ifdef _WIN32
constexpr const char* kPlatform = "windows";
#else
constexpr const char* kPlatform = "linux";
#endif

// The fixed tree of the byte-for-byte tests, with names inside and outside code
// page 437, an empty file, empty and nested folders and files of several sizes.
void MakeTree(const fs::path& root) {
  MakeFile(root / "a.txt", "hello\n");
  MakeFile(root / "empty.txt", "");
  MakeFile(root / "b.bin", Mixed(3 * 1024 * 1024 + 17));   // several input blocks
  MakeFile(root / "skip.dat", "not *.txt");
  MakeFile(root / "sub" / u8"gr\u00fc\u00dfe.txt", "cp437 name");
  MakeFile(root / "sub" / u8"\u65e5\u672c.txt", "utf-8 name");
  MakeFile(root / "sub" / "deeper" / "n.dat", Mixed(70000));
  fs::create_directories(root / "emptydir");
  for (const char* d : {"sub/deeper", "sub", "emptydir"}) SetFixedTime(root / d);
}

TEST(ZipWriter, ArchiveEqualsTheLayoutModelAndPassesEveryJudge) {
  // A run that keeps its archives for the judges keeps the tree for the model too.
  ScratchDir scratch("zip_model");
  const fs::path dir = ziptest::KeepDir().empty() ? scratch.path() : fs::path(ziptest::KeepDir()) / "model";
  fs::remove_all(dir);
  const fs::path root = dir / "tree";
  MakeTree(root);
  MakeFile(dir / "logs" / "x.log", "entry with a drive name");
  const fs::path zip = dir / "out.zip";
  WriteBytes(zip, std::string(100000, 'z'));   // an older, longer file is replaced

  const std::u16string comment = u"archive comment caf\u00e9";
  HZIPFILE h = UtilZIPCreate(W(N(zip)), W(comment));
  ASSERT_NE(h, nullptr);
  UtilZIPAppendList(h, W(N(root)), W(u"*.txt"), ZXUT_ZIP_RECURSE);
  const std::u16string log = N(dir / "logs" / "x.log");
  EXPECT_EQ(0, UtilZIPAppend(h, W(log), W(u"plain comment"), W(u"C:\\logs\\x.log")));
  EXPECT_EQ(0, UtilZIPAppend(h, W(log), W(u"\u0101 needs UTF-8"), W(u"\\\\server\\share\\x.log")));
  EXPECT_EQ(0, UtilZIPAppend(h, W(log), nullptr, W(u"rel\\dir\\x.log")));
  ASSERT_EQ(0, UtilZIPClose(h));

  const ziptest::Archive a = ziptest::ReadArchive(ReadBytes(zip));
  ASSERT_TRUE(a.ok);
  std::vector<std::string> names;
  for (const auto& e : a.entries) names.push_back(e.name);
  const std::vector<std::string> expected = {
      "a.txt", "empty.txt", "emptydir/", "sub/", "sub/deeper/", "sub/deeper/n.dat", "sub/gr\x81\xe1" "e.txt",
      "sub/\xe6\x97\xa5\xe6\x9c\xac.txt", "/logs/x.log", "/share/x.log", "rel/dir/x.log"};
  // A folder's files come before its sub-folders; the mask holds at the top only.
  EXPECT_EQ(names, std::vector<std::string>({expected[0], expected[1], expected[2], expected[3], expected[6],
                                             expected[7], expected[4], expected[5], expected[8], expected[9],
                                             expected[10]}));

  std::string manifest = std::string("{\"platform\": \"") + kPlatform + "\", \"comment\": " +
                         ziptest::JsonString("archive comment caf\xc3\xa9") + ", \"ops\": [" +
                         "{\"op\": \"list\", \"folder\": " + ziptest::JsonString(U8(N(root))) +
                         ", \"mask\": \"*.txt\", \"flags\": 1}";
  const std::pair<const char*, const char*> appends[] = {
      {"C:\\\\logs\\\\x.log", "\"plain comment\""},
      {"\\\\\\\\server\\\\share\\\\x.log", "\"\xc4\x81 needs UTF-8\""},
      {"rel\\\\dir\\\\x.log", "null"}};
  for (const auto& [name, entryComment] : appends)
    manifest += std::string(", {\"op\": \"append\", \"source\": ") + ziptest::JsonString(U8(N(dir / "logs" / "x.log"))) +
                ", \"name\": \"" + name + "\", \"comment\": " + entryComment + "}";
  manifest += "]}";
  std::string probe;
  if (ziptest::KeepDir().empty() && !zxsupport::RunFilter("python3 -c pass", "", probe))
    GTEST_SKIP() << "no python to run the model";
  EXPECT_EQ("", ziptest::CompareWithModel(manifest, U8(zip))) << manifest;
  EXPECT_EQ("", ziptest::JudgeArchive(U8(zip)));
}

// Name rules: the drive or "\\server" part goes, the backslash behind it stays;
// backslashes become slashes; a name that the drive rule empties is the source
// path as given. Text: code page 437 when name and comment both fit exactly,
// otherwise both in UTF-8 with flag 0x0800.
TEST(ZipWriter, EntryNamesAndTheirEncoding) {
  ScratchDir dir("zip_names");
  MakeFile(dir / "s.txt", "x");
  const std::u16string src = N(dir / "s.txt");
  struct Row {
    const char16_t* name;
    const char16_t* comment;
    std::string storedName;
    std::string storedComment;
    uint16_t flags;
  } rows[] = {
      {u"C:\\logs\\a.txt", nullptr, "/logs/a.txt", "", 0},
      {u"c:rel.txt", nullptr, "rel.txt", "", 0},
      {u"\\\\server\\share\\a.txt", nullptr, "/share/a.txt", "", 0},
      {u"logs\\a.txt", nullptr, "logs/a.txt", "", 0},
      {u"caf\u00e9\\\u00bd.txt", u"\u00e9t\u00e9", "caf\x82/\xab.txt", "\x82t\x82", 0},
      {u"plain.txt", u"\u20ac", "plain.txt", "\xe2\x82\xac", 0x0800},        // the comment forces UTF-8
      {u"\u0101.txt", u"caf\u00e9", "\xc4\x81.txt", "caf\xc3\xa9", 0x0800},   // best fit would lose the name
      {u"\U0001F600.txt", nullptr, "\xf0\x9f\x98\x80.txt", "", 0x0800},
  };
  const fs::path zip = dir / "names.zip";
  HZIPFILE h = UtilZIPCreate(W(N(zip)), nullptr);
  ASSERT_NE(h, nullptr);
  for (const Row& r : rows) EXPECT_EQ(0, UtilZIPAppend(h, W(src), r.comment ? W(r.comment) : nullptr, W(r.name)));
  EXPECT_EQ(0, UtilZIPAppend(h, W(src), nullptr, W(u"C:")));   // emptied: the source path as given
  ASSERT_EQ(0, UtilZIPClose(h));
  const ziptest::Archive a = ziptest::ReadArchive(ReadBytes(zip));
  ASSERT_TRUE(a.ok);
  ASSERT_EQ(a.entries.size(), std::size(rows) + 1);
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(a.entries[i].name, rows[i].storedName);
    EXPECT_EQ(a.entries[i].comment, rows[i].storedComment);
    EXPECT_EQ(a.entries[i].flags, rows[i].flags);
  }
  EXPECT_EQ(a.entries.back().name, U8(N(dir / "s.txt")));
  EXPECT_EQ("", ziptest::JudgeArchive(U8(zip)));
}

TEST(ZipWriter, EmptyFilesEmptyArchivesAndFields) {
  ScratchDir dir("zip_fields");
  MakeFile(dir / "empty", "");
  const fs::path zip = dir / "e.zip";
  HZIPFILE h = UtilZIPCreate(W(N(zip)), W(u"only a comment"));
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(0, UtilZIPAppend(h, W(N(dir / "empty")), nullptr, W(u"empty")));
  ASSERT_EQ(0, UtilZIPClose(h));
  const std::string bytes = ReadBytes(zip);
  const ziptest::Archive a = ziptest::ReadArchive(bytes);
  ASSERT_TRUE(a.ok);
  ASSERT_EQ(a.entries.size(), 1u);
  const auto& e = a.entries[0];
  EXPECT_EQ(e.method, 8);
  EXPECT_EQ(e.crc, 0u);
  EXPECT_EQ(e.size, 0u);
  EXPECT_EQ(e.compressedSize, 2u);
  EXPECT_EQ(e.versionMadeBy, 0x0A14);
  EXPECT_EQ(e.versionNeeded, 20);
  EXPECT_EQ(bytes.substr(30 + 5, 2), std::string("\x03\x00", 2));   // the empty deflate stream
  // 2021-06-15 10:20:30 local time in DOS form.
  EXPECT_EQ(e.date, ((2021 - 1980) << 9) | (6 << 5) | 15);
  EXPECT_EQ(e.time, (10 << 11) | (20 << 5) | 15);
  EXPECT_EQ(a.comment, "only a comment");

  // No entries: the end record and the comment, nothing else.
  h = UtilZIPCreate(W(N(zip)), W(u"c"));
  ASSERT_EQ(0, UtilZIPClose(h));
  EXPECT_EQ(ReadBytes(zip), std::string("PK\x05\x06\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x01\0c", 23));
}

TEST(ZipWriter, FailuresAndNullHandles) {
  ScratchDir dir("zip_fail");
  EXPECT_EQ(0, UtilZIPAppend(nullptr, W(u"x"), nullptr, nullptr));
  EXPECT_EQ(0, UtilZIPAppendList(nullptr, W(u"x"), nullptr, 1));
  EXPECT_EQ(0, UtilZIPClose(nullptr));
  EXPECT_EQ(nullptr, UtilZIPCreate(W(N(dir / "no" / "such" / "folder.zip")), nullptr));

  const fs::path zip = dir / "f.zip";
  HZIPFILE h = UtilZIPCreate(W(N(zip)), nullptr);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(-1, UtilZIPAppend(h, W(N(dir / "missing.txt")), nullptr, nullptr));
  ASSERT_EQ(0, UtilZIPClose(h));
  EXPECT_EQ(ziptest::ReadArchive(ReadBytes(zip)).entries.size(), 0u);

  // An archive that is never closed stays empty.
  MakeFile(dir / "a.txt", "data");
  {
    zx::clsZIPFile open;
    ASSERT_TRUE(open.Create(zx::String(N(dir / "dropped.zip")), zx::String()));
    EXPECT_EQ(0, open.Append(zx::String(N(dir / "a.txt")), zx::String(), zx::String()));
  }
  EXPECT_EQ(fs::file_size(dir / "dropped.zip"), 0u);
}

// The 4 GB limits, reached through the size seam: a source of exactly the limit
// passes and one byte more does not; a compressed result above it, or an archive
// that grows above it, fails with its ERR line.
TEST(ZipWriter, SizeLimitsFailClearly) {
  ScratchDir dir("zip_limits");
  MakeFile(dir / "100", std::string(100, 'a'));
  MakeFile(dir / "101", std::string(101, 'a'));
  MakeFile(dir / "noise", Noise(60));
  DiagCapture lines;
  zx::clsZIPFile zip;
  ASSERT_TRUE(zip.Create(zx::String(N(dir / "l.zip")), zx::String()));
  zip.SetSizeLimit(100);
  EXPECT_EQ(0, zip.Append(zx::String(N(dir / "100")), zx::String(), zx::String()));
  EXPECT_EQ(-2, zip.Append(zx::String(N(dir / "101")), zx::String(), zx::String()));
  EXPECT_EQ(1u, lines.CountEqual(u"ERR: source size > 4GB"));
  zip.SetSizeLimit(60);   // random bytes grow when deflated
  EXPECT_EQ(-2, zip.Append(zx::String(N(dir / "noise")), zx::String(), zx::String()));
  EXPECT_EQ(1u, lines.CountEqual(u"ERR: compressed size > 4GB"));
  EXPECT_EQ(-3, zip.Close());   // one entry in, but the archive is above 60 bytes
  EXPECT_EQ(1u, lines.CountEqual(u"ERR: ZIP file size > 4GB"));
  // The archive stays on disk as it was written.
  EXPECT_TRUE(ziptest::ReadArchive(ReadBytes(dir / "l.zip")).ok);
}

// More than 65,535 entries: the counts of the end record wrap without a message,
// and readers that follow the directory's size still find every entry.
TEST(ZipWriter, CountsWrapAbove65535Entries) {
  ScratchDir dir("zip_many");
  MakeFile(dir / "one", "1");
  const fs::path zip = dir / "many.zip";
  DiagCapture lines;
  zx::clsZIPFile writer;
  ASSERT_TRUE(writer.Create(zx::String(N(zip)), zx::String()));
  const zx::String src(N(dir / "one"));
  for (int i = 0; i < 65537; ++i) ASSERT_EQ(0, writer.Append(src, zx::String(), zx::String(std::u16string(u"e") + std::u16string(1, u'a' + i % 26))));
  ASSERT_EQ(0, writer.Close());
  EXPECT_EQ(lines.Size(), 0u);
  const ziptest::Archive a = ziptest::ReadArchive(ReadBytes(zip));
  ASSERT_TRUE(a.ok);
  EXPECT_EQ(a.countTotal, 1);
  EXPECT_EQ(a.countOnDisk, 1);
  EXPECT_EQ(a.entries.size(), 65537u);
  std::string out;
  if (zxsupport::RunFilter("python3 -c pass", "", out)) {
    ASSERT_TRUE(zxsupport::RunFilter("python3 -c \"import sys, zipfile; print(len(zipfile.ZipFile(sys.argv[1]).infolist()))\" '" + U8(zip) + "'", "", out));
    EXPECT_EQ(out, "65537\n");
  }
}

// Entries whose data goes to spill files: each file is closed once its data is
// in and removed when the archive is written. (Other programs of the test run may
// have spills of their own in the same folder: only this archive's are counted.)
TEST(ZipWriter, SpillFilesAreClosedAndRemoved) {
  ScratchDir dir("zip_spill");
  // Too large to wait in memory.
  for (int i = 0; i < 40; ++i) MakeFile(dir / "src" / ("f" + std::to_string(i)), Noise(100000, i));
  zx::clsZIPFile zip;
  ASSERT_TRUE(zip.Create(zx::String(N(dir / "s.zip")), zx::String()));
  zip.AppendList(zx::String(N(dir / "src")), zx::String(), 0);
  // The library's names (with "\\" on Linux too), asked through its file layer.
  auto exists = [](const zx::String& name) {
    plat::FileInfo info;
    return plat::FileInfoByName(name.wchar(), &info);
  };
  std::vector<zx::String> spills;
  WCPtrSListIter<zx::clsZIPFileEntry> it(zip);
  while (++it)
    if (!it.current()->spill.FileName().IsEmpty()) spills.push_back(it.current()->spill.FileName());
  ASSERT_EQ(spills.size(), 40u);
  for (const zx::String& p : spills) EXPECT_TRUE(exists(p)) << zxsupport::Ascii(p.View());
#ifndef _WIN32
  size_t fds = 0;
  for ([[maybe_unused]] const auto& e : fs::directory_iterator("/proc/self/fd")) ++fds;
  EXPECT_LT(fds, 20u);
#endif
  ASSERT_EQ(0, zip.Close());
  for (const zx::String& p : spills) EXPECT_FALSE(exists(p)) << zxsupport::Ascii(p.View());
  EXPECT_EQ(ziptest::ReadArchive(ReadBytes(dir / "s.zip")).entries.size(), 40u);
  EXPECT_EQ("", ziptest::JudgeArchive(U8(dir / "s.zip")));
}

// A write that fails at close: -3, the ERR line with the archive's name, and
// whatever was written stays.
TEST(ZipWriter, WriteFailureAtClose) {
  ScratchDir dir("zip_write");
  MakeFile(dir / "a", Mixed(300000));
  const fs::path zip = dir / "w.zip";
  zx::clsZIPFile writer;   // the fault seam reaches this program's copy of the writer
  ASSERT_TRUE(writer.Create(zx::String(N(zip)), zx::String()));
  ASSERT_EQ(0, writer.Append(zx::String(N(dir / "a")), zx::String(), zx::String()));
  DiagCapture lines;
  {
    plat::FileFaultPlan full(1000);
    EXPECT_EQ(-3, writer.Close());
  }
  // The file's own line comes first, then the writer's.
  const auto all = lines.Lines();
  ASSERT_GE(all.size(), 2u);
  EXPECT_EQ(all[0].rfind(u"clsFile(", 0), 0u);
  EXPECT_EQ(all.back().rfind(u"ERR: write error file '" + N(zip) + u"' (", 0), 0u);
}

}  // namespace
