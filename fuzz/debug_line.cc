// Debug lines through the exports a client calls (UtilDebug, UtilDebugExt,
// UtilDebugExtV, PasDebug, and the null-format indentation change) into a log file,
// with fuzzed tags, texts (markers, '%', line breaks, lone surrogates, thousands of
// units), indentation changes of any 32-bit value and thread names.
//
// Every call must append exactly one line: the tag padded to 8 and ": ", the time
// field of 27 characters (wall clock: this target's registry is empty) with this
// thread's number and a digit that rolls by one per line, the marker, blanks for
// the indentation clamped to 0..50 (one more behind a marker), the thread name and
// the text; cut at 1024 characters, then CR LF. The indentation follows the rules
// of opening (+: print, then indent) and closing (-: unindent, then print) lines.
#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz_util.h"
#include "debug/Debug.h"
#include "debug/DebugChannel.h"
#include "platform/process.h"
#include "zxUT22.h"

namespace {

constexpr size_t kMaxLine = 1024;
constexpr size_t kTimeChars = 27;
constexpr char16_t kMarker = 0x25A0;

LPCWSTR W(const std::u16string& s) { return reinterpret_cast<LPCWSTR>(s.c_str()); }

class Input : public fuzzutil::ByteReader {
 public:
  using ByteReader::ByteReader;
  // Text of the characters that matter to a line, now and then a raw unit; rarely
  // thousands of units. May hold a zero unit: the callee sees the text up to it.
  std::u16string Text() {
    static const char16_t kAlphabet[] = u"ab %\r\n\t:\u25A0\u00E9\u20AC[";
    size_t n = Byte() % 24;
    if (n == 23) n = 200 + (Byte() | Byte() << 8) % 3000;
    std::u16string t;
    for (size_t i = 0; i < n; ++i) {
      const uint8_t b = More() ? Byte() : static_cast<uint8_t>(i);
      if (b < 240)
        t += kAlphabet[b % 12];
      else
        t += static_cast<char16_t>(Byte() | Byte() << 8);
    }
    return t;
  }
  int32_t Change() {
    switch (Byte() % 8) {
      case 0: case 1: return 0;
      case 2: case 3: return 1;
      case 4: case 5: return -1;
      case 6: return 5;
      default: return static_cast<int32_t>(Byte() | Byte() << 8 | Byte() << 16 | static_cast<uint32_t>(Byte()) << 24);
    }
  }
};

std::u16string UpToZero(const std::u16string& s) { return s.substr(0, s.find(u'\0')); }

// A text as a format that prints it: every '%' doubled.
std::u16string AsFormat(const std::u16string& text) {
  std::u16string f;
  for (char16_t c : text) f += c == u'%' ? u"%%" : std::u16string(1, c);
  return f;
}

class LogChecker {
 public:
  explicit LogChecker(std::string path) : path_(std::move(path)) {}
  void Reset() {
    std::remove(path_.c_str());
    offset_ = 0;
    digit_ = -1;
  }
  // Compares what the last call appended with `expected`, whose units from `timeAt`
  // on stand for the time field.
  void Expect(const std::u16string& expected, size_t timeAt) {
    const std::u16string got = Appended();
    const size_t length = std::min(expected.size(), kMaxLine);
    FUZZ_CHECK(got.size() == length + 2);   // one line, whole, cut at the limit
    FUZZ_CHECK(got.compare(length, 2, u"\r\n") == 0);
    for (size_t i = 0; i < length; ++i)
      if (i < timeAt || i >= timeAt + kTimeChars) FUZZ_CHECK(got[i] == expected[i]);
    if (timeAt + kTimeChars <= length)
      CheckTime(got.substr(timeAt, kTimeChars));
    else if (digit_ >= 0)
      digit_ = (digit_ + 1) % 10;   // a tag filled the line: its digit rolled unseen
  }
  void ExpectNothing() { FUZZ_CHECK(Appended().empty()); }

 private:
  std::u16string Appended() {
    std::ifstream f(path_, std::ios::binary);
    f.seekg(static_cast<std::streamoff>(offset_));
    std::string bytes((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    offset_ += bytes.size();
    FUZZ_CHECK(bytes.size() % 2 == 0);
    std::u16string got;
    for (size_t i = 0; i < bytes.size(); i += 2)
      got += static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
    return got;
  }
  // "hh:mm:ss.mmm tttttttt/pp d "
  void CheckTime(const std::u16string& t) {
    static const char kShape[] = "99:99:99.999 xxxxxxxx/xx 9 ";
    for (size_t i = 0; i < kTimeChars; ++i) {
      const char16_t c = t[i];
      const bool digit = c >= u'0' && c <= u'9';
      const bool hex = digit || (c >= u'a' && c <= u'f');
      FUZZ_CHECK(kShape[i] == '9' ? digit : kShape[i] == 'x' ? hex : c == static_cast<char16_t>(kShape[i]));
    }
    char thread[9] = {};
    for (int i = 0; i < 8; ++i) thread[i] = static_cast<char>(t[13 + i]);
    FUZZ_CHECK(std::strtoul(thread, nullptr, 16) == plat::ThreadId());
    const int digit = t[25] - u'0';
    if (digit_ >= 0) FUZZ_CHECK(digit == (digit_ + 1) % 10);
    digit_ = digit;
  }

  std::string path_;
  size_t offset_ = 0;
  int digit_ = -1;
};

void ExtV(LPCWSTR tag, LONG change, LPCWSTR format, ...) {
  va_list ap;
  va_start(ap, format);
  UtilDebugExtV(tag, change, format, ap);
  va_end(ap);
}

zx::clsDebugChannel* g_channel = nullptr;
LogChecker* g_log = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Shared blocks and registry of this process alone: no viewer, no timing choice.
  const std::string self = "zxfuzz" + std::to_string(plat::ProcessId());
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / (self + "-reg");
  std::filesystem::create_directories(dir);
  setenv("ZXUT_SHM_PREFIX", self.c_str(), 1);
  setenv("ZXUT_REGISTRY_DIR", dir.c_str(), 1);
  g_channel = zx::DebugChannel();
  if (!g_channel || g_channel->SharedView()) ::fuzzutil::Fail(__FILE__, __LINE__, "a debug channel of this process alone");
  const std::string log = (std::filesystem::temp_directory_path() / (self + ".log")).string();
  g_channel->SetLogFile(zx::String(std::u16string(log.begin(), log.end()).c_str()), false);
  g_log = new LogChecker(log);
  static std::filesystem::path s_log = log, s_dir = dir;
  std::atexit([] {
    std::error_code ec;
    std::filesystem::remove(s_log, ec);
    std::filesystem::remove_all(s_dir, ec);
  });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static std::string threadName;   // the channel keeps the pointer
  Input in(data, size);
  g_log->Reset();
  int64_t indent = 0;   // the stored indentation, unclamped
  if (g_channel->AppLocal()) g_channel->AppLocal()->indentation.store(0);
  zx::DebugSetThreadName(nullptr);
  std::string name;
  const std::u16string libraryTag = g_channel->LibraryTag();
  for (int lines = 0; in.More() && lines < 64; ++lines) {
    const uint8_t op = in.Byte() % 6;
    if (op == 5) {   // a thread name of printable ASCII, or none
      threadName.clear();
      for (int n = in.Byte() % 12; n > 0; --n) threadName += static_cast<char>(u'!' + in.Byte() % 94);
      name = threadName;
      zx::DebugSetThreadName(name.empty() ? nullptr : threadName.c_str());
      continue;
    }
    const std::u16string tag = in.Text(), text = in.Text();
    const bool nullTag = in.Byte() & 1;
    const int32_t change = op == 0 || op == 2 ? 0 : in.Change();
    if (op == 4 && change == 0) continue;   // a null format with no change does nothing
    std::u16string format = AsFormat(text), marker, message = UpToZero(text);
    bool withTag = true;
    std::u16string lineTag = UpToZero(tag);
    switch (op) {
      case 0:
        UtilDebug(W(format));
        withTag = false;
        break;
      case 1:
        UtilDebugExt(nullTag ? nullptr : W(tag), change, W(format));
        withTag = !nullTag;
        break;
      case 2:
        PasDebug(W(text));
        lineTag = libraryTag;
        break;
      case 3:
        ExtV(nullTag ? nullptr : W(tag), change, W(std::u16string(u"%s")), text.c_str());
        withTag = !nullTag;
        format = u"%s";
        break;
      case 4:   // indentation only: no line
        UtilDebugExt(W(tag), change, nullptr);
        indent += change > 0 ? 1 : -1;
        g_log->ExpectNothing();
        continue;
    }
    // The marker is the format's text in front of its first U+25A0, as written.
    const std::u16string cut = UpToZero(format);
    if (const size_t at = cut.find(kMarker); op != 2 && op != 3 && at != std::u16string::npos) {
      marker = cut.substr(0, at);
      std::u16string rest;
      for (size_t i = at + 1; i < cut.size(); ++i) {
        rest += cut[i];
        if (cut[i] == u'%') ++i;   // "%%" prints one '%'
      }
      message = rest;
    }
    if (change < 0) --indent;
    const int64_t clamped = indent < 0 ? 0 : indent > 50 ? 50 : indent;
    std::u16string expected;
    if (withTag) {
      expected = lineTag;
      if (expected.size() < 8) expected.append(8 - expected.size(), u' ');
      expected += u": ";
    }
    const size_t timeAt = expected.size();
    expected.append(kTimeChars, u'?');
    expected += marker;
    expected.append(static_cast<size_t>(clamped + (marker.empty() ? 0 : 1)), u' ');
    if (!name.empty()) expected += u"[" + std::u16string(name.begin(), name.end()) + u"] ";
    expected += message;
    g_log->Expect(expected, timeAt);
    if (change > 0) ++indent;
    if (g_channel->AppLocal()) FUZZ_CHECK(g_channel->AppLocal()->indentation.load() == indent);
  }
  zx::DebugSetThreadName(nullptr);
  return 0;
}
