#include "zip/ZipFile.h"

#include <algorithm>
#include <vector>

#include "core/diag/Diag.h"

namespace zx {
namespace {

// The open flags of archive and sources: sequential scan, normal attributes.
constexpr uint32_t kZipOpenFlags = kFileNormal | kFileSequentialScan;

// One backslash between the parts unless the first ends in one (or a slash); an
// empty part gives the other.
String JoinPath(const String& first, const String& second) {
  if (first.IsEmpty()) return second;
  if (second.IsEmpty()) return first;
  String joined = first;
  const char16_t last = first.GetAt(first.Length() - 1);
  if (last != u'\\' && last != u'/') joined.Append(u'\\');
  joined.Append(second);
  return joined;
}

// The entries of one find, in the order of a name-sorted file system (upper case,
// by code unit), so that an archive comes out the same on every file system.
std::vector<plat::FindEntry> FindSorted(const String& pattern, bool folders) {
  std::vector<std::pair<String, plat::FindEntry>> found;
  plat::FileFinder finder(pattern.wchar());
  plat::FindEntry entry;
  while (finder.Next(&entry)) {
    const bool isFolder = (entry.info.attributes & plat::kAttrDirectory) != 0;
    if (isFolder != folders || entry.name == u"." || entry.name == u"..") continue;
    String key(std::u16string_view(entry.name));
    key.ToUpper();
    found.emplace_back(key, entry);
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& a, const auto& b) { return a.first.View() < b.first.View(); });
  std::vector<plat::FindEntry> sorted;
  sorted.reserve(found.size());
  for (auto& f : found) sorted.push_back(std::move(f.second));
  return sorted;
}

}  // namespace

clsZIPFile::clsZIPFile()
    : m_driveRule(String(u"(?i)^([A-Z]:)(.*)$")), m_serverRule(String(u"(?i)^(\\\\\\\\.*?)(\\\\.*)$")) {}

clsZIPFile::~clsZIPFile() { clearAndDestroy(); }

const char16_t* clsZIPFile::ArchiveLabel() const { return m_file.Stream() ? u"(Stream)" : m_file.Name().wchar(); }

bool clsZIPFile::Create(const String& path, const String& comment) {
  m_sComment = comment;
  if (m_file.Open(path, 2, 2, 0, kZipOpenFlags) != 0) return false;
  m_file.SetPos(0);
  m_file.SetEOF();
  return true;
}

String clsZIPFile::EntryName(const String& entryName, const String& sourcePath) {
  String name = entryName.IsEmpty() ? sourcePath : entryName;
  clsRegExMatchList match;
  if (m_driveRule.Match(name, &match) || m_serverRule.Match(name, &match))
    name = match.find(std::min(2, match.entries() - 1)).text;
  name.ReplaceChar(u'\\', u'/');
  return name;
}

int32_t clsZIPFile::Append(const String& sourcePath, const String& comment, const String& entryName) {
  clsFileRO source;
  if (source.Open(sourcePath, 0, 0, 2, kZipOpenFlags) != 0) return -1;
  auto* entry = new clsZIPFileEntry(EntryName(entryName, sourcePath), comment, m_budget);
  const int32_t rc = entry->FillFromFile(source, m_deflater, m_qwMaxSize);
  if (rc != 0) {
    delete entry;   // and its spill with it
    return rc;
  }
  append(entry);
  return 0;
}

void clsZIPFile::AppendFolder(const plat::FindEntry& folder, const String& sourcePath, const String& entryName) {
  auto* entry = new clsZIPFileEntry(EntryName(entryName, sourcePath), String(), m_budget);
  entry->FillFolder(folder, sourcePath);
  append(entry);
}

void clsZIPFile::AppendList(const String& folder, const String& mask, uint32_t flags) {
  Walk(folder, String(), mask.IsEmpty() ? String(u"*.*") : mask, flags);
}

// Files of a folder come before its sub-folders; the caller's mask applies to the
// top folder only, below it every file is taken.
void clsZIPFile::Walk(const String& root, const String& relative, const String& mask, uint32_t flags) {
  const String current = JoinPath(root, relative);
  for (const plat::FindEntry& file : FindSorted(JoinPath(current, mask), false)) {
    const String name(std::u16string_view(file.name));
    Append(JoinPath(current, name), String(), JoinPath(relative, name));
  }
  if (!(flags & kZipRecurse)) return;
  for (const plat::FindEntry& folder : FindSorted(JoinPath(current, String(u"*.*")), true)) {
    const String name(std::u16string_view(folder.name));
    const String subRelative = JoinPath(relative, name);
    AppendFolder(folder, JoinPath(root, name), subRelative);
    Walk(root, subRelative, String(u"*.*"), flags);
  }
}

}  // namespace zx
