#include "zip_writer_test_util.h"

#include <cstdlib>
#include <cstring>

namespace ziptest {
namespace {

template <typename T>
T Get(const std::string& b, size_t at) {
  T v{};
  if (at + sizeof(T) <= b.size()) std::memcpy(&v, b.data() + at, sizeof(T));
  return v;
}

bool HaveTool(const std::string& probe) {
  std::string out;
  return zxsupport::RunFilter(probe, "", out);
}

}  // namespace

Archive ReadArchive(const std::string& b) {
  Archive a;
  if (b.size() < 22) return a;
  // The comment's length says where the end record starts.
  size_t end = std::string::npos;
  for (size_t at = b.size() - 22 + 1; at-- > 0 && b.size() - at <= 22 + 0xFFFF;) {
    if (Get<uint32_t>(b, at) == 0x06054B50 && at + 22 + Get<uint16_t>(b, at + 20) == b.size()) {
      end = at;
      break;
    }
  }
  if (end == std::string::npos) return a;
  a.countOnDisk = Get<uint16_t>(b, end + 8);
  a.countTotal = Get<uint16_t>(b, end + 10);
  a.directorySize = Get<uint32_t>(b, end + 12);
  a.directoryOffset = Get<uint32_t>(b, end + 16);
  a.comment = b.substr(end + 22);
  size_t at = a.directoryOffset;
  while (at < size_t{a.directoryOffset} + a.directorySize) {
    if (Get<uint32_t>(b, at) != 0x02014B50 || at + 46 > b.size()) return a;
    CentralEntry e;
    e.versionMadeBy = Get<uint16_t>(b, at + 4);
    e.versionNeeded = Get<uint16_t>(b, at + 6);
    e.flags = Get<uint16_t>(b, at + 8);
    e.method = Get<uint16_t>(b, at + 10);
    e.time = Get<uint16_t>(b, at + 12);
    e.date = Get<uint16_t>(b, at + 14);
    e.crc = Get<uint32_t>(b, at + 16);
    e.compressedSize = Get<uint32_t>(b, at + 20);
    e.size = Get<uint32_t>(b, at + 24);
    const size_t nameLen = Get<uint16_t>(b, at + 28), extraLen = Get<uint16_t>(b, at + 30),
                 commentLen = Get<uint16_t>(b, at + 32);
    e.attributes = Get<uint32_t>(b, at + 38);
    e.localOffset = Get<uint32_t>(b, at + 42);
    e.name = b.substr(at + 46, nameLen);
    e.comment = b.substr(at + 46 + nameLen + extraLen, commentLen);
    a.entries.push_back(e);
    at += 46 + nameLen + extraLen + commentLen;
  }
  a.ok = at == size_t{a.directoryOffset} + a.directorySize && at == end;
  return a;
}

std::string KeepDir() {
  const char* keep = std::getenv("ZXUT_ZIP_KEEP");
  return keep ? keep : "";
}

namespace {
// Copies the archive into the keep folder under a name of its own.
std::string Keep(const std::string& path, const std::string& name = std::string()) {
  static int serial = 0;
  const std::string to = KeepDir() + "/" + (name.empty() ? "archive" + std::to_string(++serial) + ".zip" : name);
  zxsupport::WriteBytes(to, zxsupport::ReadBytes(path));
  return to;
}
}  // namespace

std::string JudgeArchive(const std::string& path) {
  if (!KeepDir().empty()) {
    Keep(path);
    return std::string();
  }
  std::string out;
  const std::string py =
      "python3 -c \"import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); bad = z.testzip(); "
      "sys.exit('bad entry %s' % bad if bad else 0)\" '" + path + "'";
  if (HaveTool("python3 -c pass") && !zxsupport::RunFilter(py, "", out)) return "python zipfile refused it";
  if (HaveTool("unzip -v") && !zxsupport::RunFilter("unzip -tq '" + path + "'", "", out))
    return "unzip -t refused it: " + out;
  if (HaveTool("7z i") && !zxsupport::RunFilter("7z t '" + path + "'", "", out)) return "7z t refused it: " + out;
  return std::string();
}

std::string CompareWithModel(const std::string& manifestJson, const std::string& archivePath) {
  if (!KeepDir().empty()) {
    zxsupport::WriteBytes(Keep(archivePath, "model.zip") + ".json", manifestJson);
    return std::string();
  }
  const std::string manifest = archivePath + ".json";
  zxsupport::WriteBytes(manifest, manifestJson);
  std::string out;
  const std::string cmd =
      std::string("(python3 ") + ZXUT_SOURCE_DIR + "/tests/zip/zip_model.py '" + manifest + "' '" + archivePath + "' 2>&1)";
  return zxsupport::RunFilter(cmd, "", out) ? std::string() : "model: " + out;
}

std::string JsonString(const std::string& utf8) {
  std::string s = "\"";
  for (unsigned char c : utf8) {
    if (c == '"' || c == '\\') {
      s += '\\';
      s += static_cast<char>(c);
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      s += buf;
    } else {
      s += static_cast<char>(c);
    }
  }
  return s + "\"";
}

}  // namespace ziptest
