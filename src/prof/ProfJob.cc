#include "prof/ProfJob.h"

#include "file/File.h"

#include <cstring>
#include <new>
#include <string>

namespace zx {

bool scProfFileName::Assign(const char16_t* name) {
  size_t n = name ? std::char_traits<char16_t>::length(name) : 0;
  if (n + 1 > capacity) {
    std::unique_ptr<char16_t[]> grown(new (std::nothrow) char16_t[n + 1]);
    if (!grown) return false;
    chars = std::move(grown);
    capacity = static_cast<uint32_t>(n + 1);
  }
  if (n) std::memcpy(chars.get(), name, n * sizeof(char16_t));
  chars[n] = 0;
  return true;
}

clsProfJob::clsProfJob() : rootList(this) {}

clsProfJob::~clsProfJob() {
  // The file first (ending an exclusive hold), then the tree, the file name, the
  // item pool, the value cache and the name cache, in this order.
  delete file;
  file = nullptr;
  rootList.DeleteAll();
  fileName.chars.reset();
  fileName.capacity = 0;
}

clsProfJob* clsProfJob::Create(int32_t openMode) {
  clsProfJob* job = new (std::nothrow) clsProfJob();
  if (job == nullptr) return nullptr;
  job->fileName.chars.reset(new (std::nothrow) char16_t[kInitialFileNameCapacity]);
  if (!job->fileName.chars) {
    delete job;
    return nullptr;
  }
  job->fileName.capacity = kInitialFileNameCapacity;
  job->fileName.chars[0] = 0;
  job->cacheEnabled = ReadProfCacheEnabled();
  job->rootList.Rename(u"/");  // now through the cache, which is set up
  if (!job->rootList.name) {
    delete job;
    return nullptr;
  }
  job->openMode = openMode;
  return job;
}

void clsProfJob::Release() {
  if (refCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
}

bool clsProfJob::KeepsValueUncached(const char16_t* text, int64_t length) {
  if (length <= 0) return false;
  auto digit = [](char16_t c) { return c >= u'0' && c <= u'9'; };
  if (text[0] == u'(') return true;
  if (digit(text[0]) && length >= 4) return true;
  if (text[0] == u'-' && length > 4 && digit(text[1])) return true;
  return false;
}

namespace {
// The text a String made from (text, length) holds: it ends at a zero character.
std::u16string_view StoredText(const char16_t* text, int64_t length) {
  if (length <= 0) return {};
  const std::u16string_view all(text, static_cast<size_t>(length));
  return all.substr(0, all.find(u'\0'));
}
}  // namespace

SharedString clsProfJob::MakeName(const char16_t* text, int64_t length) {
  if (text == nullptr) text = u"";
  if (length == kWholeString) length = static_cast<int64_t>(std::char_traits<char16_t>::length(text));
  // Cached, the text is looked up first, so a name met before allocates nothing.
  if (cacheEnabled) return nameCache.Intern(StoredText(text, length));
  return SharedString::Make(text, length);
}

SharedString clsProfJob::MakeValue(const char16_t* text, int64_t length) {
  if (text == nullptr) text = u"";
  if (length == kWholeString) length = static_cast<int64_t>(std::char_traits<char16_t>::length(text));
  if (!cacheEnabled || KeepsValueUncached(text, length)) return SharedString::Make(text, length);
  return valueCache.Intern(StoredText(text, length));
}

SharedString clsProfJob::AdoptName(const SharedString& s) {
  return cacheEnabled ? nameCache.Intern(s) : s;
}

SharedString clsProfJob::AdoptValue(const SharedString& s) {
  if (!cacheEnabled || KeepsValueUncached(s.Chars(), s.Length())) return s;
  return valueCache.Intern(s);
}

}  // namespace zx
