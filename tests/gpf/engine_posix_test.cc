// Linux: the outside tools agree with the engine. eu-addr2line on this live process
// names the same function, file and line for every frame of this program; the
// support archive passes unzip -t and python's zipfile, holds the dump and the
// recent logs only; lldb opens the dump and shows the requesting thread's frames.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <utime.h>
#include <vector>

#include "gpf/DebugLists.h"
#include "gpf_test_util.h"
#include "platform/compiler.h"
#include "zxUT22.h"

namespace {

namespace fs = std::filesystem;
using zxsupport::Ascii;
using zxsupport::RunFilter;

#define ZX_NO_TAIL_CALL() asm volatile("")

std::vector<DBGStackTraceItem> g_items;

extern "C" ZX_NOINLINE void GpfPosixInner(HDEBUGHELPJOB job) {
  IDBGStackTraceList* list = nullptr;
  ASSERT_NE(UtilDebugHelpGetStackTrace(job, &list, nullptr), 0);
  list->Reset();
  DBGStackTraceItem* item = nullptr;
  ULONG got = 0;
  while (list->Next(1, &item, &got) == 0) g_items.push_back(*item);
  list->Release();
  ZX_NO_TAIL_CALL();
}
extern "C" ZX_NOINLINE void GpfPosixOuter(HDEBUGHELPJOB job) {
  GpfPosixInner(job);
  ZX_NO_TAIL_CALL();
}

TEST(EnginePosix, Addr2lineAgreesOnFunctionFileAndLine) {
  HDEBUGHELPJOB job = UtilDebugHelpJobOpen();
  g_items.clear();
  GpfPosixOuter(job);
  UtilDebugHelpJobClose(job);
  int checked = 0;
  for (size_t i = 0; i < g_items.size(); ++i) {
    const DBGStackTraceItem& it = g_items[i];
    if (std::string(it.szModuleName) != "test_gpf" || !it.szFileName[0]) continue;
    char cmd[200];
    // Return addresses are looked up one byte back, inside the call.
    std::snprintf(cmd, sizeof cmd, "eu-addr2line -p %d -f -C 0x%llx", static_cast<int>(getpid()),
                  static_cast<unsigned long long>(it.qwAddress - (i == 0 ? 0 : 1)));
    std::string out;
    ASSERT_TRUE(RunFilter(cmd, "", out)) << cmd;
    const std::string function = out.substr(0, out.find('\n'));
    const std::string where = out.substr(out.find('\n') + 1);
    SCOPED_TRACE(out);
    EXPECT_NE(std::string(it.szUndFullName).find(function.substr(0, function.find('('))), std::string::npos);
    const std::string line = ":" + std::to_string(it.dwLineNumber);
    EXPECT_NE(where.find(fs::path(it.szFileName).filename().string() + line), std::string::npos);
    ++checked;
  }
  EXPECT_GE(checked, 2);
}

std::string Zipinfo(const std::string& archive) {
  std::string out;
  RunFilter("python3 -c 'import sys,zipfile\nz=zipfile.ZipFile(sys.argv[1])\nprint(z.comment.decode())\n"
            "for i in z.infolist(): print(i.filename, i.comment.decode(), i.file_size)' " + archive,
            "", out);
  return out;
}

extern "C" ZX_NOINLINE LONG GpfPosixDump(HDEBUGHELPJOB job, WCHAR* path) {
  const LONG r = UtilDebugHelpWriteMiniDump(job, path, 260, nullptr);
  ZX_NO_TAIL_CALL();
  return r;
}

TEST(EnginePosix, SupportArchiveHoldsTheDumpAndRecentLogsAndLldbOpensIt) {
  zxsupport::ScratchDir dir("gpf_archive");
  const fs::path temp = dir / "temp";
  fs::create_directories(temp);
  zxsupport::ScopedEnv env({{"TEMP", temp.c_str()}, {"APPDATA", dir.path().c_str()}, {"WINDIR", nullptr}});
  zxsupport::WriteBytes(temp / "TRAVUE.LOG", "recent viewer log");
  zxsupport::WriteBytes(dir / "ZARNIK.LOG", "old report log");
  const time_t old = std::time(nullptr) - 11 * 60;
  utimbuf times{old, old};
  ASSERT_EQ(utime((dir / "ZARNIK.LOG").c_str(), &times), 0);

  HDEBUGHELPJOB job = UtilDebugHelpJobOpen();
  WCHAR path[260];
  const std::u16string dump = zxsupport::U16((dir / "crash.dmp").string());
  std::copy(dump.begin(), dump.end(), path);
  path[dump.size()] = 0;
  ASSERT_EQ(GpfPosixDump(job, path), 1);
  UtilDebugHelpJobClose(job);
  const std::string archive = Ascii(reinterpret_cast<const char16_t*>(path));
  EXPECT_EQ(archive, (dir / "zarnik.dmp.zip").string());
  EXPECT_FALSE(fs::exists(dir / "crash.dmp"));   // packed, then deleted

  std::string out;
  EXPECT_TRUE(RunFilter("unzip -t " + archive, "", out)) << out;
  const std::string listing = Zipinfo(archive);
  EXPECT_EQ(listing.rfind("zarnik Crash Information File\nzarnik64.dmp DumpFile ", 0), 0u) << listing;
  EXPECT_NE(listing.find("\ntravue.log LogFile 17\n"), std::string::npos) << listing;
  EXPECT_EQ(listing.find("LogFile 14"), std::string::npos) << listing;   // the old log stays out

  // lldb reads the dump and unwinds the requesting thread into this test.
  ASSERT_TRUE(RunFilter("cd " + dir.path().string() + " && unzip -o -q zarnik.dmp.zip zarnik64.dmp && "
                        "lldb --batch -c zarnik64.dmp -o 'bt' 2>&1", "", out));
  EXPECT_NE(out.find("GpfPosixDump"), std::string::npos) << out;
  EXPECT_NE(out.find("test_gpf"), std::string::npos) << out;
}

}  // namespace
