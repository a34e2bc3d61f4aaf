// Casts between the C boundary of the Prof exports and the profile store's types.
// WCHAR is wchar_t on Windows and char16_t elsewhere: both are 16-bit units.
// Threads: casts only; the profile store's rule (prof/Prof.h) applies.
#pragma once
#include <type_traits>

#include "prof/Prof.h"
#include "zxUT22.h"

namespace zx::prof_exports {

static_assert(sizeof(WCHAR) == sizeof(char16_t), "WCHAR is a 16-bit unit");
// The store's codes are the public ones (the store cannot include the public
// header: on Windows it brings the system headers along).
static_assert(prof::kErrOpen == PROF_ERR_OPEN && prof::kErrSave == PROF_ERR_SAVE &&
                  prof::kErrWrite == PROF_ERR_WRITE && prof::kErrHandle == PROF_ERR_HANDLE &&
                  prof::kErrNotFound == PROF_ERR_NOT_FOUND && prof::kErrParse == PROF_ERR_PARSE &&
                  prof::kErrMemory == PROF_ERR_MEMORY && prof::kErrFormat == PROF_ERR_FORMAT &&
                  prof::kErrLocked == PROF_ERR_LOCKED && prof::kOk == PROF_OK,
              "error codes");
static_assert(sizeof(POINT) == sizeof(prof::PointValue), "POINT layout");
static_assert(sizeof(RECT) == sizeof(prof::RectValue), "RECT layout");

inline clsProfJob* Job(HPROFJOB h) { return reinterpret_cast<clsProfJob*>(h); }
inline HPROFJOB Handle(clsProfJob* j) { return reinterpret_cast<HPROFJOB>(j); }
inline clsItemList* List(HPROFLIST h) { return reinterpret_cast<clsItemList*>(h); }
inline HPROFLIST Handle(clsItemList* l) { return reinterpret_cast<HPROFLIST>(l); }

inline const char16_t* U(LPCWSTR s) { return reinterpret_cast<const char16_t*>(s); }
inline char16_t* U(LPWSTR s) { return reinterpret_cast<char16_t*>(s); }
inline LPCWSTR W(const char16_t* s) { return reinterpret_cast<LPCWSTR>(s); }
inline LPWSTR W(char16_t* s) { return reinterpret_cast<LPWSTR>(s); }

// Structures and 32-bit numbers are copied, not cast: LONG and COLORREF are
// `long` types on Windows, distinct from the store's int32_t / uint32_t.
inline prof::PointValue Value(const POINT& p) { return {p.x, p.y}; }
inline prof::RectValue Value(const RECT& r) { return {r.left, r.top, r.right, r.bottom}; }
inline void Store(POINT* p, const prof::PointValue& v) {
  p->x = v.x;
  p->y = v.y;
}
inline void Store(RECT* r, const prof::RectValue& v) {
  r->left = v.left;
  r->top = v.top;
  r->right = v.right;
  r->bottom = v.bottom;
}

// An out parameter seen through a local of the store's type: starts with the
// caller's value (so "unchanged" stays unchanged) and is written back at the end.
template <class S, class Caller>
class OutParam {
 public:
  explicit OutParam(Caller* out) : out_(out) {
    if (out_) value_ = Convert(*out_);
  }
  ~OutParam() {
    if (out_) WriteBack(out_, value_);
  }
  S* get() { return out_ ? &value_ : nullptr; }

 private:
  static S Convert(const Caller& c) {
    if constexpr (std::is_arithmetic_v<Caller>) return static_cast<S>(c);
    else return Value(c);
  }
  static void WriteBack(Caller* c, const S& v) {
    if constexpr (std::is_arithmetic_v<Caller>) *c = static_cast<Caller>(v);
    else prof_exports::Store(c, v);
  }
  Caller* out_;
  S value_{};
};

// A default structure as the store's type (null stays null).
template <class S, class Caller>
class InParam {
 public:
  explicit InParam(const Caller* in) : in_(in) {
    if (in_) value_ = Value(*in_);
  }
  const S* get() const { return in_ ? &value_ : nullptr; }

 private:
  const Caller* in_;
  S value_{};
};

}  // namespace zx::prof_exports
