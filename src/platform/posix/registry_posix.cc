// The registry store of Linux: one export-format file per hive (see regfile.h).
// Readers use a parsed copy that is refreshed whenever the file changes; writers
// take the hive's lock file, re-read, change, write a temporary file and rename it
// over the old one, so that readers never see half a file.
#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "platform/codepage.h"
#include "platform/errors.h"
#include "platform/internal/regfile.h"
#include "platform/registry.h"

namespace plat {
namespace {

// A file larger than this is not a registry hive of ours; it is not read.
constexpr off_t kMaxFileSize = 64 << 20;

std::u16string_view RootName(Hive hive) {
  return hive == Hive::LocalMachine ? u"HKEY_LOCAL_MACHINE" : u"HKEY_CURRENT_USER";
}

int Slot(Hive hive) { return hive == Hive::LocalMachine ? 0 : 1; }

std::string Folder(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

long MakeFolders(const std::string& dir) {
  if (dir.empty()) return 0;
  struct stat st;
  if (::stat(dir.c_str(), &st) == 0) return S_ISDIR(st.st_mode) ? 0 : long(kErrPathNotFound);
  if (long r = MakeFolders(Folder(dir))) return r;
  if (::mkdir(dir.c_str(), 0755) != 0 && errno != EEXIST) return long(ErrorFromErrno(errno));
  return 0;
}

// Reads a whole file; false when it is missing, unreadable or too large.
bool ReadFile(const std::string& path, std::string& out) {
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat st;
  if (::fstat(fd, &st) != 0 || st.st_size > kMaxFileSize) {
    ::close(fd);
    return false;
  }
  out.clear();
  char buf[16384];
  for (;;) {
    ssize_t n = ::read(fd, buf, sizeof buf);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    out.append(buf, static_cast<size_t>(n));
    if (out.size() > static_cast<size_t>(kMaxFileSize)) {
      ::close(fd);
      return false;
    }
  }
  ::close(fd);
  return true;
}

bool WriteAll(int fd, const std::string& text) {
  const char* p = text.data();
  size_t left = text.size();
  while (left) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    p += n;
    left -= static_cast<size_t>(n);
  }
  return true;
}

// The parsed copy of one hive and what the file looked like when it was read.
struct Cached {
  bool valid = false;
  std::string path;
  bool exists = false;
  dev_t dev = 0;
  ino_t ino = 0;
  off_t size = 0;
  timespec mtime{};
  regfile::Document doc;
};

// Constructed on first use: the library may read its settings while the
// process is still running static constructors.
struct Store {
  std::mutex mutex;
  Cached cache[2];
};
Store& TheStore() {
  static Store* store = new Store;   // never destroyed: exit-time readers stay safe
  return *store;
}

// Under the store's mutex: the current document of a hive.
regfile::Document& Current(Hive hive) {
  Cached& c = TheStore().cache[Slot(hive)];
  std::string path = RegistryFilePath(hive);
  struct stat st;
  bool exists = ::stat(path.c_str(), &st) == 0;
  if (c.valid && c.path == path && c.exists == exists &&
      (!exists || (c.dev == st.st_dev && c.ino == st.st_ino && c.size == st.st_size &&
                   c.mtime.tv_sec == st.st_mtim.tv_sec && c.mtime.tv_nsec == st.st_mtim.tv_nsec)))
    return c.doc;
  c = Cached{};
  c.valid = true;
  c.path = path;
  c.exists = exists;
  if (exists) {
    c.dev = st.st_dev;
    c.ino = st.st_ino;
    c.size = st.st_size;
    c.mtime = st.st_mtim;
    std::string bytes;
    if (ReadFile(path, bytes)) c.doc = regfile::Parse(bytes);
  }
  return c.doc;
}

// Holds the hive's lock file for a read-change-write cycle.
class WriterLock {
 public:
  explicit WriterLock(const std::string& path) {
    fd_ = ::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd_ < 0) {
      error_ = long(ErrorFromErrno(errno));
      return;
    }
    while (::flock(fd_, LOCK_EX) != 0) {
      if (errno != EINTR) {
        error_ = long(ErrorFromErrno(errno));
        return;
      }
    }
  }
  ~WriterLock() {
    if (fd_ >= 0) ::close(fd_);   // closing releases the lock
  }
  long error() const { return error_; }
 private:
  int fd_ = -1;
  long error_ = 0;
};

// The first problem of a document, as the checked calls report it.
bool FirstProblem(const regfile::Document& doc, const std::string& path, RegFileProblem* problem) {
  if (doc.problems.empty()) return false;
  if (problem) *problem = RegFileProblem{path, doc.problems[0].line, doc.problems[0].what};
  return true;
}

// Under the hive's lock file: reads the file, applies `change` and replaces the file
// by a temporary one. Checked (`problem` not null): a file with a problem is left as
// it is.
template <typename Change>
long Rewrite(Hive hive, Change change, RegFileProblem* problem = nullptr) {
  const std::string path = RegistryFilePath(hive);
  if (path.empty()) return long(kErrPathNotFound);
  if (long r = MakeFolders(Folder(path))) return r;
  WriterLock lock(path);
  if (lock.error()) return lock.error();
  std::string bytes;
  struct stat st;
  mode_t mode = 0644;
  if (::stat(path.c_str(), &st) == 0) {
    mode = st.st_mode & 07777;
    if (!ReadFile(path, bytes)) return long(kErrNotEnoughMemory);
  }
  regfile::Document doc = regfile::Parse(bytes);
  if (problem && FirstProblem(doc, path, problem)) return long(kErrBadDb);
  if (long r = change(doc)) return r;
  const std::string temp = path + ".tmp." + std::to_string(::getpid()) + "." +
                           std::to_string(static_cast<long>(::syscall(SYS_gettid)));
  int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
  if (fd < 0) return long(ErrorFromErrno(errno));
  bool ok = WriteAll(fd, regfile::Serialize(doc)) && ::fsync(fd) == 0;
  int err = errno;
  ::close(fd);
  if (!ok || ::rename(temp.c_str(), path.c_str()) != 0) {
    if (ok) err = errno;
    ::unlink(temp.c_str());
    return long(ErrorFromErrno(err ? err : EIO));
  }
  std::lock_guard<std::mutex> guard(TheStore().mutex);
  TheStore().cache[Slot(hive)].valid = false;
  return 0;
}

std::u16string_view View(const char16_t* s) { return s ? std::u16string_view(s) : std::u16string_view(); }

}  // namespace

std::string RegistryFilePath(Hive hive) {
  const char* dir = std::getenv("ZXUT_REGISTRY_DIR");
  if (dir && *dir)
    return std::string(dir) + (hive == Hive::LocalMachine ? "/HKLM.reg" : "/HKCU.reg");
  if (hive == Hive::LocalMachine) return "/etc/zarnik/HKLM.reg";
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config && *config) return std::string(config) + "/zarnik/HKCU.reg";
  const char* home = std::getenv("HOME");
  if (!home || !*home) {
    const passwd* pw = ::getpwuid(::getuid());
    home = pw ? pw->pw_dir : nullptr;
  }
  return home ? std::string(home) + "/.config/zarnik/HKCU.reg" : std::string();
}

void RegistryReload() {
  Store& store = TheStore();
  std::lock_guard<std::mutex> guard(store.mutex);
  store.cache[0].valid = store.cache[1].valid = false;
}

bool OpenCurrentUserHive() { return true; }

long QueryRegValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t* type,
                   void* data, uint32_t* size) {
  if (data && !size) return long(kErrInvalidParameter);
  std::lock_guard<std::mutex> guard(TheStore().mutex);
  regfile::Document& doc = Current(hive);
  const regfile::Entry* e = regfile::FindValue(doc, RootName(hive), View(key), View(name), nullptr);
  if (!e) return long(kErrFileNotFound);
  if (type) *type = e->type;
  const auto needed = static_cast<uint32_t>(e->data.size());
  if (!size) return 0;
  if (data && *size < needed) {
    *size = needed;
    return long(kErrMoreData);
  }
  if (data && needed) std::memcpy(data, e->data.data(), needed);
  *size = needed;
  return 0;
}

long SetRegValueChecked(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                        const void* data, uint32_t size, RegFileProblem* problem) {
  if (!data && size) return long(kErrInvalidParameter);
  std::u16string k(View(key)), n(View(name));
  return Rewrite(hive, [&](regfile::Document& doc) {
    regfile::SetValue(doc, RootName(hive), k, n, type, static_cast<const uint8_t*>(data), size);
    return 0L;
  }, problem);
}

long SetRegValue(Hive hive, const char16_t* key, const char16_t* name, uint32_t type,
                 const void* data, uint32_t size) {
  return SetRegValueChecked(hive, key, name, type, data, size, nullptr);
}

long DeleteRegValueChecked(Hive hive, const char16_t* key, const char16_t* name,
                           RegFileProblem* problem) {
  std::u16string k(View(key)), n(View(name));
  {
    // Nothing to delete: no need to take the lock or write. (A checked delete
    // reports a problem of the file first: the value may stand on that line.)
    std::lock_guard<std::mutex> guard(TheStore().mutex);
    regfile::Document& doc = Current(hive);
    if (problem && FirstProblem(doc, RegistryFilePath(hive), problem)) return long(kErrBadDb);
    if (!regfile::FindValue(doc, RootName(hive), k, n, nullptr)) return long(kErrFileNotFound);
  }
  return Rewrite(hive, [&](regfile::Document& doc) {
    return regfile::DeleteValue(doc, RootName(hive), k, n) ? 0L : long(kErrFileNotFound);
  }, problem);
}

long DeleteRegValue(Hive hive, const char16_t* key, const char16_t* name) {
  return DeleteRegValueChecked(hive, key, name, nullptr);
}

long ListRegKey(Hive hive, const char16_t* key, std::vector<std::u16string>& subkeys,
                std::vector<RegValue>& values, RegFileProblem* problem) {
  subkeys.clear();
  values.clear();
  std::lock_guard<std::mutex> guard(TheStore().mutex);
  const regfile::Document& doc = Current(hive);
  FirstProblem(doc, RegistryFilePath(hive), problem);
  bool keyExists = false;
  for (const regfile::Entry* e : regfile::KeyValues(doc, RootName(hive), View(key), &keyExists))
    values.push_back(RegValue{e->name, e->type, e->data});
  subkeys = regfile::SubkeyNames(doc, RootName(hive), View(key));
  // The hive itself always exists.
  return keyExists || !subkeys.empty() || regfile::NormalizePath(View(key)).empty() ? 0 : long(kErrFileNotFound);
}

}  // namespace plat
