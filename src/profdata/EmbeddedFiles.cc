// Whole files and streams as packed values, and sets of them as "File.Entry" lists.
#include <string>
#include <vector>

#include "core/diag/Diag.h"
#include "debug/Debug.h"
#include "file/File.h"
#include "packed/PackedString.h"
#include "path/FileFind.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "prof/Prof.h"
#include "profdata/ProfData.h"

namespace zx::prof {
namespace {

constexpr char16_t kEntryName[] = u"File.Entry";

bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

String PackWhole(clsFile& file, const char16_t* password) {
  if (!file.IsOpen() || file.GetSize() == 0 || file.GetSize() == kAllOnes64) return String();
  return Pack(file, true, String(password ? password : u""));
}

// The packed value at `path` decoded in memory, so that a wrong password or
// damaged data never reaches the target: 0, kErrNotFound or kErrWrite.
int32_t DecodeValue(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                    clsFile& decoded) {
  clsItem* item = FindValue(job, list, path);
  if (item == nullptr) return kErrNotFound;
  if (!decoded.IsOpen()) return kErrWrite;
  const String text = item->value.Text();
  if (text.IsEmpty()) return kOk;  // an empty file was packed as the empty text
  if (UnpackChecked(decoded, text, String(password ? password : u"")) != UnpackResult::kWritten) return kErrWrite;
  return kOk;
}

// The decoded data into `target` from its start, ending it there.
bool WriteDecoded(clsFile& decoded, clsFile& target) {
  decoded.SetPos(0);
  if (target.SetPos(0) != 0 || !target.CopyFrom(decoded)) return false;
  target.SetEOF();
  return true;
}

bool CollectEntry(void* context, clsProfJob*, const char16_t* name, const char16_t*, clsItemList* sublist) {
  if (sublist != nullptr && std::u16string_view(name) == std::u16string_view(kEntryName))
    static_cast<std::vector<clsItemList*>*>(context)->push_back(sublist);
  return true;
}

}  // namespace

String SafeEntryName(const String& name) {
  std::u16string_view v = name.View();
  size_t start = 0;
  for (size_t i = 0; i < v.size(); ++i)
    if (IsSeparator(v[i]) || v[i] == u':') start = i + 1;  // folders, drives and streams go
  v.remove_prefix(start);
  while (!v.empty() && (v.back() == u' ' || v.back() == u'.')) v.remove_suffix(1);  // "..", "x. "
  if (v.empty()) return String();
  String result{v};
  return IsValidFileName(result) ? result : String();
}

void AppendFile(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                const char16_t* fileName) {
  if (job == nullptr) return;
  clsFileRO file(String(fileName ? fileName : u""), 0, 0, 2, kFileSequentialScan | kFileNormal);
  AppendString(job, list, path, PackWhole(file, password).wchar());
}

void AppendStream(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                  IStream* stream) {
  if (job == nullptr) return;
  clsFileRO file(stream);
  AppendString(job, list, path, PackWhole(file, password).wchar());
}

int32_t GetFile(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                const char16_t* fileName) {
  if (job == nullptr) return kOk;
  clsFileRWTempStream decoded;
  const int32_t rc = DecodeValue(job, list, path, password, decoded);
  if (rc != kOk) return rc;
  const String name(fileName ? fileName : u"");
  clsFileRW file(name, 2, 1, 0, kFileNormal);
  return file.IsOpen() && WriteDecoded(decoded, file) ? kOk : kErrWrite;
}

int32_t GetStream(clsProfJob* job, clsItemList* list, const char16_t* path, const char16_t* password,
                  IStream* stream) {
  if (job == nullptr) return kOk;
  clsFileRWTempStream decoded;
  const int32_t rc = DecodeValue(job, list, path, password, decoded);
  if (rc != kOk) return rc;
  clsFileRW file(stream);
  return file.IsOpen() && WriteDecoded(decoded, file) ? kOk : kErrWrite;
}

int32_t AppendFiles(clsProfJob* job, clsItemList* list, const char16_t* pattern, const char16_t* password) {
  if (pattern == nullptr) return 0;
  const std::u16string_view p(pattern);
  size_t cut = 0;
  for (size_t i = 0; i < p.size(); ++i)
    if (IsSeparator(p[i])) cut = i + 1;
  const std::u16string folder(p.substr(0, cut));
  clsFileFind find{String(p), false};
  int32_t count = 0;
  while (find.Next()) {
    if (find.IsFolder()) continue;
    const String name = find.Name();
    clsFileRO file(String(std::u16string_view(folder + std::u16string(name.View()))), 0, 0, 2,
                   kFileSequentialScan | kFileNormal);
    ++count;
    const String packed = PackWhole(file, password);
    if (packed.IsEmpty() || job == nullptr) continue;
    clsItemList* entry = AppendList(job, list, kEntryName);
    if (entry == nullptr) continue;
    AppendString(job, entry, u"Name", name.wchar());
    AppendString(job, entry, u"Contents", packed.wchar());
  }
  return count;
}

int32_t ExtractFiles(clsProfJob* job, clsItemList* list, const char16_t* folder, const char16_t* password) {
  if (job == nullptr || folder == nullptr) return 0;
  std::vector<clsItemList*> entries;
  if (Enum(job, list, CollectEntry, &entries) == 0) return 0;  // the walk was stopped
  std::u16string base(folder);
  int32_t count = 0;
  for (clsItemList* entry : entries) {
    if (!plat::MakeFolder(base.c_str()) && plat::LastError() != plat::kErrAlreadyExists) {
      DebugPrint(u"problem creating directory '%s'", base.c_str());
      return kErrWrite;
    }
    if (!base.empty() && !IsSeparator(base.back())) base += u'\\';
    char16_t raw[260];
    if (GetString(job, entry, u"Name", raw, 260, u"") < 0 || raw[0] == 0) {
      DebugPrint(u"ProfExtractFiles:\"Filename=\" not found");
      continue;
    }
    // Only a plain name is written, and only inside the folder.
    const String name = SafeEntryName(String(raw));
    if (name.IsEmpty()) {
      DebugPrint(u"ProfExtractFiles: the name '%s' is not a plain file name; skipped", raw);
      continue;
    }
    clsFileRWTempStream decoded;
    if (DecodeValue(job, entry, u"Contents", password, decoded) != kOk) continue;  // nothing is written
    const String target(std::u16string_view(base + std::u16string(name.View())));
    clsFileRW file(target, 2, 2, 0, kFileNormal);
    if (!file.IsOpen()) {
      DebugPrint(u"'%s' could not be created", target.wchar());
      continue;
    }
    if (!WriteDecoded(decoded, file)) {  // a full disk: no half file stays
      file.Close();
      plat::RemoveFile(target.wchar());
      continue;
    }
    ++count;
  }
  return count;
}

}  // namespace zx::prof
