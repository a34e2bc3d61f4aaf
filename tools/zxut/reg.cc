// zxut reg: list, read and change registry values. On Linux these are the store's
// .reg files (platform/registry.h), edited under their lock file and replaced
// atomically; a file with a line the store does not understand is not rewritten.
// On Windows it is the registry itself.
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "platform/errors.h"
#include "platform/registry.h"
#include "text.h"

namespace {

constexpr char kUsage[] =
    "usage: zxut reg list KEY\n"
    "       zxut reg get KEY NAME\n"
    "       zxut reg set KEY NAME [--string|--expand|--dword|--binary] VALUE\n"
    "       zxut reg delete KEY NAME\n"
    "  KEY is HKLM\\path or HKCU\\path (also HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER;\n"
    "  \"\\\" or \"/\" between the parts). NAME \"\" is the key's default value (listed as @).\n"
    "  The kind of a value that set writes:\n"
    "    --string TEXT   a string (the default)\n"
    "    --expand TEXT   an expandable string, e.g. %TEMP%\\zx.log\n"
    "    --dword N       a 32-bit number, decimal or 0x hex\n"
    "    --binary HEX    bytes as hex digits, e.g. 01ab or 01,ab\n"
    "    --              ends the options, for a VALUE that starts with --\n"
    "  get prints the value (a dword in decimal, bytes in hex); list prints the\n"
    "  subkeys (NAME\\) and then one line per value: NAME, kind and value, tab-separated.\n"
    "  On Linux the values live in HKLM.reg and HKCU.reg in $ZXUT_REGISTRY_DIR, else in\n"
    "  /etc/zarnik/HKLM.reg and ${XDG_CONFIG_HOME:-~/.config}/zarnik/HKCU.reg.\n";

struct Key {
  plat::Hive hive;
  std::string text;       // as given, for messages
  std::u16string path;    // below the hive, "\" between the parts
};

bool SameAscii(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

bool ParseKey(const char* arg, Key& key) {
  std::string text = arg;
  for (char& c : text)
    if (c == '/') c = '\\';
  const size_t slash = text.find('\\');
  const std::string root = text.substr(0, slash);
  if (SameAscii(root, "HKLM") || SameAscii(root, "HKEY_LOCAL_MACHINE")) key.hive = plat::Hive::LocalMachine;
  else if (SameAscii(root, "HKCU") || SameAscii(root, "HKEY_CURRENT_USER")) key.hive = plat::Hive::CurrentUser;
  else return false;
  key.text = arg;
  key.path = slash == std::string::npos ? std::u16string() : Wide(text.c_str() + slash + 1);
  return true;
}

// Where a key's values are kept, for messages: the store file on Linux.
std::string Where(const Key& key) {
  const std::string file = plat::RegistryFilePath(key.hive);
  return file.empty() ? key.text : key.text + " (" + file + ")";
}

int Fail(const char* what, const std::string& name, const Key& key, long code) {
  std::fprintf(stderr, "zxut reg: cannot %s '%s' in %s: %s\n", what, name.c_str(), Where(key).c_str(),
               zxut::SystemError(code).c_str());
  return 1;
}

// A file the store does not understand: where, and that it was left alone.
int Refuse(const plat::RegFileProblem& p) {
  std::fprintf(stderr, "zxut reg: %s:%zu: %s; the file is left as it is: %s\n", p.file.c_str(), p.line,
               p.what.c_str(), zxut::SystemError(long(plat::kErrBadDb)).c_str());
  return 1;
}

std::string Hex(const std::vector<uint8_t>& data) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (uint8_t b : data) {
    out += kDigits[b >> 4];
    out += kDigits[b & 15];
  }
  return out;
}

std::string Kind(const plat::RegValue& v) {
  switch (v.type) {
    case plat::kRegSz: return "string";
    case plat::kRegExpandSz: return "expand";
    case plat::kRegBinary: return "binary";
    case plat::kRegDword:
      if (v.data.size() == 4) return "dword";
      break;
  }
  char text[24];
  std::snprintf(text, sizeof text, "hex(%x)", v.type);
  return text;
}

std::string Show(const plat::RegValue& v) {
  if (v.type == plat::kRegSz || v.type == plat::kRegExpandSz) {
    std::u16string text;
    for (size_t i = 0; i + 1 < v.data.size(); i += 2) text.push_back(char16_t(v.data[i] | (v.data[i + 1] << 8)));
    while (!text.empty() && text.back() == 0) text.pop_back();
    return Utf8(text);
  }
  if (v.type == plat::kRegDword && v.data.size() == 4)
    return std::to_string(uint32_t(v.data[0]) | uint32_t(v.data[1]) << 8 | uint32_t(v.data[2]) << 16 |
                          uint32_t(v.data[3]) << 24);
  return Hex(v.data);
}

// The value of `set` from its kind option and text; false with `why` set when it
// does not read.
bool ParseValue(const std::string& kind, const char* text, plat::RegValue& v, const char** why) {
  if (kind == "--string" || kind == "--expand") {
    v.type = kind == "--string" ? plat::kRegSz : plat::kRegExpandSz;
    for (char16_t c : Wide(text)) {
      v.data.push_back(uint8_t(c & 0xFF));
      v.data.push_back(uint8_t(c >> 8));
    }
    v.data.insert(v.data.end(), {0, 0});
    return true;
  }
  if (kind == "--dword") {
    char* end = nullptr;
    const bool hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    errno = 0;
    const unsigned long long n = std::strtoull(hex ? text + 2 : text, &end, hex ? 16 : 10);
    if (!*text || text[0] == '-' || text[0] == '+' || *end || end == (hex ? text + 2 : text) || errno ||
        n > 0xFFFFFFFFull) {
      *why = "a dword is a number from 0 to 4294967295, decimal or 0x hex";
      return false;
    }
    v.type = plat::kRegDword;
    for (int k = 0; k < 4; ++k) v.data.push_back(uint8_t(n >> (8 * k)));
    return true;
  }
  if (kind == "--binary") {
    v.type = plat::kRegBinary;
    *why = "binary data is pairs of hex digits, e.g. 01ab or 01,ab";
    std::string digits;
    for (const char* p = text; *p; ++p) {
      if (*p == ',') continue;
      if (!std::isxdigit(static_cast<unsigned char>(*p))) return false;
      digits += *p;
    }
    if (digits.size() % 2) return false;
    for (size_t i = 0; i < digits.size(); i += 2)
      v.data.push_back(uint8_t(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
    return true;
  }
  *why = "the kind is --string, --expand, --dword or --binary";
  return false;
}

int List(const Key& key) {
  std::vector<std::u16string> subkeys;
  std::vector<plat::RegValue> values;
  plat::RegFileProblem problem;
  const long rc = plat::ListRegKey(key.hive, key.path.c_str(), subkeys, values, &problem);
  if (!problem.file.empty())
    std::fprintf(stderr, "zxut reg: warning: %s:%zu: %s\n", problem.file.c_str(), problem.line, problem.what.c_str());
  if (rc != 0) return Fail("list", key.text, key, rc);
  for (const std::u16string& s : subkeys) std::printf("%s\\\n", Utf8(s).c_str());
  for (const plat::RegValue& v : values)
    std::printf("%s\t%s\t%s\n", v.name.empty() ? "@" : Utf8(v.name).c_str(), Kind(v).c_str(), Show(v).c_str());
  return 0;
}

int Get(const Key& key, const char* name) {
  const std::u16string n = Wide(name);
  plat::RegValue v;
  uint32_t size = 0;
  long rc = plat::QueryRegValue(key.hive, key.path.c_str(), n.c_str(), &v.type, nullptr, &size);
  if (rc == 0) {
    v.data.resize(size);
    rc = plat::QueryRegValue(key.hive, key.path.c_str(), n.c_str(), &v.type, v.data.data(), &size);
    v.data.resize(size);
  }
  if (rc != 0) return Fail("read", name, key, rc);
  std::printf("%s\n", Show(v).c_str());
  return 0;
}

int Set(const Key& key, int argc, char** argv) {
  // NAME [--kind] VALUE, "--" ending the options.
  std::string kind = "--string";
  std::vector<const char*> words;
  bool options = true;
  for (int i = 0; i < argc; ++i) {
    if (options && !std::strcmp(argv[i], "--")) options = false;
    else if (options && argv[i][0] == '-' && argv[i][1] == '-') kind = argv[i];
    else words.push_back(argv[i]);
  }
  if (words.size() != 2) return zxut::UsageError("reg", "set needs KEY, NAME and VALUE");
  plat::RegValue v;
  const char* why = nullptr;
  if (!ParseValue(kind, words[1], v, &why)) return zxut::UsageError("reg", why);
  const std::u16string n = Wide(words[0]);
  plat::RegFileProblem problem;
  const long rc = plat::SetRegValueChecked(key.hive, key.path.c_str(), n.c_str(), v.type, v.data.data(),
                                           static_cast<uint32_t>(v.data.size()), &problem);
  if (rc == long(plat::kErrBadDb) && !problem.file.empty()) return Refuse(problem);
  return rc == 0 ? 0 : Fail("set", words[0], key, rc);
}

int Delete(const Key& key, const char* name) {
  plat::RegFileProblem problem;
  const long rc = plat::DeleteRegValueChecked(key.hive, key.path.c_str(), Wide(name).c_str(), &problem);
  if (rc == long(plat::kErrBadDb) && !problem.file.empty()) return Refuse(problem);
  return rc == 0 ? 0 : Fail("delete", name, key, rc);
}

int RunReg(int argc, char** argv) {
  if (argc < 2) return zxut::UsageError("reg", "an action and a KEY are needed");
  const std::string action = argv[0];
  Key key;
  if (!ParseKey(argv[1], key)) return zxut::UsageError("reg", "a KEY starts with HKLM or HKCU");
  if (action == "list" && argc == 2) return List(key);
  if (action == "get" && argc == 3) return Get(key, argv[2]);
  if (action == "set") return Set(key, argc - 2, argv + 2);
  if (action == "delete" && argc == 3) return Delete(key, argv[2]);
  return zxut::UsageError("reg", "unknown action or wrong number of arguments");
}

[[maybe_unused]] const bool kAdded =
    zxut::AddCommand({"reg", "list, read and change registry values (on Linux the .reg store)", kUsage, &RunReg});

}  // namespace
