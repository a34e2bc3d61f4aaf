// Finding files by pattern and the times and attributes of an open file: the same
// table on Linux and on Windows, where the system's own calls give the answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/errors.h"
#include "platform/file.h"
#include "platform/timestamp.h"
#include "support/support_test_util.h"

namespace {

namespace fs = std::filesystem;
using namespace plat;

std::vector<std::string> Find(const fs::path& pattern, uint32_t* error = nullptr) {
  FileFinder finder(pattern.u16string().c_str());
  std::vector<std::string> names;
  FindEntry e;
  while (finder.Next(&e)) names.push_back(zxsupport::Ascii(e.name));
  if (error) *error = LastError();
  std::sort(names.begin(), names.end());
  return names;
}

TEST(FileFinder, PatternsMatchAsOnWindows) {
  zxsupport::ScratchDir dir("find");
  for (const char* n : {"a.txt", "B.TXT", "c.txt.bak", "noext", "d1.log", "d22.log"})
    zxsupport::WriteBytes(dir / n, "x");
  fs::create_directories(dir / "sub");
  using V = std::vector<std::string>;
  const V all = {".", "..", "B.TXT", "a.txt", "c.txt.bak", "d1.log", "d22.log", "noext", "sub"};
  EXPECT_EQ(Find(dir.path() / "*.*"), all);   // also names without a dot
  EXPECT_EQ(Find(dir.path() / "*"), all);
  EXPECT_EQ(Find(dir.path() / "*.txt"), V({"B.TXT", "a.txt"}));   // case does not matter
  EXPECT_EQ(Find(dir.path() / "d?.log"), V({"d1.log"}));
  EXPECT_EQ(Find(dir.path() / "noext"), V({"noext"}));             // a name finds itself

  uint32_t error = 0;
  EXPECT_TRUE(Find(dir.path() / "*.none", &error).empty());
  EXPECT_EQ(error, kErrFileNotFound);
  EXPECT_TRUE(Find(dir.path() / "missing" / "*.*", &error).empty());
  EXPECT_EQ(error, kErrPathNotFound);
  EXPECT_EQ(Find(dir.path() / "*.txt", &error).size(), 2u);
  EXPECT_EQ(error, kErrNoMoreFiles);

  FileFinder finder((dir.path() / "sub").u16string().c_str());
  FindEntry e;
  ASSERT_TRUE(finder.Next(&e));
  EXPECT_TRUE(e.info.attributes & kAttrDirectory);
  FileInfo info;
  ASSERT_TRUE(FileInfoByFind((dir.path() / "d*.log").u16string().c_str(), &info));
  EXPECT_EQ(info.size, 1u);
}

TEST(FileInfoByHandle, AgreesWithTheName) {
  zxsupport::ScratchDir dir("byhandle");
  zxsupport::WriteBytes(dir / "f", std::string(1234, 'x'));
  const std::u16string name = (dir / "f").u16string();
  FileHandle h = FileOpen(name.c_str(), kGenericRead, kShareRead, kOpenExisting, kAttrNormal);
  ASSERT_TRUE(IsValidFile(h));
  FileInfo byHandle, byName;
  ASSERT_TRUE(FileInfoByHandle(h, &byHandle));
  ASSERT_TRUE(FileInfoByName(name.c_str(), &byName));
  FileClose(h);
  EXPECT_EQ(byHandle.size, 1234u);
  EXPECT_EQ(byHandle.lastWrite, byName.lastWrite);
  EXPECT_EQ(byHandle.attributes & ~kAttrHidden, byName.attributes & ~kAttrHidden);
  EXPECT_FALSE(FileInfoByHandle(InvalidFile(), &byHandle));
}

// A file time read back as local time: the C library's local time of the same
// moment, field by field.
TEST(FileTimeToLocal, GivesTheLocalTimeOfTheMoment) {
  const int64_t unixSeconds = 1623752430;   // 2021-06-15 10:20:30 UTC
  const uint64_t fileTime = (static_cast<uint64_t>(unixSeconds) + 11644473600ull) * 10000000ull + 1230000;
  SystemTime t{};
  ASSERT_TRUE(FileTimeToLocal(fileTime, &t));
  const time_t secs = static_cast<time_t>(unixSeconds);
  const std::tm* local = std::localtime(&secs);
  EXPECT_EQ(t.year, local->tm_year + 1900);
  EXPECT_EQ(t.month, local->tm_mon + 1);
  EXPECT_EQ(t.day, local->tm_mday);
  EXPECT_EQ(t.hour, local->tm_hour);
  EXPECT_EQ(t.minute, local->tm_min);
  EXPECT_EQ(t.second, 30);
  EXPECT_EQ(t.milliseconds, 123);
}

}  // namespace
