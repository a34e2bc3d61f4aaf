// Extraction of sound and hostile archives through the export and the internal
// function, on both targets (the archives and their manifests are in data/).
#include <gtest/gtest.h>

#include <stdexcept>

#include "extract_test_util.h"
#include "zip/Extract.h"
#include "zip/Unzipper.h"
#include "zxUT22.h"

namespace {

using namespace ziptest;
using zxsupport::ReadBytes;
using zxsupport::ScratchDir;
using zxsupport::WriteBytes;

zx::String Str(const fs::path& p) { return zx::String(std::u16string_view(Wide(p))); }

// What ExtractZip throws, "" when it does not.
std::string Thrown(const fs::path& archive, const fs::path& destination) {
  try {
    zx::ExtractZip(Str(archive), Str(destination));
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "";
}

TEST(Extract, ArchivesOfThreeToolsGiveTheirManifests) {
  for (const char* name : {"python_mixed", "python_cp437", "infozip", "sevenzip"}) {
    SCOPED_TRACE(name);
    ScratchDir scratch("zip_sound");
    EXPECT_EQ(ExtractExport(DataFile(std::string(name) + ".zip"), scratch / "out"), 1);
    EXPECT_EQ(TreeManifest(scratch / "out"), ReadBytes(DataFile(std::string(name) + ".manifest")));
  }
}

struct HostileCase {
  const char* archive;
  const char* error;     // the exact text
  const char* listing;   // what the scratch folder holds afterwards
};

TEST(Extract, HostileArchivesWriteNothingOutsideAndSayWhy) {
  const HostileCase cases[] = {
      // Names are checked before anything is written: not even the destination.
      {"slip_parent", " refusing internal file '../evil.txt' in zip: '..' component", ""},
      {"slip_nested", " refusing internal file 'a/b/../../../evil.txt' in zip: '..' component", ""},
      {"absolute", " refusing internal file '/tmp/zxut_zip_evil.txt' in zip: absolute path", ""},
      {"drive", " refusing internal file 'C:\\zxut_zip_evil.txt' in zip: drive letter or ':'", ""},
      {"backslash", " refusing internal file '..\\evil.txt' in zip: backslash in the name", ""},
      {"bad_central", "Error, couln't get the current entry info", ""},
      {"truncated", "Error loading zip file!", ""},
      // Damage in the second entry: the first stays, the second is removed.
      {"bad_crc", " closing internal file 'second.txt' in zip", "out\nout/first.txt\n"},
      {"short_size", " closing internal file 'second.txt' in zip", "out\nout/first.txt\n"},
      {"bad_data", " reading internal file 'second.txt' in zip", "out\nout/first.txt\n"},
      {"bad_local", " opening internal file 'second.txt' in zip", "out\nout/first.txt\n"},
      {"encrypted", " opening internal file 'secret.txt' in zip: encrypted entries are not supported", "out\n"},
  };
  for (const HostileCase& c : cases) {
    SCOPED_TRACE(c.archive);
    const fs::path archive = DataFile(std::string("hostile/") + c.archive + ".zip");
    {
      ScratchDir scratch("zip_hostile");
      zxsupport::DiagCapture diag;
      EXPECT_EQ(zx::ExtractZipReporting(Str(archive), Str(scratch / "out")), 0);
      EXPECT_EQ(diag.AsciiLines(), std::vector<std::string>{c.error});
      EXPECT_EQ(TreeListing(scratch.path()), c.listing);
    }
    {
      ScratchDir scratch("zip_hostile");
      EXPECT_EQ(Thrown(archive, scratch / "out"), c.error);
      EXPECT_EQ(TreeListing(scratch.path()), c.listing);
      EXPECT_EQ(ExtractExport(archive, scratch / "again"), 0);
    }
  }
  EXPECT_FALSE(fs::exists("/tmp/zxut_zip_evil.txt"));
}

TEST(Extract, MissingOrForeignArchive) {
  ScratchDir scratch("zip_missing");
  WriteBytes(scratch / "text.zip", "not an archive at all, but long enough to have an end record");
  WriteBytes(scratch / "empty.zip", "");
  for (const char* name : {"missing.zip", "text.zip", "empty.zip"}) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Thrown(scratch / name, scratch / "out"), "Error loading zip file!");
    zxsupport::DiagCapture diag;
    EXPECT_EQ(zx::ExtractZipReporting(Str(scratch / name), Str(scratch / "out")), 0);
    EXPECT_EQ(diag.AsciiLines(), std::vector<std::string>{"Error loading zip file!"});
    EXPECT_EQ(ExtractExport(scratch / name, scratch / "out"), 0);
    EXPECT_FALSE(fs::exists(scratch / "out"));
  }
  EXPECT_EQ(UtilExtractZip(nullptr, nullptr), 0);
}

TEST(Extract, OverwritesFilesAndKeepsOthers) {
  ScratchDir scratch("zip_overwrite");
  const fs::path out = scratch / "out";
  fs::create_directories(out / "docs");
  WriteBytes(out / "readme.txt", std::string(10000, 'x'));   // longer than the entry
  WriteBytes(out / "empty.txt", "not empty");
  WriteBytes(out / "docs" / "keep.txt", "mine");
  ASSERT_EQ(ExtractExport(DataFile("python_mixed.zip"), out), 1);
  fs::remove(out / "docs" / "keep.txt");
  EXPECT_EQ(TreeManifest(out), ReadBytes(DataFile("python_mixed.manifest")));
  // A second run over its own result changes nothing.
  ASSERT_EQ(ExtractExport(DataFile("python_mixed.zip"), out), 1);
  EXPECT_EQ(TreeManifest(out), ReadBytes(DataFile("python_mixed.manifest")));
}

TEST(Extract, DestinationForms) {
  ScratchDir scratch("zip_dest");
  // Missing parents are made; a trailing separator changes nothing.
  for (const fs::path& dest : {scratch / "a" / "b" / "c", fs::path(Wide(scratch / "d") + u"/"),
                               fs::path(Wide(scratch / "e") + u"\\")}) {
    SCOPED_TRACE(Utf8(dest));
    EXPECT_EQ(ExtractExport(DataFile("infozip.zip"), dest), 1);
  }
  for (const char* leaf : {"a/b/c", "d", "e"})
    EXPECT_EQ(TreeManifest(scratch / leaf), ReadBytes(DataFile("infozip.manifest")));
  // No destination at all is no current folder.
  zxsupport::DiagCapture diag;
  EXPECT_EQ(zx::ExtractZipReporting(Str(DataFile("infozip.zip")), zx::String()), 0);
  EXPECT_EQ(diag.AsciiLines(), std::vector<std::string>{" creating folder '' (error 3)"});
}

TEST(Extract, FileWhereAFolderMustGoStopsThere) {
  ScratchDir scratch("zip_blocked");
  const fs::path out = scratch / "out";
  fs::create_directories(out);
  WriteBytes(out / "sub", "a file, not a folder");
  EXPECT_EQ(Thrown(DataFile("infozip.zip"), out).rfind(" creating file '", 0), 0u);
  EXPECT_EQ(ReadBytes(out / "sub"), "a file, not a folder");
}

TEST(Extract, NonAsciiDestinationAndArchivePath) {
  ScratchDir scratch("zip_wide");
  const fs::path dir = scratch.path() / fs::path(u8"Ärchiv ñ 日本");
  fs::create_directories(dir);
  fs::copy_file(DataFile("sevenzip.zip"), dir / fs::path(u8"ä.zip"));
  EXPECT_EQ(ExtractExport(dir / fs::path(u8"ä.zip"), dir / fs::path(u8"zïel")), 1);
  EXPECT_EQ(TreeManifest(dir / fs::path(u8"zïel")), ReadBytes(DataFile("sevenzip.manifest")));
}

}  // namespace

namespace {

// What the library's writer packs, its extraction gives back: names in code page
// 437 and in UTF-8, folders, empty files, more than one block of data.
TEST(Extract, WhatTheWriterPacksComesBack) {
  ScratchDir scratch("zip_roundtrip");
  const fs::path tree = scratch / "tree";
  fs::create_directories(tree / fs::path(u8"Grüße") / "deep");
  fs::create_directories(tree / "hollow");
  WriteBytes(tree / "empty.txt", "");
  WriteBytes(tree / fs::path(u8"Grüße") / fs::path(u8"naïve.txt"), "code page 437");
  WriteBytes(tree / fs::path(u8"Grüße") / "deep" / fs::path(u8"日本語 ā.txt"), "UTF-8");
  std::string big(600000, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>((i * 2654435761u) >> 13);
  WriteBytes(tree / "big.bin", big);

  const fs::path archive = scratch / "packed.zip";
  const std::u16string a = Wide(archive), t = Wide(tree);
  HZIPFILE zip = UtilZIPCreate(reinterpret_cast<LPCWSTR>(a.c_str()), nullptr);
  ASSERT_NE(zip, nullptr);
  UtilZIPAppendList(zip, reinterpret_cast<LPCWSTR>(t.c_str()), nullptr, ZXUT_ZIP_RECURSE);
  ASSERT_EQ(UtilZIPClose(zip), 0);

  ASSERT_EQ(ExtractExport(archive, scratch / "out"), 1);
  EXPECT_EQ(TreeManifest(scratch / "out"), TreeManifest(tree));

  // An archive without entries (minizip opens none) extracts to an empty folder,
  // and its comment is read; an end record that announces entries is not empty.
  HZIPFILE none = UtilZIPCreate(reinterpret_cast<LPCWSTR>(a.c_str()), reinterpret_cast<LPCWSTR>(u"nothing here"));
  ASSERT_EQ(UtilZIPClose(none), 0);
  EXPECT_EQ(zipper::Unzipper(Str(archive)).comment(), "nothing here");
  EXPECT_EQ(ExtractExport(archive, scratch / "none"), 1);
  EXPECT_TRUE(fs::is_directory(scratch / "none") && fs::is_empty(scratch / "none"));
  std::string bytes = ReadBytes(archive);
  bytes[10] = 1;   // one entry in all, but no directory
  WriteBytes(archive, bytes);
  EXPECT_EQ(Thrown(archive, scratch / "none2"), "Error loading zip file!");
}

}  // namespace
