#include "command.h"

#include <algorithm>
#include <cstdio>

#include "platform/errors.h"
#include "text.h"

namespace zxut {
namespace {

// Built on first use: commands add themselves from static initialisers of other files.
std::vector<Command>& Table() {
  static std::vector<Command> table;
  return table;
}

}  // namespace

bool AddCommand(const Command& command) {
  Table().push_back(command);
  return true;
}

const Command* FindCommand(std::string_view name) {
  for (const Command& c : Table())
    if (name == c.name) return &c;
  return nullptr;
}

std::vector<const Command*> Commands() {
  std::vector<const Command*> all;
  for (const Command& c : Table()) all.push_back(&c);
  std::sort(all.begin(), all.end(), [](const Command* a, const Command* b) {
    return std::string_view(a->name) < std::string_view(b->name);
  });
  return all;
}

int UsageError(const char* name, const char* why) {
  if (why) std::fprintf(stderr, "zxut %s: %s\n", name, why);
  const Command* c = FindCommand(name);
  std::fputs(c ? c->usage : "usage: zxut <command> [arguments]\n", stderr);
  return 2;
}

std::string SystemError(long code) {
  std::u16string text;
  std::string meaning = "no text for this number";
  if (plat::SystemErrorText(static_cast<uint32_t>(code), 0, text)) {
    while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' '))
      text.pop_back();
    meaning = Utf8(text);
  }
  return "error " + std::to_string(code) + " (" + meaning + ")";
}

}  // namespace zxut
