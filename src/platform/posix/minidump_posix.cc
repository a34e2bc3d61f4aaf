// Linux only: a minidump of this process in the system's dump format, as crash
// reporters on Linux write it: system info (platform 0x8201), every thread with its
// context and stack (the thread of the exception, or of the request, first; the
// others held in a signal handler while the dump is written), the mapped ELF images
// with their GNU build ids ("BpEL" records), the exception, the Linux streams, and
// with the full-memory flag every readable writable mapping (Memory64 list).
// Memory is read with process_vm_readv, so an unreadable page becomes zeros and
// never a fault.
#include <fcntl.h>
#include <link.h>
#include <sys/uio.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "platform/codepage.h"
#include "platform/errors.h"
#include "platform/posix/minidump_posix.h"
#include "platform/posix/thread_hold_posix.h"

namespace plat {
namespace {

constexpr uint32_t kSignature = 0x504d444d;   // "MDMP"
constexpr uint32_t kVersion = 0xa793;
enum : uint32_t {
  kThreadList = 3, kModuleList = 4, kMemoryList = 5, kException = 6, kSystemInfo = 7, kMemory64List = 9,
  kLinuxCpuInfo = 0x47670003, kLinuxProcStatus = 0x47670004, kLinuxLsbRelease = 0x47670005,
  kLinuxCmdLine = 0x47670006, kLinuxEnviron = 0x47670007, kLinuxAuxv = 0x47670008, kLinuxMaps = 0x47670009,
};
constexpr uint32_t kWithDataSegs = 0x1;
constexpr uint32_t kWithFullMemory = 0x2;
constexpr uint32_t kCvSignatureElf = 0x4270454c;   // "BpEL"
// The stack kept of the thread of the exception (or of the request), and of each
// other thread; the answer limit of the other threads, all together.
constexpr uint64_t kStackLimit = 512 * 1024;
constexpr uint64_t kOtherStackLimit = 256 * 1024;
constexpr int kAnswerLimitMs = 200;
constexpr uint64_t kRedZone = 128;
// Larger mappings are reservations (sanitizer shadows, arenas), not data to keep.
constexpr uint64_t kMappingLimit = 1ull << 30;

bool WriteAll(int fd, const uint8_t* p, size_t n) {
  size_t done = 0;
  while (done < n) {
    ssize_t w = ::write(fd, p + done, n - done);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) return false;
    done += static_cast<size_t>(w);
  }
  return true;
}

class Bytes {
 public:
  size_t size() const { return b_.size(); }
  template <typename T>
  void Put(T v) { PutRaw(&v, sizeof v); }
  void PutRaw(const void* p, size_t n) {
    const auto* c = static_cast<const uint8_t*>(p);
    b_.insert(b_.end(), c, c + n);
  }
  template <typename T>
  void Set(size_t at, T v) { std::memcpy(&b_[at], &v, sizeof v); }
  void Align(size_t n) { while (b_.size() % n) b_.push_back(0); }
  const uint8_t* data() const { return b_.data(); }
  void Reserve(size_t n) { b_.reserve(n); }
  // A MINIDUMP_STRING: byte length, UTF-16 text, terminator. Returns its RVA.
  uint32_t String(const std::string& utf8) {
    Align(4);
    const uint32_t at = static_cast<uint32_t>(b_.size());
    std::u16string w = Utf8ToUtf16(utf8);
    Put<uint32_t>(static_cast<uint32_t>(w.size() * 2));
    PutRaw(w.data(), w.size() * 2);
    Put<uint16_t>(0);
    return at;
  }

 private:
  std::vector<uint8_t> b_;
};

std::string ReadProcFile(const char* path) {
  std::string out;
  int fd = ::open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return out;
  char buf[8192];
  ssize_t n;
  while ((n = ::read(fd, buf, sizeof buf)) > 0) out.append(buf, static_cast<size_t>(n));
  ::close(fd);
  return out;
}

struct Mapping {
  uint64_t start, end, offset;
  bool read, write;
  std::string path;
};

std::vector<Mapping> Maps(const std::string& text) {
  std::vector<Mapping> out;
  size_t at = 0;
  while (at < text.size()) {
    size_t end = text.find('\n', at);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(at, end - at);
    at = end + 1;
    unsigned long long s = 0, e = 0, off = 0;
    char perms[8] = {};
    int pathAt = 0;
    if (std::sscanf(line.c_str(), "%llx-%llx %7s %llx %*s %*s %n", &s, &e, perms, &off, &pathAt) < 4) continue;
    Mapping m{s, e, off, perms[0] == 'r', perms[1] == 'w', pathAt > 0 ? line.substr(static_cast<size_t>(pathAt)) : ""};
    while (!m.path.empty() && m.path.back() == ' ') m.path.pop_back();
    out.push_back(m);
  }
  return out;
}

// The GNU build id of each loaded object, by load address.
struct Image {
  uint64_t base = 0;
  std::string path;
  std::vector<uint8_t> buildId;
};

int CollectImage(dl_phdr_info* info, size_t, void* data) {
  auto* images = static_cast<std::vector<Image>*>(data);
  Image img;
  img.path = info->dlpi_name ? info->dlpi_name : "";
  uint64_t lowest = ~0ull;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const ElfW(Phdr)& ph = info->dlpi_phdr[i];
    if (ph.p_type == PT_LOAD && ph.p_vaddr < lowest) lowest = ph.p_vaddr & ~0xFFFull;
    if (ph.p_type != PT_NOTE) continue;
    const auto* p = reinterpret_cast<const uint8_t*>(info->dlpi_addr + ph.p_vaddr);
    size_t left = ph.p_memsz;
    while (left >= sizeof(ElfW(Nhdr)) && img.buildId.empty()) {
      const auto* nh = reinterpret_cast<const ElfW(Nhdr)*>(p);
      const size_t nameSize = (nh->n_namesz + 3) & ~3u, descSize = (nh->n_descsz + 3) & ~3u;
      const size_t total = sizeof *nh + nameSize + descSize;
      if (total > left) break;
      if (nh->n_type == NT_GNU_BUILD_ID && nh->n_namesz == 4 && std::memcmp(p + sizeof *nh, "GNU", 4) == 0)
        img.buildId.assign(p + sizeof *nh + nameSize, p + sizeof *nh + nameSize + nh->n_descsz);
      p += total;
      left -= total;
    }
  }
  if (lowest == ~0ull) return 0;
  img.base = info->dlpi_addr + lowest;
  images->push_back(img);
  return 0;
}

// Copies memory of this process into the file, zeros where it cannot be read.
// `buf` is the caller's: nothing is allocated while other threads are held.
bool CopyMemory(int fd, uint64_t start, uint64_t size, std::vector<uint8_t>& buf) {
  while (size) {
    const size_t n = size < buf.size() ? static_cast<size_t>(size) : buf.size();
    iovec local{buf.data(), n};
    iovec remote{reinterpret_cast<void*>(start), n};
    if (::process_vm_readv(::getpid(), &local, 1, &remote, 1, 0) != static_cast<ssize_t>(n)) {
      // Page by page, so that one bad page does not blank the rest.
      for (size_t off = 0; off < n; off += 4096) {
        const size_t len = n - off < 4096 ? n - off : 4096;
        iovec l{buf.data() + off, len};
        iovec r{reinterpret_cast<void*>(start + off), len};
        if (::process_vm_readv(::getpid(), &l, 1, &r, 1, 0) != static_cast<ssize_t>(len))
          std::memset(buf.data() + off, 0, len);
      }
    }
    if (!WriteAll(fd, buf.data(), n)) return false;
    start += n;
    size -= n;
  }
  return true;
}

// The exception stream of a Linux dump carries the signal (as crash reporters on
// Linux write it, and as debuggers read it); the system's code stays as the last
// parameter.
uint32_t SignalOf(uint32_t code) {
  switch (code) {
    case 0xC0000005: case 0xC00000FD: return 11;   // SIGSEGV
    case 0x80000002: case 0xC0000006: return 7;    // SIGBUS
    case 0xC000001D: case 0xC0000096: return 4;    // SIGILL
    case 0x80000003: case 0x80000004: return 5;    // SIGTRAP
    case 0x40000015: return 6;                     // SIGABRT
    default: break;
  }
  if ((code & 0xFFFFFF00u) == 0xE0000000u) return code & 0xFF;   // a signal that was sent
  if (code >= 0xC000008C && code <= 0xC0000095) return 8;        // SIGFPE
  return 11;
}

struct Range {
  uint64_t start, size;
};

// The stack slice of a thread: from below the red zone to the end of the mapping
// that holds its stack pointer, at most `limit` bytes. Empty when the stack pointer
// is in no readable mapping.
Range StackOf(const std::vector<Mapping>& maps, uint64_t sp, uint64_t limit) {
  for (const Mapping& m : maps) {
    if (sp >= m.start && sp < m.end && m.read) {
      const uint64_t from = sp - kRedZone >= m.start ? sp - kRedZone : m.start;
      const uint64_t to = m.end - from > limit ? from + limit : m.end;
      return {from, to - from};
    }
  }
  return {0, 0};
}

// Sorts the ranges and joins those that overlap or touch, in place (no allocation).
void Merge(std::vector<Range>* ranges) {
  std::sort(ranges->begin(), ranges->end(), [](const Range& a, const Range& b) { return a.start < b.start; });
  size_t out = 0;
  for (const Range& r : *ranges) {
    if (out && r.start <= (*ranges)[out - 1].start + (*ranges)[out - 1].size) {
      Range& last = (*ranges)[out - 1];
      const uint64_t end = r.start + r.size > last.start + last.size ? r.start + r.size : last.start + last.size;
      last.size = end - last.start;
    } else {
      (*ranges)[out++] = r;
    }
  }
  ranges->resize(out);
}

// `whole` without the parts that `holes` (sorted, disjoint) cover, appended to *out.
void Subtract(const Range& whole, const std::vector<Range>& holes, std::vector<Range>* out) {
  uint64_t at = whole.start;
  const uint64_t end = whole.start + whole.size;
  for (const Range& h : holes) {
    if (h.start + h.size <= at || h.start >= end) continue;
    if (h.start > at) out->push_back({at, h.start - at});
    at = h.start + h.size;
  }
  if (at < end) out->push_back({at, end - at});
}

}  // namespace


uint32_t WriteLinuxMiniDump(const DumpRequest& request, bool* created) {
  *created = false;
  const ContextAmd64* context = request.exception ? request.exception->ContextRecord : request.requesterContext;
  const uint32_t threadId = request.exception ? request.exceptionThreadId : request.requesterThreadId;
  if (!request.path || !context) return kErrInvalidParameter;
  const std::string path = Utf16ToUtf8(request.path);
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return ErrorFromErrno(errno);
  *created = true;

  // Everything that allocates happens before the other threads are held (one of
  // them may hold the allocator's lock) or after they are released.
  const std::string mapsText = ReadProcFile("/proc/self/maps");
  const std::vector<Mapping> maps = Maps(mapsText);
  std::vector<Image> images;
  dl_iterate_phdr(&CollectImage, &images);
  for (Image& img : images) {
    if (!img.path.empty()) continue;
    for (const Mapping& m : maps)   // the program (and the vdso) are listed without a name
      if (img.base >= m.start && img.base < m.end) img.path = m.path;
  }

  // The threads with their registers at hand come first: the one of the exception
  // (or of the request), then the one that asked for the dump of an exception;
  // every other thread but the writer answers the hold's signal.
  struct Entry {
    uint32_t id;
    const ContextAmd64* context;
    uint64_t stackLimit;
    Range stack;
    uint32_t contextRva;
  };
  std::vector<Entry> entries;
  entries.push_back({threadId, context, kStackLimit, {0, 0}, 0});
  const bool requesterToo = request.exception && request.requesterContext && request.requesterThreadId &&
                            request.requesterThreadId != threadId && request.requesterThreadId != request.excludeThreadId;
  if (requesterToo) entries.push_back({request.requesterThreadId, request.requesterContext, kOtherStackLimit, {0, 0}, 0});
  std::vector<uint32_t> others;
  for (uint32_t id : ThreadIdsOfProcess())
    if (id != threadId && id != request.excludeThreadId && !(requesterToo && id == request.requesterThreadId))
      others.push_back(id);
  ThreadHold hold(others);
  entries.reserve(entries.size() + hold.Count());

  std::vector<Range> candidates;   // for the Memory64 list, before the stacks are cut out
  if (request.mode & (kWithFullMemory | kWithDataSegs)) {
    for (const Mapping& m : maps) {
      if (!m.read || !m.write || m.path.rfind("/dev/", 0) == 0 || m.path == "[vvar]" || m.path == "[vsyscall]" ||
          m.end - m.start > kMappingLimit)
        continue;
      if (!(request.mode & kWithFullMemory) && (m.path.empty() || m.path[0] != '/')) continue;
      candidates.push_back({m.start, m.end - m.start});
    }
  }
  std::vector<Range> regions, memory64;
  regions.reserve(entries.capacity());
  memory64.reserve(candidates.size() + entries.capacity() + 1);
  std::vector<uint8_t> copyBuffer(1 << 20);

  struct Stream {
    uint32_t type, size, rva;
  };
  std::vector<Stream> streams;
  streams.reserve(16);
  Bytes b;
  const uint32_t streamCount = 12 + (candidates.empty() ? 0 : 1);
  b.Put(kSignature);
  b.Put(kVersion);
  b.Put(streamCount);
  b.Put<uint32_t>(32);   // the directory follows the header
  b.Put<uint32_t>(0);
  b.Put<uint32_t>(static_cast<uint32_t>(std::time(nullptr)));
  b.Put<uint64_t>(request.mode);
  for (uint32_t i = 0; i < streamCount * 3; ++i) b.Put<uint32_t>(0);
  auto begin = [&](uint32_t type) {
    b.Align(8);
    streams.push_back({type, 0, static_cast<uint32_t>(b.size())});
  };
  auto end = [&] { streams.back().size = static_cast<uint32_t>(b.size() - streams.back().rva); };
  auto putContext = [&](Entry& e) {
    b.Align(16);
    e.contextRva = static_cast<uint32_t>(b.size());
    b.PutRaw(e.context, sizeof *e.context);
  };
  for (Entry& e : entries) putContext(e);   // the exception's thread and record share the first

  utsname uts{};
  ::uname(&uts);
  const uint32_t csdRva = b.String(std::string(uts.sysname) + " " + uts.release + " " + uts.version + " " + uts.machine);
  begin(kSystemInfo);
  b.Put<uint16_t>(9);   // AMD64
  b.Put<uint16_t>(6);
  b.Put<uint16_t>(0);
  b.Put<uint8_t>(static_cast<uint8_t>(sysconf(_SC_NPROCESSORS_ONLN)));
  b.Put<uint8_t>(1);    // workstation
  unsigned major = 0, minor = 0, patch = 0;
  std::sscanf(uts.release, "%u.%u.%u", &major, &minor, &patch);
  b.Put<uint32_t>(major);
  b.Put<uint32_t>(minor);
  b.Put<uint32_t>(patch);
  b.Put<uint32_t>(0x8201);   // Linux
  b.Put<uint32_t>(csdRva);
  b.Put<uint16_t>(0);
  b.Put<uint16_t>(0);
  for (int i = 0; i < 6; ++i) b.Put<uint32_t>(0);   // CPU_INFORMATION
  end();

  if (request.exception) {
    const ExceptionRecord64* r = request.exception->ExceptionRecord;
    begin(kException);
    b.Put<uint32_t>(threadId);
    b.Put<uint32_t>(0);
    b.Put<uint32_t>(r ? SignalOf(r->ExceptionCode) : 0);
    b.Put<uint32_t>(0);
    b.Put<uint64_t>(0);
    const uint64_t address = r && r->NumberParameters >= 2 ? r->ExceptionInformation[1] : context->Rip;
    b.Put<uint64_t>(address);
    const uint32_t n = r ? (r->NumberParameters > 14 ? 14 : r->NumberParameters) : 0;
    b.Put<uint32_t>(n + 1);
    b.Put<uint32_t>(0);
    for (uint32_t i = 0; i < 15; ++i)
      b.Put<uint64_t>(i < n ? r->ExceptionInformation[i] : i == n && r ? r->ExceptionCode : 0);
    b.Put<uint32_t>(sizeof *context);
    b.Put<uint32_t>(entries[0].contextRva);
    end();
  } else {
    begin(kException);   // an empty exception stream keeps the directory's size fixed
    b.Put<uint32_t>(threadId);
    for (int i = 0; i < 41; ++i) b.Put<uint32_t>(0);
    end();
    streams.back().type = 0;   // UnusedStream
  }

  // Module names and build-id records first, then the list that points at them.
  std::vector<uint32_t> nameRvas, cvRvas, cvSizes;
  std::vector<uint64_t> sizes;
  for (const Image& img : images) {
    nameRvas.push_back(b.String(img.path));
    b.Align(4);
    cvRvas.push_back(static_cast<uint32_t>(b.size()));
    b.Put(kCvSignatureElf);
    b.PutRaw(img.buildId.data(), img.buildId.size());
    cvSizes.push_back(static_cast<uint32_t>(4 + img.buildId.size()));
    uint64_t last = img.base;
    for (const Mapping& m : maps)
      if (m.path == img.path && m.end > last && m.start >= img.base) last = m.end;
    sizes.push_back(last > img.base ? last - img.base : 4096);
  }
  begin(kModuleList);
  b.Put<uint32_t>(static_cast<uint32_t>(images.size()));
  for (size_t i = 0; i < images.size(); ++i) {
    b.Put<uint64_t>(images[i].base);
    b.Put<uint32_t>(static_cast<uint32_t>(sizes[i]));
    b.Put<uint32_t>(0);
    b.Put<uint32_t>(0);
    b.Put<uint32_t>(nameRvas[i]);
    for (int k = 0; k < 13; ++k) b.Put<uint32_t>(0);   // VS_FIXEDFILEINFO
    b.Put<uint32_t>(cvSizes[i]);
    b.Put<uint32_t>(cvRvas[i]);
    b.Put<uint64_t>(0);
    b.Put<uint64_t>(0);
    b.Put<uint64_t>(0);
  }
  end();

  const struct {
    uint32_t type;
    const char* file;
  } procStreams[] = {{kLinuxCpuInfo, "/proc/cpuinfo"},       {kLinuxProcStatus, "/proc/self/status"},
                     {kLinuxLsbRelease, "/etc/lsb-release"}, {kLinuxCmdLine, "/proc/self/cmdline"},
                     {kLinuxEnviron, "/proc/self/environ"},  {kLinuxAuxv, "/proc/self/auxv"}};
  for (const auto& s : procStreams) {
    const std::string text = ReadProcFile(s.file);
    begin(s.type);
    b.PutRaw(text.data(), text.size());
    end();
  }
  begin(kLinuxMaps);
  b.PutRaw(mapsText.data(), mapsText.size());
  end();

  // What the held threads add to the head: contexts, the thread list, the memory
  // lists; room for it now, so that appending it allocates nothing.
  const size_t threadsMost = entries.capacity();
  b.Reserve(b.size() + threadsMost * (sizeof(ContextAmd64) + 16 + 48 + 16) +
            (candidates.size() + threadsMost + 1) * 16 + 256);

  uint32_t error = 0;
  {
    hold.Capture(kAnswerLimitMs);
    const size_t known = entries.size();
    for (size_t i = 0; i < hold.Count(); ++i)
      if (hold.Answered(i)) entries.push_back({hold.Id(i), &hold.Context(i), kOtherStackLimit, {0, 0}, 0});
    for (size_t i = known; i < entries.size(); ++i) putContext(entries[i]);
    for (Entry& e : entries) {
      e.stack = StackOf(maps, e.context->Rsp, e.stackLimit);
      if (e.stack.size) regions.push_back(e.stack);
    }
    Merge(&regions);
    for (const Range& c : candidates) Subtract(c, regions, &memory64);

    // Stack bytes follow the head region by region; a thread's descriptor points
    // into the region that holds its slice.
    uint64_t regionsSize = 0;
    for (const Range& r : regions) regionsSize += r.size;
    begin(kThreadList);
    b.Put<uint32_t>(static_cast<uint32_t>(entries.size()));
    const size_t threadsAt = b.size();
    for (const Entry& e : entries) {
      b.Put<uint32_t>(e.id);
      b.Put<uint32_t>(0);
      b.Put<uint32_t>(0);
      b.Put<uint32_t>(0);
      b.Put<uint64_t>(0);
      b.Put<uint64_t>(e.stack.start);
      b.Put<uint32_t>(static_cast<uint32_t>(e.stack.size));
      b.Put<uint32_t>(0);   // RVA, patched below
      b.Put<uint32_t>(sizeof *e.context);
      b.Put<uint32_t>(e.contextRva);
    }
    end();
    begin(kMemoryList);
    b.Put<uint32_t>(static_cast<uint32_t>(regions.size()));
    const size_t memoryAt = b.size();
    for (const Range& r : regions) {
      b.Put<uint64_t>(r.start);
      b.Put<uint32_t>(static_cast<uint32_t>(r.size));
      b.Put<uint32_t>(0);   // RVA, patched below
    }
    end();
    size_t memory64At = 0;
    if (!candidates.empty()) {
      begin(kMemory64List);
      b.Put<uint64_t>(memory64.size());
      memory64At = b.size();
      b.Put<uint64_t>(0);
      for (const Range& r : memory64) {
        b.Put<uint64_t>(r.start);
        b.Put<uint64_t>(r.size);
      }
      end();
    }
    b.Align(16);
    const uint64_t dataRva = b.size();
    uint64_t at = dataRva;
    for (size_t k = 0; k < regions.size(); ++k) {
      b.Set<uint32_t>(memoryAt + k * 16 + 12, static_cast<uint32_t>(at));
      for (size_t i = 0; i < entries.size(); ++i) {
        const Range& s = entries[i].stack;
        if (s.size && s.start >= regions[k].start && s.start < regions[k].start + regions[k].size)
          b.Set<uint32_t>(threadsAt + i * 48 + 36, static_cast<uint32_t>(at + (s.start - regions[k].start)));
      }
      at += regions[k].size;
    }
    if (memory64At) b.Set<uint64_t>(memory64At, dataRva + regionsSize);

    if (streams.size() != streamCount || dataRva + regionsSize > 0xFFFFFFFFull) {
      error = kErrInvalidData;
    } else {
      for (size_t i = 0; i < streams.size(); ++i) {
        b.Set<uint32_t>(32 + i * 12, streams[i].type);
        b.Set<uint32_t>(32 + i * 12 + 4, streams[i].size);
        b.Set<uint32_t>(32 + i * 12 + 8, streams[i].rva);
      }
      if (!WriteAll(fd, b.data(), b.size())) error = ErrorFromErrno(errno ? errno : ENOSPC);
      for (const Range& r : regions)
        if (!error && !CopyMemory(fd, r.start, r.size, copyBuffer)) error = ErrorFromErrno(errno ? errno : ENOSPC);
      for (const Range& r : memory64)
        if (!error && !CopyMemory(fd, r.start, r.size, copyBuffer)) error = ErrorFromErrno(errno ? errno : ENOSPC);
    }
    hold.Release();
  }
  if (::close(fd) != 0 && !error) error = ErrorFromErrno(errno);
  if (request.note) {
    for (size_t i = 0; i < hold.Count(); ++i) {
      if (hold.Answered(i) || hold.Gone(i)) continue;
      char line[160];
      std::snprintf(line, sizeof line,
                    "DBGHELP::WriteMiniDump(): thread %u did not answer within %d ms and is left out of the dump",
                    hold.Id(i), kAnswerLimitMs);
      request.note(request.noteArg, Utf8ToUtf16(line).c_str());
    }
  }
  return error;
}

}  // namespace plat
