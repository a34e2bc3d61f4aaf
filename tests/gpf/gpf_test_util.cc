#include "gpf_test_util.h"

#include <cstdio>
#include <regex>

#include "debug/DebugChannel.h"

namespace zxtest {

LogCapture::LogCapture() : path_(zxsupport::TempPath("gpf_log")) {
  zx::DebugChannel()->SetLogFile(zx::String(std::u16string_view(zxsupport::U16(path_))), true);
}

LogCapture::~LogCapture() {
  zx::DebugChannel()->SetLogFile(zx::String(), false);
  std::remove(path_.c_str());
}

std::vector<std::string> LogMessages(const std::string& path) {
  // [tag: ] time thread/processor digit, then the indented text.
  static const std::regex prefix(R"(^(?:\S+ *: )?(?:\d\d:)?\d\d:\d\d\.\d{3} [0-9a-f]{8}/[0-9a-f]{2} \d +)");
  std::vector<std::string> out;
  for (const std::u16string& text : zxsupport::ReadUtf16Lines(path)) {
    std::string line = zxsupport::Ascii(text);
    std::smatch m;
    if (std::regex_search(line, m, prefix)) line = line.substr(m.length(0));
    out.push_back(line);
  }
  return out;
}

std::vector<std::string> LogCapture::Messages() const { return LogMessages(path_); }

size_t LogCapture::Count(const std::string& text) const {
  size_t n = 0;
  for (const std::string& m : Messages()) n += m.find(text) != std::string::npos;
  return n;
}

}  // namespace zxtest

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif
#include <cstdlib>
#include <fstream>

namespace zxtest {

namespace {

void SetEnv(const std::string& assignment, std::vector<std::pair<std::string, std::string>>* undo) {
  const size_t eq = assignment.find('=');
  const std::string name = assignment.substr(0, eq), value = assignment.substr(eq + 1);
  const char* old = std::getenv(name.c_str());
  if (undo) undo->push_back({name, old ? std::string("=") + old : std::string()});
#ifdef _WIN32
  _putenv_s(name.c_str(), value.c_str());
  SetEnvironmentVariableA(name.c_str(), value.empty() ? nullptr : value.c_str());   // what a child inherits
#else
  if (value.empty()) unsetenv(name.c_str());
  else setenv(name.c_str(), value.c_str(), 1);
#endif
}

}  // namespace

ChildEnd RunSelf(const std::string& test, const std::vector<std::string>& env) {
  std::vector<std::pair<std::string, std::string>> undo;
  for (const std::string& e : env) SetEnv(e, &undo);
  ChildEnd end;
#ifdef _WIN32
  wchar_t self[MAX_PATH];
  GetModuleFileNameW(nullptr, self, MAX_PATH);
  std::wstring cmd = L"\"" + std::wstring(self) + L"\" --gtest_filter=" + std::wstring(test.begin(), test.end());
  // The child's output goes nowhere: the system's report of its crash would read as
  // a crash of this program.
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE null = CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                            OPEN_EXISTING, 0, nullptr);
  STARTUPINFOW si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdInput = si.hStdOutput = si.hStdError = null;
  PROCESS_INFORMATION pi{};
  const BOOL started = CreateProcessW(nullptr, cmd.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi);
  CloseHandle(null);
  if (started) {
    WaitForSingleObject(pi.hProcess, 300000);
    DWORD code = 0;
    GetExitCodeProcess(pi.hProcess, &code);
    end.exited = true;
    end.code = static_cast<int>(code);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
  }
#else
  const std::string filter = "--gtest_filter=" + test;
  pid_t pid = fork();
  if (pid == 0) {
    execl("/proc/self/exe", "test_gpf", filter.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  end.exited = WIFEXITED(status);
  end.code = end.exited ? WEXITSTATUS(status) : 0;
  end.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
#endif
  for (auto it = undo.rbegin(); it != undo.rend(); ++it) SetEnv(it->first + (it->second.empty() ? "=" : it->second), nullptr);
  return end;
}

void WriteHive(const std::string& dir, const std::string& hive, const std::string& text) {
  std::ofstream f(dir + "/" + hive + ".reg", std::ios::binary);
  f << "Windows Registry Editor Version 5.00\r\n\r\n" << text;
}

}  // namespace zxtest
