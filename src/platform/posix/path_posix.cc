#include <fcntl.h>
#include <poll.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>

#include "platform/codepage.h"
#include "platform/internal/mount_table.h"
#include "platform/path.h"
#include "platform/process.h"

namespace plat {
namespace {

std::u16string Env(const char16_t* name) { return EnvironmentVariable(name); }

std::u16string Home() {
  std::u16string home = Env(u"HOME");
  return home.empty() ? u"/" : home;
}

// $XDG_x_HOME or its default below $HOME.
std::u16string XdgHome(const char16_t* variable, const char16_t* fallback) {
  std::u16string v = Env(variable);
  return v.empty() ? Home() + fallback : v;
}

char16_t Lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }
bool SameText(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (Lower(a[i]) != Lower(b[i])) return false;
  return true;
}

// A user folder: the variable, then "$XDG_CONFIG_HOME/user-dirs.dirs", then the default.
std::u16string XdgUserDir(const char* key, const char16_t* fallback) {
  std::u16string v = EnvironmentVariable(Utf8ToUtf16(key).c_str());
  if (!v.empty()) return v;
  std::ifstream in(Utf16ToUtf8(XdgHome(u"XDG_CONFIG_HOME", u"/.config") + u"/user-dirs.dirs"));
  std::string line;
  const std::string prefix = std::string(key) + "=";
  while (std::getline(in, line)) {
    if (line.compare(0, prefix.size(), prefix) != 0) continue;
    std::string value = line.substr(prefix.size());
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    std::u16string out = Utf8ToUtf16(value);
    if (out.compare(0, 5, u"$HOME") == 0) out = Home() + out.substr(5);
    if (!out.empty()) return out;
  }
  return Home() + fallback;
}

// What Windows always has in its environment, where Linux has a folder for it.
bool WindowsVariableFallback(std::u16string_view name, std::u16string& out) {
  if (SameText(name, u"TEMP") || SameText(name, u"TMP")) {
    out = Env(u"TMPDIR");
    if (out.empty()) out = u"/tmp";
  } else if (SameText(name, u"APPDATA")) {
    out = XdgHome(u"XDG_CONFIG_HOME", u"/.config");
  } else if (SameText(name, u"LOCALAPPDATA")) {
    out = XdgHome(u"XDG_DATA_HOME", u"/.local/share");
  } else if (SameText(name, u"USERPROFILE")) {
    out = Home();
  } else {
    return false;
  }
  return true;
}

std::string ReadMountInfo() {
  std::ifstream in("/proc/self/mountinfo");
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::string Unescape(const std::string& field) {
  std::string out;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() &&
        std::all_of(field.begin() + static_cast<long>(i) + 1, field.begin() + static_cast<long>(i) + 4,
                    [](char c) { return c >= '0' && c <= '7'; })) {
      out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0'));
      i += 3;
    } else {
      out += field[i];
    }
  }
  return out;
}

struct NetworkMount {
  std::u16string remote;
  std::u16string mountPoint;
};

std::vector<NetworkMount> ParseNetworkMounts(const std::string& text) {
  std::vector<NetworkMount> out;
  for (const internal::Mount& m : internal::ParseMountInfo(text)) {
    std::u16string remote = internal::NetworkNameOfMount(m);
    if (!remote.empty()) out.push_back({remote, Utf8ToUtf16(m.mountPoint)});
  }
  return out;
}

// The network mounts, parsed once and again only when the table changed: the
// kernel reports a change of the mount table as POLLPRI|POLLERR on an open
// /proc/self/mountinfo (once per change, to each open file). Without that file
// descriptor every lookup reads the table, as it would without the cache.
using MountList = std::shared_ptr<const std::vector<NetworkMount>>;
struct MountCache {
  std::mutex lock;
  std::unique_ptr<std::string> testText;   // the tests' table, or null
  MountList mounts;                        // null: to be read
  int watch = -1;                          // the open table that tells of changes
  bool watchTried = false;
  uint64_t reads = 0;
};

MountCache& Cache() {
  static MountCache* cache = new MountCache;   // lives for the process: lookups at exit
  return *cache;
}

bool TableChanged(int fd) {
  pollfd p{fd, POLLPRI, 0};
  return ::poll(&p, 1, 0) > 0 && (p.revents & (POLLPRI | POLLERR)) != 0;
}

MountList NetworkMounts() {
  MountCache& c = Cache();
  std::lock_guard<std::mutex> guard(c.lock);
  if (c.testText) {
    if (!c.mounts) c.mounts = std::make_shared<const std::vector<NetworkMount>>(ParseNetworkMounts(*c.testText));
    return c.mounts;
  }
  if (!c.watchTried) {
    c.watchTried = true;
    c.watch = ::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC);
  }
  // The change is taken before the table is read: a change while reading is
  // reported by the next look.
  if (c.mounts && c.watch >= 0 && !TableChanged(c.watch)) return c.mounts;
  ++c.reads;
  c.mounts = std::make_shared<const std::vector<NetworkMount>>(ParseNetworkMounts(ReadMountInfo()));
  MountList now = c.mounts;
  if (c.watch < 0) c.mounts.reset();
  return now;
}

bool Below(const std::u16string& path, const std::u16string& folder) {
  if (folder == u"/") return !path.empty() && path[0] == u'/';
  return path.compare(0, folder.size(), folder) == 0 && (path.size() == folder.size() || path[folder.size()] == u'/');
}

}  // namespace

namespace internal {

std::vector<Mount> ParseMountInfo(const std::string& text) {
  std::vector<Mount> out;
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream fields(line);
    std::vector<std::string> f;
    std::string w;
    while (fields >> w) f.push_back(w);
    // id parent major:minor root mount-point options [optional...] - type source super
    const auto dash = std::find(f.begin(), f.end(), "-");
    if (f.size() < 6 || dash == f.end() || dash - f.begin() < 6 || f.end() - dash < 3) continue;
    out.push_back({Unescape(f[3]), Unescape(f[4]), dash[1], Unescape(dash[2])});
  }
  return out;
}

std::u16string NetworkNameOfMount(const Mount& m) {
  std::string server, rest;
  if (m.fsType == "cifs" || m.fsType == "smb3") {
    if (m.source.size() < 3 || m.source.compare(0, 2, "//") != 0) return {};
    const size_t slash = m.source.find('/', 2);
    if (slash == std::string::npos || slash == 2) return {};
    server = m.source.substr(2, slash - 2);
    rest = m.source.substr(slash);
  } else if (m.fsType == "nfs" || m.fsType == "nfs4") {
    const size_t colon = m.source.find(':');
    if (colon == std::string::npos || colon == 0) return {};
    server = m.source.substr(0, colon);
    rest = m.source.substr(colon + 1);
  } else {
    return {};
  }
  if (m.root != "/" && !m.root.empty()) rest += m.root;
  std::string unc = "\\\\" + server;
  for (char c : rest)
    if (!(c == '/' && (unc.back() == '\\'))) unc += c == '/' ? '\\' : c;
  while (unc.size() > 2 && unc.back() == '\\') unc.pop_back();
  if (unc.size() <= 2 + server.size() + 1) return {};   // no share
  return Utf8ToUtf16(unc);
}

void SetMountInfoForTests(const std::string* text) {
  MountCache& c = Cache();
  std::lock_guard<std::mutex> guard(c.lock);
  c.testText.reset(text ? new std::string(*text) : nullptr);
  c.mounts.reset();
  // The real table is opened afresh too: a test may have entered a mount
  // namespace of its own, which an old descriptor does not watch.
  if (c.watch >= 0) ::close(c.watch);
  c.watch = -1;
  c.watchTried = false;
}

uint64_t MountInfoReadsForTests() {
  MountCache& c = Cache();
  std::lock_guard<std::mutex> guard(c.lock);
  return c.reads;
}

}  // namespace internal

std::u16string CurrentDirectory() {
  std::string buffer(4096, '\0');
  while (!getcwd(buffer.data(), buffer.size())) {
    if (errno != ERANGE) return u"/";
    buffer.resize(buffer.size() * 2);
  }
  return Utf8ToUtf16(buffer.c_str());
}

std::u16string DriveCurrentDirectory(char16_t) { return {}; }

bool PathsUsePosixRoot() { return true; }

std::u16string ExpandEnvironment(const std::u16string& text) {
  std::u16string out;
  size_t i = 0;
  while (i < text.size()) {
    const size_t open = text.find(u'%', i);
    if (open == std::u16string::npos) break;
    const size_t close = text.find(u'%', open + 1);
    if (close == std::u16string::npos) break;
    out.append(text, i, open - i);
    const std::u16string name = text.substr(open + 1, close - open - 1);
    bool found = false;
    std::u16string value = name.empty() ? std::u16string() : EnvironmentVariable(name.c_str(), &found);
    if (!found && !name.empty()) found = WindowsVariableFallback(name, value);
    if (found) out += value;
    else out.append(text, open, close - open + 1);   // "%NAME%" stays as written
    i = close + 1;
  }
  out.append(text, i, std::u16string::npos);
  return out;
}

bool ShellFolder(const std::u16string& name, std::u16string& out) {
  struct Known {
    const char16_t* name;
    const char* userDir;        // XDG_*_DIR, or null
    const char16_t* variable;   // XDG_*_HOME, or null
    const char16_t* fallback;   // below $HOME
    const char16_t* suffix;
  };
  static const Known kKnown[] = {
      {u"Desktop", "XDG_DESKTOP_DIR", nullptr, u"/Desktop", u""},
      {u"Personal", "XDG_DOCUMENTS_DIR", nullptr, u"/Documents", u""},
      {u"My Music", "XDG_MUSIC_DIR", nullptr, u"/Music", u""},
      {u"My Pictures", "XDG_PICTURES_DIR", nullptr, u"/Pictures", u""},
      {u"My Video", "XDG_VIDEOS_DIR", nullptr, u"/Videos", u""},
      {u"Templates", "XDG_TEMPLATES_DIR", nullptr, u"/Templates", u""},
      {u"AppData", nullptr, u"XDG_CONFIG_HOME", u"/.config", u""},
      {u"Local AppData", nullptr, u"XDG_DATA_HOME", u"/.local/share", u""},
      {u"Cache", nullptr, u"XDG_CACHE_HOME", u"/.cache", u""},
      {u"Fonts", nullptr, u"XDG_DATA_HOME", u"/.local/share", u"/fonts"},
  };
  for (const Known& k : kKnown) {
    if (!SameText(name, k.name)) continue;
    out = (k.userDir ? XdgUserDir(k.userDir, k.fallback) : XdgHome(k.variable, k.fallback)) + k.suffix;
    return true;
  }
  return false;
}

bool VolumeInformation(const std::u16string& root, uint32_t* maxComponent, uint32_t* fsFlags) {
  std::string path = Utf16ToUtf8(root.empty() ? CurrentDirectory() : root);
  std::replace(path.begin(), path.end(), '\\', '/');
  struct statvfs v {};
  struct statfs s {};
  if (statvfs(path.c_str(), &v) != 0 || statfs(path.c_str(), &s) != 0) return false;
  // File systems that find names without regard to case.
  static const unsigned long kCaseless[] = {0x4d44 /* msdos, vfat */, 0x2011BAB0 /* exfat */,
                                            0x5346544e /* ntfs */, 0xFF534D42 /* cifs */,
                                            0xFE534D42 /* smb2, smb3 */, 0x517B /* smb */};
  const bool caseless = std::find(std::begin(kCaseless), std::end(kCaseless),
                                  static_cast<unsigned long>(s.f_type)) != std::end(kCaseless);
  if (maxComponent) *maxComponent = static_cast<uint32_t>(v.f_namemax);
  if (fsFlags) *fsFlags = (caseless ? 0 : kFsCaseSensitive) | kFsCasePreserved | kFsUnicode;
  return true;
}

int ToUniversalName(const std::u16string& path, std::u16string& out) {
  const NetworkMount* best = nullptr;
  const MountList mounts = NetworkMounts();
  for (const NetworkMount& m : *mounts)
    if (Below(path, m.mountPoint) && (!best || m.mountPoint.size() > best->mountPoint.size())) best = &m;
  if (!best) return 0;
  out = best->remote;
  std::u16string rest = path.substr(best->mountPoint == u"/" ? 0 : best->mountPoint.size());
  std::replace(rest.begin(), rest.end(), u'/', u'\\');
  if (rest == u"\\") rest.clear();
  out += rest;
  return 1;
}

bool RememberedShares(std::vector<NetworkShare>& out) {
  out.clear();
  const MountList mounts = NetworkMounts();
  for (const NetworkMount& m : *mounts) out.push_back({m.remote, m.mountPoint});
  return true;
}

bool SharesCoverSubfolders() { return true; }

bool CanonicalizePath(const std::u16string&, std::u16string&) { return false; }

}  // namespace plat
