// The shared library exports exactly the names of src/exports/exports.list:
// on Linux what `nm -D --defined-only` shows of libzxUT22.so, on Windows the
// export directory of zxUT22.dll as the loader sees it. Every name resolves.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

using Names = std::set<std::string>;

std::string Env(const char* name) {
  const char* v = std::getenv(name);
  return v ? v : "";
}

// The generated list (one name a line), as ctest passes it in ZXUT_EXPORTS.
Names ListedExports() {
  std::string path = Env("ZXUT_EXPORTS");
  EXPECT_FALSE(path.empty()) << "ZXUT_EXPORTS is not set (run through ctest)";
  std::ifstream in(path);
  EXPECT_TRUE(in.good()) << "cannot read " << path;
  Names names;
  for (std::string line; std::getline(in, line);) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    if (line.empty()) continue;
    EXPECT_TRUE(names.insert(line).second) << line << " is listed twice";
  }
  return names;
}

std::string Describe(const Names& a, const Names& b) {  // what a has that b lacks
  std::ostringstream s;
  for (const auto& n : a)
    if (!b.count(n)) s << ' ' << n;
  return s.str();
}

#ifdef _WIN32

const char* Rva(HMODULE m, DWORD rva) { return reinterpret_cast<const char*>(m) + rva; }

TEST(ExportTable, DllExportsExactlyTheList) {
  Names listed = ListedExports();
  ASSERT_FALSE(listed.empty());
  HMODULE dll = LoadLibraryW(L"zxUT22.dll");
  ASSERT_NE(dll, nullptr) << "LoadLibrary failed: " << GetLastError();

  auto dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(dll);
  ASSERT_EQ(dos->e_magic, IMAGE_DOS_SIGNATURE);
  auto nt = reinterpret_cast<const IMAGE_NT_HEADERS64*>(Rva(dll, dos->e_lfanew));
  ASSERT_EQ(nt->Signature, IMAGE_NT_SIGNATURE);
  ASSERT_EQ(nt->FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
  const IMAGE_DATA_DIRECTORY& dir = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  ASSERT_NE(dir.VirtualAddress, 0u) << "zxUT22.dll has no export directory";
  auto exp = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(Rva(dll, dir.VirtualAddress));

  EXPECT_STREQ(Rva(dll, exp->Name), "zxUT22.dll");
  // No export by ordinal alone: every function has its name.
  EXPECT_EQ(exp->NumberOfFunctions, exp->NumberOfNames);
  EXPECT_EQ(exp->NumberOfNames, listed.size());

  Names exported;
  auto names = reinterpret_cast<const DWORD*>(Rva(dll, exp->AddressOfNames));
  for (DWORD i = 0; i < exp->NumberOfNames; ++i) exported.insert(Rva(dll, names[i]));
  EXPECT_EQ(exported, listed) << "exported but not listed:" << Describe(exported, listed)
                              << "\nlisted but not exported:" << Describe(listed, exported);

  for (const auto& n : listed)
    EXPECT_NE(reinterpret_cast<void*>(GetProcAddress(dll, n.c_str())), nullptr) << n;
  FreeLibrary(dll);
}

#else

std::string SharedLibrary() {
  std::string bin = Env("ZXUT_TEST_BIN");
  EXPECT_FALSE(bin.empty()) << "ZXUT_TEST_BIN is not set (run through ctest)";
  return bin + "/libzxUT22.so";
}

// Defined dynamic symbols of a shared object, as `nm -D --defined-only` lists them.
Names DynamicSymbols(const std::string& so) {
  Names names;
  std::string cmd = "nm -D --defined-only '" + so + "' 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  EXPECT_NE(p, nullptr);
  if (!p) return names;
  char buf[4096];
  std::string out;
  while (std::fgets(buf, sizeof buf, p)) {
    out += buf;
    std::istringstream line(buf);
    std::string addr, type, name;
    if (line >> addr >> type >> name) names.insert(name);
  }
  EXPECT_EQ(pclose(p), 0) << cmd << ":\n" << out;
  return names;
}

TEST(ExportTable, SharedObjectExportsExactlyTheList) {
  Names listed = ListedExports();
  ASSERT_FALSE(listed.empty());
  std::string so = SharedLibrary();
  Names exported = DynamicSymbols(so);
  EXPECT_EQ(exported, listed) << "exported but not listed:" << Describe(exported, listed)
                              << "\nlisted but not exported:" << Describe(listed, exported);

  void* h = dlopen(so.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(h, nullptr) << dlerror();
  for (const auto& n : listed) EXPECT_NE(dlsym(h, n.c_str()), nullptr) << n;
  // No dlclose: the library's start-up objects stay reachable (no leak reports).
}

#endif

}  // namespace
