// The tool's commands and their help. Each command's file adds itself to the table
// with one line, its usage text written once:
//
//   const bool kAdded = zxut::AddCommand({"pack", "print FILE as packed text", kPackUsage, &RunPack});
//
// main.cc then answers `zxut --help`, `zxut help pack` and `zxut pack --help` with
// that text on standard output (status 0); a command calls UsageError for a wrong
// argument (the text on standard error, status 2).
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace zxut {

struct Command {
  const char* name;
  const char* summary;   // one line of `zxut --help`
  const char* usage;     // the whole help text, starting "usage: zxut <name> ..."
  int (*run)(int argc, char** argv);   // the arguments after the command's name
};

// Adds a command (during static initialisation); returns true.
bool AddCommand(const Command& command);
const Command* FindCommand(std::string_view name);
// Every command, sorted by name.
std::vector<const Command*> Commands();

// Prints "zxut <name>: <why>" (when given) and the command's usage to standard
// error; returns 2, the status of a wrong argument.
int UsageError(const char* name, const char* why = nullptr);

// "error 5 (Access is denied.)": a Windows error number with the system's text.
std::string SystemError(long code);

}  // namespace zxut
