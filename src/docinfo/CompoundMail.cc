#include "docinfo/CompoundMail.h"

#include "core/strings/CharsetConversion.h"
#include "docinfo/CompoundStorage.h"
#include "docinfo/DocTime.h"
#include "docinfo/PropertySet.h"

namespace zx {
namespace {

constexpr uint32_t kSubject = 0x0037;
constexpr uint32_t kSenderName = 0x0042;
constexpr uint32_t kSenderAddress = 0x0065;
constexpr uint32_t kSenderName2 = 0x0C1A;
constexpr uint32_t kSenderAddress2 = 0x0C1F;
constexpr uint32_t kRecipientName = 0x3001;
constexpr uint32_t kRecipientAddress = 0x3003;
constexpr uint32_t kSubmitTime = 0x00390040;
constexpr uint32_t kDeliveryTime = 0x0E060040;
constexpr uint64_t kStringLimit = 0x7FFFFFFE;
// The fixed-size table: a few KiB in practice.
constexpr uint64_t kPropertiesLimit = 16u << 20;

std::u16string Name(const char16_t* format, uint32_t value) {
  return std::u16string(String(kFormat, format, value).View());
}

bool ReadTime(const std::string& table, uint32_t tag, plat::SystemTime* t) {
  const auto* p = reinterpret_cast<const uint8_t*>(table.data());
  for (size_t at = kMailPropertyHeader; at + kMailPropertyStride <= table.size(); at += kMailPropertyStride) {
    const uint32_t entryTag = static_cast<uint32_t>(p[at]) | p[at + 1] << 8 | p[at + 2] << 16 |
                              static_cast<uint32_t>(p[at + 3]) << 24;
    if (entryTag != tag) continue;
    uint64_t value = 0;
    for (int i = 7; i >= 0; --i) value = value << 8 | p[at + 8 + i];
    if (!FileTimeToUtc(value, t)) *t = kUnsetSystemTime;
    return true;
  }
  return false;
}

}  // namespace

String ReadMailString(clsCompoundFile& storage, int32_t parent, uint32_t tag) {
  std::string bytes;
  int32_t e = storage.FindChild(parent, Name(u"__substg1.0_%08X", tag << 16 | 0x001E));
  if (e >= 0) {
    if (!storage.ReadStream(e, kStringLimit, &bytes)) return String();
    return StringFromNarrow(bytes.data(), static_cast<int64_t>(bytes.size()), 0);
  }
  e = storage.FindChild(parent, Name(u"__substg1.0_%08X", tag << 16 | 0x001F));
  if (e < 0 || !storage.ReadStream(e, kStringLimit, &bytes)) return String();
  std::u16string text;
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const char16_t c = static_cast<char16_t>(static_cast<uint8_t>(bytes[i]) | static_cast<uint8_t>(bytes[i + 1]) << 8);
    if (c == 0) break;
    text.push_back(c);
  }
  return String(std::u16string_view(text));
}

int ReadCompoundMailFrom(clsDocu& doc, clsCompoundFile& storage) {
  const int32_t root = storage.Root();
  doc.title = ReadMailString(storage, root, kSubject);

  String name = ReadMailString(storage, root, kSenderName);
  String address = ReadMailString(storage, root, kSenderAddress);
  if (name.IsEmpty()) name = ReadMailString(storage, root, kSenderName2);
  if (address.IsEmpty()) address = ReadMailString(storage, root, kSenderAddress2);
  doc.author = name.IsEmpty() ? address : name;

  // Recipients by number until one is missing; the directory bounds the count.
  String recipients;
  for (uint32_t n = 0; n < storage.EntryCount(); ++n) {
    const int32_t r = storage.FindChild(root, Name(u"__recip_version1.0_#%08X", n));
    if (r < 0 || storage.Entry(r).type != kCfbStorage) break;
    String who = ReadMailString(storage, r, kRecipientName);
    if (who.IsEmpty()) who = ReadMailString(storage, r, kRecipientAddress);
    recipients.Append(who, String(u"; "));
  }
  if (!recipients.IsEmpty()) doc.lastAuthor = recipients;

  const int32_t table = storage.FindChild(root, u"__properties_version1.0");
  std::string bytes;
  if (table >= 0 && storage.ReadStream(table, kPropertiesLimit, &bytes)) {
    plat::SystemTime first = kUnsetSystemTime, second = kUnsetSystemTime;
    ReadTime(bytes, kSubmitTime, &first);
    ReadTime(bytes, kDeliveryTime, &second);
    if (!IsUnsetTime(first)) {
      doc.created = first;
      if (!IsUnsetTime(second)) doc.lastSaved = second;
    } else if (!IsUnsetTime(second)) {
      doc.created = second;
    }
  }
  return 0;
}

int ReadCompoundMailInfo(clsDocu& doc, const String& path) {
  return ReadCompoundStorage(path, [&](clsCompoundFile& storage) { return ReadCompoundMailFrom(doc, storage); });
}

}  // namespace zx
