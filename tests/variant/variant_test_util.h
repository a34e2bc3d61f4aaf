// Helpers of the variant tests: the bytes a value writes, a value read from bytes,
// values of each tag, and hex text for readable failures.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/com.h"
#include "platform/variant.h"
#include "variant/Variant.h"

namespace varianttest {

// A fresh in-memory stream holding `bytes`; the caller releases it.
inline IStream* StreamOf(std::string_view bytes) {
  IStream* s = nullptr;
  EXPECT_GE(plat::CreateMemoryStream(&s), 0);
  if (!s) return nullptr;
  ULONG done = 0;
  if (!bytes.empty()) s->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &done);
  return s;
}

// Everything in the stream.
inline std::string BytesOf(IStream* s) {
  STATSTG st{};
  s->Stat(&st, STATFLAG_NONAME);
  std::string out(static_cast<size_t>(st.cbSize.QuadPart), '\0');
  LARGE_INTEGER zero;
  zero.QuadPart = 0;
  s->Seek(zero, STREAM_SEEK_SET, nullptr);
  ULONG got = 0;
  if (!out.empty()) s->Read(out.data(), static_cast<ULONG>(out.size()), &got);
  out.resize(got);
  return out;
}

// The binary form of v ("!" when Write fails).
inline std::string Written(const VARIANT& v) {
  IStream* s = StreamOf("");
  bool ok = zx::clsVariant::Write(v, s);
  std::string out = ok ? BytesOf(s) : "!";
  s->Release();
  return out;
}

inline zx::clsVariant ReadFrom(std::string_view bytes) {
  zx::clsVariant v;
  IStream* s = StreamOf(bytes);
  EXPECT_TRUE(zx::clsVariant::Read(v, s));
  s->Release();
  return v;
}

inline std::string Hex(std::string_view bytes) {
  static const char* digits = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) {
    out.push_back(digits[c >> 4]);
    out.push_back(digits[c & 15]);
  }
  return out;
}

// A value of tag `vt` whose 16 payload bytes are all 0xAA before `bits` is stored:
// the binary form must take only the tag's width.
inline VARIANT Raw(VARTYPE vt, uint64_t bits) {
  VARIANT v;
  std::memset(static_cast<void*>(&v), 0xAA, sizeof v);
  v.ullVal = bits;
  v.vt = vt;
  return v;
}

inline zx::clsVariant I4(int32_t x) {
  zx::clsVariant v;
  v.vt = VT_I4;
  v.lVal = x;
  return v;
}
inline zx::clsVariant R8(double x) {
  zx::clsVariant v;
  v.vt = VT_R8;
  v.dblVal = x;
  return v;
}
inline zx::clsVariant Text(const char16_t* text) { return zx::clsVariant(zx::String(text)); }

}  // namespace varianttest
