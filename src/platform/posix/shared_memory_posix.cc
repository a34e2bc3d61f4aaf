// Linux: named shared blocks on POSIX shared memory. Each object starts with a header
// naming its creator (pid and start time), so that a block left behind by a dead
// process is recognised; creation and take-over happen under an exclusive flock so
// that an opener never sees a half-written header.
#include "platform/shared_memory.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/errors.h"

namespace plat {
namespace {

constexpr uint32_t kMagic = 0x4D53585A;   // "ZXSM"
constexpr uint32_t kHeaderSize = 64;

struct BlockHeader {
  uint32_t magic;
  uint32_t headerSize;
  int32_t creatorPid;
  uint32_t reserved0;
  uint64_t creatorStart;   // start time of the creator in clock ticks since boot
  uint64_t userSize;
  uint8_t reserved[32];
};
static_assert(sizeof(BlockHeader) == kHeaderSize, "block header is 64 bytes");

// "/zxut22.<uid>.Name" for session names, "/zxut22.global.Name" for "Global\Name".
std::string ShmName(const char16_t* name) {
  std::string base;
  const char16_t* p = name ? name : u"";
  bool global = false;
  auto startsWith = [&](const char16_t* prefix) {
    size_t i = 0;
    for (; prefix[i]; ++i)
      if (p[i] != prefix[i]) return false;
    return true;
  };
  if (startsWith(u"Global\\")) {
    global = true;
    p += 7;
  } else if (startsWith(u"Local\\")) {
    p += 6;
  }
  for (; *p; ++p) {
    char16_t c = *p;
    bool plain = (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z') ||
                 c == u'_' || c == u'-' || c == u'.';
    base.push_back(plain ? static_cast<char>(c) : '_');
  }
  // ZXUT_SHM_PREFIX replaces "zxut22": tests keep their blocks to themselves.
  const char* prefix = getenv("ZXUT_SHM_PREFIX");
  std::string out = "/";
  out += prefix && *prefix ? prefix : "zxut22";
  out += '.';
  out += global ? std::string("global") : std::to_string(static_cast<unsigned>(getuid()));
  out += '.';
  out += base;
  return out;
}

bool IsGlobalName(const char16_t* name) {
  static const char16_t kPrefix[] = u"Global\\";
  for (size_t i = 0; kPrefix[i]; ++i)
    if (!name || name[i] != kPrefix[i]) return false;
  return true;
}

// From /proc/<pid>/stat: the state (field 3) and the start time in clock ticks
// since boot (field 22). False when the process is unknown.
bool ReadProcStat(int pid, char* state, uint64_t* start) {
  char path[64];
  std::snprintf(path, sizeof path, "/proc/%d/stat", pid);
  FILE* f = std::fopen(path, "r");
  if (!f) return false;
  char buf[1024];
  size_t n = std::fread(buf, 1, sizeof buf - 1, f);
  std::fclose(f);
  buf[n] = 0;
  const char* p = std::strrchr(buf, ')');   // the command may hold blanks
  if (!p) return false;
  ++p;
  while (*p == ' ') ++p;
  *state = *p;
  for (int field = 3; field < 22 && *p; ++field) {
    while (*p && *p != ' ') ++p;
    while (*p == ' ') ++p;
  }
  *start = std::strtoull(p, nullptr, 10);
  return true;
}

uint64_t ProcessStartTime(int pid) {
  char state = 0;
  uint64_t start = 0;
  return ReadProcStat(pid, &state, &start) ? start : 0;
}

// A zombie (ended, not yet reaped) counts as ended; a reused pid differs in its
// start time.
bool CreatorAlive(const BlockHeader& h) {
  if (h.creatorPid <= 0) return false;
  if (kill(h.creatorPid, 0) != 0 && errno != EPERM) return false;
  char state = 0;
  uint64_t start = 0;
  if (!ReadProcStat(h.creatorPid, &state, &start)) return true;   // no /proc: trust kill()
  if (state == 'Z' || state == 'X') return false;
  return start == 0 || h.creatorStart == 0 || start == h.creatorStart;
}

bool ReadHeader(int fd, BlockHeader* h) {
  struct stat st;
  if (fstat(fd, &st) != 0 || st.st_size < static_cast<off_t>(kHeaderSize)) return false;
  if (pread(fd, h, sizeof *h, 0) != static_cast<ssize_t>(sizeof *h)) return false;
  return h->magic == kMagic && h->headerSize == kHeaderSize;
}

void SetErrno() { SetLastError(ErrorFromErrno(errno)); }

std::atomic<uint64_t>* MapEpochCounter() {
  std::string n = ShmName(u"publications");
  int fd = shm_open(n.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return nullptr;
  struct stat st;
  if (fstat(fd, &st) != 0 || (st.st_size < 8 && ftruncate(fd, 8) != 0)) {
    close(fd);
    return nullptr;
  }
  void* p = mmap(nullptr, 8, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  close(fd);
  return p == MAP_FAILED ? nullptr : static_cast<std::atomic<uint64_t>*>(p);
}

std::atomic<uint64_t>* EpochCounter() {
  static std::atomic<uint64_t>* const counter = MapEpochCounter();
  return counter;
}

void BumpEpoch() {
  if (auto* c = EpochCounter()) c->fetch_add(1, std::memory_order_release);
}

}  // namespace

SharedBlock::~SharedBlock() { Close(); }

bool SharedBlock::Create(const char16_t* name, uint32_t size, bool* existed, bool publish) {
  Close();
  std::string n = ShmName(name);
  mode_t mode = IsGlobalName(name) ? 0644 : 0600;
  const uint64_t total = uint64_t{kHeaderSize} + size;
  for (int attempt = 0; attempt < 3; ++attempt) {
    bool created = true;
    int fd = shm_open(n.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd < 0 && errno == EEXIST) {
      created = false;
      fd = shm_open(n.c_str(), O_RDWR | O_CLOEXEC, 0);
      if (fd < 0 && errno == ENOENT) continue;   // removed in between: create again
    }
    if (fd < 0) {
      SetErrno();
      return false;
    }
    flock(fd, LOCK_EX);
    BlockHeader h{};
    bool live = !created && ReadHeader(fd, &h) && CreatorAlive(h);
    struct stat st;
    bool ok = fstat(fd, &st) == 0 &&
              (st.st_size >= static_cast<off_t>(total) || ftruncate(fd, static_cast<off_t>(total)) == 0);
    void* base = ok ? mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0) : MAP_FAILED;
    if (base == MAP_FAILED) {
      SetErrno();
      flock(fd, LOCK_UN);
      close(fd);
      return false;
    }
    if (!live) {
      // New, or left behind by a process that has ended: it becomes ours, as new.
      std::memset(static_cast<char*>(base) + kHeaderSize, 0, size);
      BlockHeader mine{};
      mine.magic = kMagic;
      mine.headerSize = kHeaderSize;
      mine.creatorPid = static_cast<int32_t>(getpid());
      mine.creatorStart = ProcessStartTime(getpid());
      mine.userSize = size;
      std::memcpy(base, &mine, sizeof mine);
    }
    flock(fd, LOCK_UN);
    handle_ = fd;
    std::snprintf(name_, sizeof name_, "%s", n.c_str());
    base_ = base;
    view_ = static_cast<char*>(base) + kHeaderSize;
    viewSize_ = size;
    if (existed) *existed = live;
    if (publish) BumpEpoch();
    SetLastError(live ? kErrAlreadyExists : 0);
    return true;
  }
  SetLastError(kErrAccessDenied);
  return false;
}

bool SharedBlock::OpenReadOnly(const char16_t* name) {
  Close();
  std::string n = ShmName(name);
  int fd = shm_open(n.c_str(), O_RDONLY | O_CLOEXEC, 0);
  if (fd < 0) {
    SetErrno();
    return false;
  }
  flock(fd, LOCK_SH);   // waits for a creator still writing the header
  BlockHeader h{};
  bool live = ReadHeader(fd, &h) && CreatorAlive(h);
  flock(fd, LOCK_UN);
  if (!live) {
    close(fd);
    SetLastError(kErrFileNotFound);
    return false;
  }
  handle_ = fd;
  return true;
}

const void* SharedBlock::MapReadOnly(uint32_t size) {
  Unmap();
  if (!IsOpen()) {
    SetLastError(kErrInvalidHandle);
    return nullptr;
  }
  const uint64_t total = uint64_t{kHeaderSize} + size;
  struct stat st;
  if (fstat(static_cast<int>(handle_), &st) != 0 || st.st_size < static_cast<off_t>(total)) {
    SetLastError(kErrAccessDenied);   // what a view beyond the mapping's size gives
    return nullptr;
  }
  void* base = mmap(nullptr, total, PROT_READ, MAP_SHARED, static_cast<int>(handle_), 0);
  if (base == MAP_FAILED) {
    SetErrno();
    return nullptr;
  }
  base_ = base;
  view_ = static_cast<char*>(base) + kHeaderSize;
  viewSize_ = size;
  return view_;
}

void SharedBlock::Unmap() {
  if (base_) munmap(base_, uint64_t{kHeaderSize} + viewSize_);
  base_ = nullptr;
  view_ = nullptr;
  viewSize_ = 0;
}

void SharedBlock::Close() {
  Unmap();
  if (handle_ != kNoHandle) close(static_cast<int>(handle_));
  handle_ = kNoHandle;
}

void SharedBlock::RemoveName() {
  if (name_[0]) shm_unlink(name_);
  name_[0] = 0;
}

void RemoveStaleBlocks(const char16_t* namePrefix) {
  const std::string prefix = ShmName(namePrefix).substr(1);   // without the leading "/"
  DIR* dir = opendir("/dev/shm");
  if (!dir) return;
  while (dirent* e = readdir(dir)) {
    if (std::strncmp(e->d_name, prefix.c_str(), prefix.size()) != 0) continue;
    std::string name = std::string("/") + e->d_name;
    int fd = shm_open(name.c_str(), O_RDONLY | O_CLOEXEC, 0);
    if (fd < 0) continue;
    // A creator still writing its header holds the exclusive lock: leave it.
    if (flock(fd, LOCK_SH | LOCK_NB) == 0) {
      BlockHeader h{};
      if (ReadHeader(fd, &h) && !CreatorAlive(h)) shm_unlink(name.c_str());
      flock(fd, LOCK_UN);
    }
    close(fd);
  }
  closedir(dir);
}

uint64_t PublicationEpoch() {
  if (auto* c = EpochCounter()) return c->load(std::memory_order_acquire);
  return ~uint64_t{0};   // no counter: every call is due (see PublicationNextDue)
}

uint64_t PublicationNextDue(uint64_t epochBeforeLookup, uint64_t) {
  return EpochCounter() ? epochBeforeLookup + 1 : 0;
}

bool PublicationLiftsBackoff() { return EpochCounter() != nullptr; }

const std::atomic<uint64_t>* PublicationCounter() { return EpochCounter(); }

// Mutex handles are kept in shared blocks, which the leak checker does not scan:
// they come from a static pool first, so a mutex that lives as long as the process
// is not reported as lost.
namespace {
constexpr int kMutexPool = 16;
pthread_mutex_t g_mutexPool[kMutexPool];
std::atomic<bool> g_mutexInUse[kMutexPool];
}  // namespace

uint64_t MutexCreate() {
  pthread_mutex_t* m = nullptr;
  for (int i = 0; i < kMutexPool && !m; ++i)
    if (!g_mutexInUse[i].exchange(true)) m = &g_mutexPool[i];
  if (!m) m = static_cast<pthread_mutex_t*>(std::malloc(sizeof(pthread_mutex_t)));
  if (!m) return 0;
  pthread_mutexattr_t attr;
  pthread_mutexattr_init(&attr);
  pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(m, &attr);
  pthread_mutexattr_destroy(&attr);
  return reinterpret_cast<uint64_t>(m);
}

void MutexLock(uint64_t mutex) {
  if (mutex) pthread_mutex_lock(reinterpret_cast<pthread_mutex_t*>(mutex));
}

void MutexUnlock(uint64_t mutex) {
  if (mutex) pthread_mutex_unlock(reinterpret_cast<pthread_mutex_t*>(mutex));
}

void MutexClose(uint64_t mutex) {
  if (!mutex) return;
  auto* m = reinterpret_cast<pthread_mutex_t*>(mutex);
  pthread_mutex_destroy(m);
  if (m >= g_mutexPool && m < g_mutexPool + kMutexPool)
    g_mutexInUse[m - g_mutexPool].store(false);
  else
    std::free(m);
}

void* GlobalAllocZero(size_t size) { return std::calloc(1, size ? size : 1); }
void GlobalFreeBlock(void* block) { std::free(block); }

}  // namespace plat
