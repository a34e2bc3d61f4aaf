// A profile job: the tree, the two string caches, the file name and the state of
// the last open. A job handle is the job's address. Jobs are not thread-safe;
// only the reference count is atomic.
#pragma once
#include <atomic>
#include <cstdint>
#include <memory>

#include "prof/ItemList.h"
#include "prof/ItemPool.h"
#include "prof/StringCache.h"

namespace zx {

class clsFile;

// The job's file name: a wide buffer with its capacity in characters, 256 at
// first, grown to the name's length plus one; empty when the job has no file.
struct scProfFileName {
  std::unique_ptr<char16_t[]> chars;
  uint32_t capacity = 0;
  // False when the buffer cannot grow (the old name stays).
  bool Assign(const char16_t* name);
  const char16_t* Get() const { return chars ? chars.get() : u""; }
};

class clsProfJob {
 public:
  static constexpr uint32_t kInitialFileNameCapacity = 256;

  // A new empty job: caches, file name buffer, root "/", error 0, reference count 1,
  // cache switch from the registry. Null when memory runs out.
  static clsProfJob* Create(int32_t openMode);

  clsProfJob(const clsProfJob&) = delete;
  clsProfJob& operator=(const clsProfJob&) = delete;

  void AddRef() { refCount.fetch_add(1, std::memory_order_relaxed); }
  // Drops one reference; the last one destroys the job.
  void Release();

  // Interning: names always, values unless they look like numbers or
  // coordinates. With the cache off each call gives a string of its own. An
  // empty pointer means memory ran out.
  SharedString MakeName(const char16_t* text, int64_t length);
  SharedString MakeValue(const char16_t* text, int64_t length);
  // A string made elsewhere (another job's), interned here.
  SharedString AdoptName(const SharedString& s);
  SharedString AdoptValue(const SharedString& s);
  // Whether a value of this text stays out of the value cache: first character
  // "(", or a digit with 4 characters or more, or "-" and a digit with more than 4.
  static bool KeepsValueUncached(const char16_t* text, int64_t length);

  clsStringCache nameCache;
  clsStringCache valueCache;
  clsItemPool itemPool{sizeof(clsItem)};  // before the tree, so that it ends after it
  scProfFileName fileName;
  int32_t openMode = 0;  // 0 shared or no name, 1 exclusive or stream
  clsItemList rootList;
  int32_t lastError = 0;
  clsFile* file = nullptr;  // owned; only while an exclusive or stream job holds it
  int32_t baseLevel = 0;
  std::atomic<uint32_t> refCount{1};
  bool wasCompressed = false;
  bool cacheEnabled = true;

 private:
  clsProfJob();
  ~clsProfJob();
};

// The cache switch: value ProfCacheEnabled under the current user's
// software\zarnik\<upper-case host executable base name>. Unreadable: on; else on
// exactly when the text begins with "T".
bool ReadProfCacheEnabled();

}  // namespace zx
