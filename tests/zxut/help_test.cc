// The tool's conventions: help on standard output with status 0, a wrong argument
// with the usage on standard error and status 2, failures naming the file and the
// code with its meaning.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "zxut_test_util.h"

using zxuttest::Lf;
using zxuttest::Zxut;

namespace {

// The command names that `zxut --help` lists.
std::vector<std::string> ListedCommands() {
  const zxuttest::Run run = Zxut({"--help"});
  std::istringstream in(Lf(run.out));
  std::vector<std::string> names;
  bool inList = false;
  for (std::string line; std::getline(in, line);) {
    if (line == "commands:") inList = true;
    else if (line.empty()) inList = false;
    else if (inList) names.push_back(line.substr(2, line.find(' ', 2) - 2));
  }
  return names;
}

}  // namespace

TEST(ZxutHelp, EveryCommandPrintsItsUsageOnStandardOutput) {
  const std::vector<std::string> names = ListedCommands();
  for (const char* known : {"pack", "prof", "reg", "unpack", "version", "viewer"})
    EXPECT_NE(std::find(names.begin(), names.end(), known), names.end()) << known;
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
    const std::vector<std::vector<std::string>> asks = {{"help", name}, {name, "--help"}, {name, "-h"}};
    std::string first;
    for (const auto& args : asks) {
      const zxuttest::Run run = Zxut(args);
      EXPECT_EQ(run.status, 0);
      EXPECT_EQ(Lf(run.out).rfind("usage: zxut " + name, 0), 0u) << run.out;
      EXPECT_EQ(run.err, "");
      if (first.empty()) first = run.out;
      EXPECT_EQ(run.out, first);   // one text, however it is asked for
    }
  }
  for (const char* overview : {"--help", "help", "-h"}) {
    const zxuttest::Run run = Zxut({overview});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(Lf(run.out).rfind("usage: zxut <command>", 0), 0u);
  }
}

TEST(ZxutHelp, WrongArgumentsGiveTheUsageOnStandardErrorAndStatus2) {
  const struct {
    std::vector<std::string> args;
    const char* usage;   // the start of the usage printed
  } cases[] = {
      {{}, "usage: zxut <command>"},
      {{"no-such-command"}, "usage: zxut <command>"},
      {{"help", "no-such-command"}, "usage: zxut <command>"},
      {{"version", "extra"}, "usage: zxut version"},
      {{"viewer", "--no-such-option"}, "usage: zxut viewer"},
      {{"viewer", "--count"}, "usage: zxut viewer"},
      {{"viewer", "--count", "ten"}, "usage: zxut viewer"},
      {{"prof", "show"}, "usage: zxut prof"},
      {{"prof", "convert", "a", "b", "--format", "pdf"}, "usage: zxut prof"},
      {{"pack"}, "usage: zxut pack"},
      {{"pack", "--no-such-option", "x"}, "usage: zxut pack"},
      {{"unpack", "only-one"}, "usage: zxut unpack"},
      {{"reg", "list"}, "usage: zxut reg"},
      {{"reg", "get", "HKXX\\x", "n"}, "usage: zxut reg"},
      {{"reg", "frobnicate", "HKCU\\x"}, "usage: zxut reg"},
      {{"reg", "set", "HKCU\\x", "n"}, "usage: zxut reg"},
  };
  for (const auto& c : cases) {
    std::string all;
    for (const auto& a : c.args) all += a + " ";
    SCOPED_TRACE(all);
    const zxuttest::Run run = Zxut(c.args);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_NE(Lf(run.err).find(c.usage), std::string::npos) << run.err;
  }
}

// A failure names the file and gives the code with its meaning; status 1.
TEST(ZxutHelp, FailuresNameTheFileAndTheCode) {
  const struct {
    std::vector<std::string> args;
    std::string message;
  } cases[] = {
      {{"pack", "no-such-file.bin"}, "zxut pack: cannot open 'no-such-file.bin': " + zxuttest::SystemError(2)},
      {{"unpack", "no-such-file.txt", "out.bin"},
       "zxut unpack: cannot open 'no-such-file.txt': " + zxuttest::SystemError(2)},
      {{"prof", "show", "no-such-file.prof"},
       "zxut prof: cannot load 'no-such-file.prof': error -1 (the file could not be opened for reading)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[0]);
    const zxuttest::Run run = Zxut(c.args);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Lf(run.err), c.message + "\n");
  }
}
