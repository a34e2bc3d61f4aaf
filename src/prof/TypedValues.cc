// Typed values: each is stored in its written text form and read back by
// trying its read forms. A missing or empty item delivers the default after a
// trip through the type's text form.
#include "core/format/Format.h"
#include "prof/Prof.h"

namespace zx::prof {

namespace {

void Store(clsProfJob* job, clsItemList* list, const char16_t* path, bool append,
           const char16_t* text) {
  if (append) {
    AppendString(job, list, path, text);
  } else {
    SetString(job, list, path, text);
  }
}

// Gets the value into buf (capacity cap) with the default's text as the default.
// For a result below 1 (missing or empty) buf holds the default's text.
template <class WriteDefault>
int32_t Fetch(clsProfJob* job, clsItemList* list, const char16_t* path, char16_t* buf, size_t cap,
              WriteDefault writeDefault) {
  writeDefault(buf, cap);
  int32_t r = GetString(job, list, path, buf, static_cast<int32_t>(cap), buf);
  if (r == 0) writeDefault(buf, cap);  // an empty value counts as missing
  return r;
}

int32_t Wrap(int32_t a, int32_t b) {  // a + b with 32-bit wrap-around
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}

}  // namespace

// ---- append and set

void PutBool(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int32_t value) {
  if (job == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteBool(buf, kTypedBufferSize, value != 0));
}

void PutDouble(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, double value) {
  if (job == nullptr) return;
  char16_t buf[kDoubleBufferSize];
  Store(job, list, path, append, WriteDouble(buf, kDoubleBufferSize, value));
}

void PutInt(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int32_t value) {
  if (job == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteInt(buf, kTypedBufferSize, value));
}

void PutIntHex(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int32_t value) {
  if (job == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteIntHex(buf, kTypedBufferSize, value));
}

void PutInt64(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int64_t value) {
  if (job == nullptr) return;
  char16_t buf[kInt64BufferSize];
  Store(job, list, path, append, WriteInt64(buf, kInt64BufferSize, value));
}

void PutInt64Hex(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, int64_t value) {
  if (job == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteInt64Hex(buf, kTypedBufferSize, value));
}

void PutPoint(clsProfJob* job, clsItemList* list, const char16_t* path, bool append,
              const PointValue* value) {
  if (job == nullptr || value == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WritePoint(buf, kTypedBufferSize, *value));
}

void PutRect(clsProfJob* job, clsItemList* list, const char16_t* path, bool append,
             const RectValue* value) {
  if (job == nullptr || value == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteRect(buf, kTypedBufferSize, *value));
}

void PutRectLTWH(clsProfJob* job, clsItemList* list, const char16_t* path, bool append,
                 const RectValue* value) {
  if (job == nullptr || value == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteRectLTWH(buf, kTypedBufferSize, *value));
}

void PutColorref(clsProfJob* job, clsItemList* list, const char16_t* path, bool append, uint32_t value) {
  if (job == nullptr) return;
  char16_t buf[kTypedBufferSize];
  Store(job, list, path, append, WriteColorref(buf, kTypedBufferSize, value));
}

// ---- get

int32_t GetBool(clsProfJob* job, clsItemList* list, const char16_t* path, int32_t* out, int32_t def) {
  if (job == nullptr) return kOk;
  char16_t buf[kTypedBufferSize];
  int32_t r = Fetch(job, list, path, buf, kTypedBufferSize,
                    [def](char16_t* b, size_t cap) { WriteBool(b, cap, def != 0); });
  if (r < 1) {
    if (out) *out = def;
    return kErrNotFound;
  }
  if (out) *out = ReadsAsTrue(buf) ? 1 : 0;
  return kOk;
}

int32_t GetDouble(clsProfJob* job, clsItemList* list, const char16_t* path, double* out, double def) {
  if (job == nullptr) return kOk;
  char16_t buf[kDoubleBufferSize];
  int32_t r = Fetch(job, list, path, buf, kDoubleBufferSize,
                    [def](char16_t* b, size_t cap) { WriteDouble(b, cap, def); });
  if (out) *out = ReadDouble(buf);
  return r < 1 ? kErrNotFound : kOk;
}

int32_t GetInt(clsProfJob* job, clsItemList* list, const char16_t* path, int32_t* out, int32_t def) {
  if (job == nullptr) return kOk;
  char16_t buf[kTypedBufferSize];
  int32_t r = Fetch(job, list, path, buf, kTypedBufferSize,
                    [def](char16_t* b, size_t cap) { WriteInt(b, cap, def); });
  int32_t v;
  if (!ReadInt(buf, &v)) return r < 1 ? kErrNotFound : kErrFormat;
  if (out) *out = v;
  return r < 1 ? kErrNotFound : kOk;
}

int32_t GetInt64(clsProfJob* job, clsItemList* list, const char16_t* path, int64_t* out, int64_t def) {
  if (job == nullptr) return kOk;
  char16_t buf[kInt64BufferSize];
  int32_t r = Fetch(job, list, path, buf, kInt64BufferSize,
                    [def](char16_t* b, size_t cap) { WriteInt64(b, cap, def); });
  int64_t v;
  if (!ReadInt64(buf, &v)) return r < 1 ? kErrNotFound : kErrFormat;
  if (out) *out = v;
  return r < 1 ? kErrNotFound : kOk;
}

int32_t GetColorref(clsProfJob* job, clsItemList* list, const char16_t* path, uint32_t* out,
                    uint32_t def) {
  if (job == nullptr) return kOk;
  char16_t buf[kTypedBufferSize];
  int32_t r = Fetch(job, list, path, buf, kTypedBufferSize,
                    [def](char16_t* b, size_t cap) { WriteColorref(b, cap, def); });
  uint32_t v;
  if (!ReadColorref(buf, &v)) return r < 1 ? kErrNotFound : kErrFormat;
  if (out) *out = v;
  return r < 1 ? kErrNotFound : kOk;
}

namespace {

// Point and rectangles: a missing or empty item copies the default structure;
// a short text fills `out` as far as the scan went and gives kErrFormat.
template <class T, class ScanFn>
int32_t GetStruct(clsProfJob* job, clsItemList* list, const char16_t* path, T* out, const T* def,
                  int wanted, ScanFn scan) {
  if (job == nullptr) return kOk;
  char16_t buf[kTypedBufferSize];
  int32_t r = GetString(job, list, path, buf, kTypedBufferSize, u"");
  if (r < 1) {
    if (out && out != def) *out = def ? *def : T{};
    return kErrNotFound;
  }
  T scratch{};
  return scan(buf, out ? out : &scratch) < wanted ? kErrFormat : kOk;
}

}  // namespace

int32_t GetPoint(clsProfJob* job, clsItemList* list, const char16_t* path, PointValue* out,
                 const PointValue* def) {
  return GetStruct(job, list, path, out, def, 2, ScanPoint);
}

int32_t GetRect(clsProfJob* job, clsItemList* list, const char16_t* path, RectValue* out,
                const RectValue* def) {
  return GetStruct(job, list, path, out, def, 4, ScanRect);
}

int32_t GetRectLTWH(clsProfJob* job, clsItemList* list, const char16_t* path, RectValue* out,
                    const RectValue* def) {
  return GetStruct(job, list, path, out, def, 4, [](const char16_t* text, RectValue* r) {
    int n = ScanRect(text, r);
    if (n == 4) {
      r->right = Wrap(r->left, r->right);
      r->bottom = Wrap(r->top, r->bottom);
    }
    return n;
  });
}

// ---- text without a job

int32_t TextToBool(const char16_t* text, int32_t* out, int32_t def) {
  // "TY" searched for the first character finds the terminator too: "" is true.
  int32_t v = text == nullptr ? def : (text[0] == u'T' || text[0] == u'Y' || text[0] == 0) ? 1 : 0;
  if (out) *out = v;
  return text ? 1 : 0;
}

int32_t TextToInt(const char16_t* text, int32_t* out, int32_t def) {
  int32_t v = 0;
  int n = text ? Scan(text, kFormInt, &v) : 0;
  if (out) *out = n == 1 ? v : def;
  return n;
}

int32_t TextToInt64(const char16_t* text, int64_t* out, int64_t def) {
  uint64_t v = 0;
  int n = text ? Scan(text, kFormInt64, &v) : 0;
  if (out) *out = n == 1 ? static_cast<int64_t>(v) : def;
  return n;
}

int32_t TextToRect(const char16_t* text, RectValue* out, const RectValue* def) {
  RectValue v{};
  int n = text ? ScanRect(text, &v) : 0;
  if (out) *out = n == 4 ? v : def ? *def : RectValue{};
  return n;
}

int32_t TextToColorref(const char16_t* text, uint32_t* out, uint32_t def) {
  uint32_t v = 0;
  int n = 0;
  bool ok = text && ReadColorref(text, &v, &n);
  if (out) *out = ok ? v : def;
  return n;
}

}  // namespace zx::prof
