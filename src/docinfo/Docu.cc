#include "docinfo/Docu.h"

#include <cstring>

namespace zx {

bool IsUnsetTime(const plat::SystemTime& t) { return SameTime(t, kUnsetSystemTime); }

bool SameTime(const plat::SystemTime& a, const plat::SystemTime& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

clsDocu::clsDocu(const String& askedName, uint32_t refreshSeconds, uint32_t shareTimeoutSeconds,
                 clsDocuList* list)
    : refreshInterval(refreshSeconds * 1000u), owner(list), shareTimeout(shareTimeoutSeconds * 1000u) {
  const std::u16string_view text = askedName.View();
  const size_t bar = text.find(u'|');
  if (bar == std::u16string_view::npos) {
    name = askedName;
  } else {
    name = askedName.Left(static_cast<int64_t>(bar));
    fragment = askedName.Mid(static_cast<int64_t>(bar) + 1);
  }
}

clsDocu::clsDocu(const clsDocu& other) : clsIUnknownImpl() {
  CopyFields(other);
  refreshEnabled = 1;
}

clsDocu& clsDocu::operator=(const clsDocu& other) {
  if (this != &other) CopyFields(other);
  return *this;
}

void clsDocu::CopyFields(const clsDocu& o) {
  name = o.name;
  refreshInterval = o.refreshInterval;
  lastCheck = o.lastCheck;
  owner = o.owner;
  exists = o.exists;
  fileTime = o.fileTime;
  created = o.created;
  lastSaved = o.lastSaved;
  fragment = o.fragment;
  title = o.title;
  subject = o.subject;
  author = o.author;
  lastAuthor = o.lastAuthor;
  keywords = o.keywords;
  comments = o.comments;
  resolvedPath = o.resolvedPath;
  useShellProperties = o.useShellProperties;
  shareTimeout = o.shareTimeout;
}

void clsDocu::Reset() {
  exists = 0;
  created = kUnsetSystemTime;
  lastSaved = kUnsetSystemTime;
  for (clsVariant* v : {&title, &subject, &author, &lastAuthor, &keywords, &comments}) v->Clear();
  lastCheck = 0;
}

}  // namespace zx
