// Runs the built `zxut` as a child process: its standard output, standard error
// and exit status. Under wine the child is zxut.exe beside the test program.
#pragma once
#include <string>
#include <vector>

namespace zxuttest {

struct Run {
  int status = -1;   // the exit status; -1 when it did not end normally
  std::string out, err;
};

// Runs zxut with the arguments (UTF-8) in the current environment.
Run Zxut(const std::vector<std::string>& args);

// The Windows line ends of a program's output turned into "\n".
std::string Lf(std::string text);

// "error 2 (<the system's text for 2>)", as the tool reports a system error.
std::string SystemError(long code);

}  // namespace zxuttest
