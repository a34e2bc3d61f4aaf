// The small exports: flags, the error line, the stack and module listings, client
// module lines, string length, the pointer tests and the CBT hook.
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "module_test_util.h"
#include "core/identity/Identity.h"
#include "module/ModuleUtils.h"
#include "module/StackRecord.h"
#include "module/TraceScope.h"
#include "platform/debugout.h"
#include "platform/locale.h"
#include "platform/process.h"
#include "platform/version_info.h"
#include "zxUT22.h"

namespace {

using zxsupport::Ascii;
using zxtest::DebugCapture;

std::string Upper(std::string s) {
  for (char& c : s)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
  return s;
}

TEST(UtilsTest, FlagsFollowDebugOutput) {
  EXPECT_EQ(zx::ModuleFlags(), 0);
  DebugCapture cap;
  EXPECT_EQ(zx::ModuleFlags(), 1);
}

TEST(UtilsTest, ErrorLinesHaveTheEmptyModuleTag) {
  zx::ErrorLine(u"Quiet", u"nobody listens", u"-");
  DebugCapture cap;
  zx::ErrorLine(u"Func", u"Reason", u"Detail");
  zx::ErrorLineBuffer(u"Path", u"too small", reinterpret_cast<void*>(0x123456789), 122);
  auto m = cap.Messages();
  ASSERT_EQ(m.size(), 2u);
  EXPECT_EQ(m[0], "\nZR32UTIL['']: error in 'Func' (Reason): Detail\n");
  EXPECT_EQ(m[1], "\nZR32UTIL['']: error in 'Path': too small\n ptr=0x23456789\n err=122\n");
}

TEST(UtilsTest, StackTraceNamesTheModulesOfTheCallers) {
  DebugCapture cap;
  zx::PrintStackTrace(0);
  auto m = cap.Messages();
  ASSERT_GE(m.size(), 3u);
  EXPECT_EQ(m.front(), "\n");
  EXPECT_EQ(m.back(), "\n");
  const std::string self = Ascii(plat::ExecutablePath());
  EXPECT_EQ(m[1], " [called by " + self + "]");
  EXPECT_LE(m.size(), 22u);
  cap.Clear();
  zx::PrintStackTrace(257);
  EXPECT_TRUE(cap.Messages().empty()) << "a skip above 256 prints nothing";
  cap.Clear();
  zx::PrintStackTrace(256);
  EXPECT_EQ(cap.Messages().size(), 2u) << "skipping every frame leaves the opening and closing lines";
}

TEST(UtilsTest, ModuleListShowsTheProgramAndTheLibrary) {
  DebugCapture cap;
  zx::ListModules();
  auto trace = cap.TraceMessages();
  ASSERT_GE(trace.size(), 3u);
  EXPECT_EQ(trace[0], "Memory image addresses of modules:");
  std::regex line(R"(^ 0x[0-9a-f]{8}-0x[0-9a-f]{8}: (.+)$)");
  bool program = false, library = false;
  for (size_t i = 1; i < trace.size(); ++i) {
    std::smatch m;
    ASSERT_TRUE(std::regex_match(trace[i], m, line)) << trace[i];
    program |= m[1] == Ascii(plat::ExecutablePath());
    library |= m[1].str().find("zxUT22") != std::string::npos;
  }
  EXPECT_TRUE(program);
  EXPECT_TRUE(library);
}

TEST(UtilsTest, StackRecordsPrintTheModulesOfTheirEntries) {
  DebugCapture cap;
  zx::scStackRecord* record = zx::CaptureStackRecord(0);
  ASSERT_NE(record, nullptr);
  record->entries[29].address = 0;
  zx::PrintStackRecord(record, u"Heap allocation");
  zx::ReleaseStackRecord(record);
  auto trace = cap.TraceMessages();
  ASSERT_GE(trace.size(), 2u);
  EXPECT_EQ(trace[0], "Heap allocation stack trace:");
  EXPECT_EQ(trace[1], "  [called by " + Ascii(plat::ExecutablePath()) + "]");
  EXPECT_EQ(zx::TraceLevel(), 0);
}

TEST(UtilsTest, ClientModuleLinesCarryVersionAndPaths) {
  DebugCapture cap;
  zx::ModuleOnAttach(u"/opt/Client/lib/client.so");
  zx::ModuleOnDetach(u"/opt/Client/lib/client.so");
  const std::string process = Ascii(zx::Identity().processPath.wchar());
  EXPECT_EQ(process, Upper(Ascii(plat::ExecutablePath())));
  auto m = cap.Messages();
  ASSERT_EQ(m.size(), 2u);
  EXPECT_EQ(m[0], "++CLIENT.SO <no version info> [" + process + "] [/OPT/CLIENT/LIB/]");
  EXPECT_EQ(m[1], "--CLIENT.SO <no version info> [" + process + "]");
  // This copy's own module: its version when it has one.
  const std::u16string library = plat::LibraryPath();
  std::u16string fileVersion, build;
  const std::string text = Ascii(zx::ModuleVersionText(library.c_str()).wchar());
  if (plat::ModuleVersionStrings(library.c_str(), &fileVersion, &build))
    EXPECT_EQ(text, Upper(Ascii(library)) + " " + Ascii(fileVersion) + (build.empty() ? "" : " " + Ascii(build)));
  else
    EXPECT_EQ(text, Upper(Ascii(zx::FileNameOfPath(zx::String(std::u16string_view(library))).wchar())) +
                        " <no version info>");
}

TEST(UtilsTest, IdentityStringsDescribeProcessAndLibrary) {
  const zx::scIdentity& id = zx::Identity();
  const std::string path = Ascii(id.processPath.wchar());
  const std::string file = Ascii(id.processFileName.wchar());
  EXPECT_EQ(path, Ascii(id.processFolder.wchar()) + file);
  EXPECT_EQ(Ascii(id.processBaseName.wchar()), "TEST_MODULE");
  EXPECT_EQ(file.rfind("TEST_MODULE", 0), 0u);
  EXPECT_EQ(Ascii(id.libraryBaseName.wchar()), "TEST_MODULE") << "this copy lives in the program";
  EXPECT_EQ(id.windowsVersion, plat::SystemVersion());
  EXPECT_EQ(id.session, 0u);
  EXPECT_EQ(Ascii(zx::BaseNameOfFile(zx::String(u"A.B.DLL")).wchar()), "A.B");
  // A library's base name leaves out a shared object's version.
  const struct {
    const char16_t *file, *base;
  } libraries[] = {{u"LIBZXUT22.SO.22", u"LIBZXUT22"}, {u"LIBZXUT22.SO.22.5", u"LIBZXUT22"},
                   {u"libzxUT22.so", u"libzxUT22"},   {u"ZXUT22.DLL", u"ZXUT22"},
                   {u"A.B.DLL", u"A.B"},               {u"LIBX.SO.1A", u"LIBX.SO"},
                   {u"LIBX.22", u"LIBX"},              {u"SO.1", u"SO"}};
  for (const auto& l : libraries)
    EXPECT_EQ(Ascii(zx::BaseNameOfLibrary(zx::String(l.file)).wchar()), Ascii(l.base)) << Ascii(l.file);
  EXPECT_EQ(Ascii(zx::FolderOfPath(zx::String(u"C:\\X\\Y.EXE")).wchar()), "C:\\X\\");
}

TEST(UtilsTest, SmallExports) {
  EXPECT_EQ(UtilSafeStrlen(nullptr, reinterpret_cast<LPCWSTR>(u"abc")), 3u);
  EXPECT_EQ(UtilSafeStrlen(nullptr, nullptr), 0u);
  EXPECT_EQ(UtilIsRPtr(nullptr, 0), 1);
  EXPECT_EQ(UtilIsWPtr(reinterpret_cast<void*>(1), 100), 1);
  EXPECT_EQ(UtilIsString(nullptr), 1);
  EXPECT_EQ(UtilGetVersion(4), -1);
  UtilStackTrace(nullptr, 0);   // silent while nobody listens in the library's copy
  UtilListModules();
  UtilError(reinterpret_cast<LPCWSTR>(u"F"), reinterpret_cast<LPCWSTR>(u"R"), nullptr, nullptr,
            reinterpret_cast<LPCWSTR>(u"D"));
}

void ZXUT_API Cbt(int, uintptr_t, intptr_t, BOOL, intptr_t*) {}

TEST(UtilsTest, CbtHookOnLinuxCannotBeInstalledButCanBeRemoved) {
#ifndef _WIN32
  if (plat::DebuggerPresent()) {
    EXPECT_NE(UtilSetCBTHook(&Cbt), 0);
    return;
  }
  EXPECT_EQ(UtilSetCBTHook(&Cbt), 0);
  EXPECT_EQ(UtilSetCBTHook(nullptr), 1);
#else
  EXPECT_EQ(UtilSetCBTHook(&Cbt), 1);
  EXPECT_EQ(UtilSetCBTHook(nullptr), 1);
#endif
}

}  // namespace
