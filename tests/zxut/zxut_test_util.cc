#include "zxut_test_util.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "platform/errors.h"
#include "support/support_test_util.h"

namespace zxuttest {
namespace {

#ifdef _WIN32

std::wstring Wide(const std::string& s) {
  std::wstring out(s.size(), L'\0');
  const int n = MultiByteToWideChar(CP_UTF8, 0, s.data(), static_cast<int>(s.size()), out.data(),
                                    static_cast<int>(out.size()));
  out.resize(n > 0 ? n : 0);
  return out;
}

// One argument as CommandLineToArgvW reads it back: quoted, backslashes doubled
// before a quote.
void AppendQuoted(std::wstring& line, const std::wstring& arg) {
  line += L" \"";
  size_t slashes = 0;
  for (wchar_t c : arg) {
    if (c == L'\\') {
      ++slashes;
      continue;
    }
    line.append(c == L'"' ? 2 * slashes + 1 : slashes, L'\\');
    slashes = 0;
    line += c;
  }
  line.append(2 * slashes, L'\\');
  line += L'"';
}

int Spawn(const std::vector<std::string>& args, const std::string& outPath, const std::string& errPath) {
  wchar_t self[MAX_PATH];
  const DWORD n = GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring tool(self, n);
  tool = tool.substr(0, tool.find_last_of(L"\\/") + 1) + L"zxut.exe";
  std::wstring line = L"\"" + tool + L"\"";
  for (const std::string& a : args) AppendQuoted(line, Wide(a));
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE in = CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, OPEN_EXISTING, 0, nullptr);
  HANDLE out = CreateFileW(Wide(outPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  HANDLE err = CreateFileW(Wide(errPath).c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit, CREATE_ALWAYS, 0, nullptr);
  STARTUPINFOW si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdInput = in;
  si.hStdOutput = out;
  si.hStdError = err;
  PROCESS_INFORMATION pi{};
  int status = -1;
  if (CreateProcessW(tool.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi)) {
    DWORD code = 0;
    if (WaitForSingleObject(pi.hProcess, 120000) == WAIT_OBJECT_0 && GetExitCodeProcess(pi.hProcess, &code))
      status = static_cast<int>(code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
  for (HANDLE h : {in, out, err})
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
  return status;
}

#else

int Spawn(const std::vector<std::string>& args, const std::string& outPath, const std::string& errPath) {
  const char* bin = std::getenv("ZXUT_TEST_BIN");
  const std::string tool = std::string(bin && *bin ? bin : ".") + "/zxut";
  std::vector<char*> argv{const_cast<char*>(tool.c_str())};
  for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (in < 0 || out < 0 || err < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(err, 2) < 0) _exit(127);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) return WEXITSTATUS(status);
  return -1;
}

#endif

}  // namespace

Run Zxut(const std::vector<std::string>& args) {
  const std::string outPath = zxsupport::TempPath("zxut_out"), errPath = zxsupport::TempPath("zxut_err");
  Run run;
  run.status = Spawn(args, outPath, errPath);
  run.out = zxsupport::ReadBytes(outPath);
  run.err = zxsupport::ReadBytes(errPath);
  std::remove(outPath.c_str());
  std::remove(errPath.c_str());
  return run;
}

std::string Lf(std::string text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i)
    if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')) out += text[i];
  return out;
}

std::string SystemError(long code) {
  std::u16string text;
  EXPECT_TRUE(plat::SystemErrorText(static_cast<uint32_t>(code), 0, text));
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' ')) text.pop_back();
  return "error " + std::to_string(code) + " (" + zxsupport::Ascii(text) + ")";
}

}  // namespace zxuttest
