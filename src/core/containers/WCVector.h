// The growing vector of the WC family. Writing through operator[] at a
// non-negative index makes the index exist: missing elements up to it are
// default-constructed. The vector never shrinks its elements in place.
// Threads: a vector is used by one thread at a time.
#pragma once
#include <new>
#include <type_traits>
#include <utility>

#include "core/containers/WCExcept.h"

template <class T>
class WCBareVectorBase : public WCExcept {
 public:
  int entries() const { return count; }
  bool isEmpty() const { return count == 0; }
  int capacity() const { return allocated; }

 protected:
  WCBareVectorBase() = default;
  ~WCBareVectorBase() override { Release(); }

  // The array never exceeds 2 GiB: a wild index is refused rather than
  // committing memory the machine does not have.
  static constexpr int kMaxElements =
      static_cast<int>((size_t{1} << 31) / sizeof(T) < 0x7FFFFFFF ? (size_t{1} << 31) / sizeof(T)
                                                                   : 0x7FFFFFFF);

  // Makes room for at least n elements; false (nothing changed) on failure.
  bool Reserve(int n) {
    if (n <= allocated) return true;
    if (n > kMaxElements) return false;
    int grown = allocated < 8 ? 8 : allocated > kMaxElements / 2 ? kMaxElements : allocated * 2;
    if (grown < n) grown = n;
    T* fresh = static_cast<T*>(::operator new(sizeof(T) * static_cast<size_t>(grown), std::nothrow));
    if (fresh == nullptr) return false;
    int moved = 0;
    try {
      for (; moved < count; ++moved) ::new (fresh + moved) T(std::move_if_noexcept(elements[moved]));
    } catch (...) {
      Destroy(fresh, moved);
      ::operator delete(fresh);
      return false;
    }
    Destroy(elements, count);
    ::operator delete(elements);
    elements = fresh;
    allocated = grown;
    return true;
  }
  // Default-constructs elements up to count n; false (nothing changed) on failure.
  bool GrowTo(int n) {
    if (n <= count) return true;
    if (!Reserve(n)) return false;
    int made = count;
    try {
      for (; made < n; ++made) ::new (elements + made) T();
    } catch (...) {
      Destroy(elements + count, made - count);
      return false;
    }
    count = n;
    return true;
  }
  void Release() {
    Destroy(elements, count);
    ::operator delete(elements);
    elements = nullptr;
    allocated = 0;
    count = 0;
  }
  static void Destroy(T* p, int n) {
    if constexpr (!std::is_trivially_destructible_v<T>) {
      for (int i = 0; i < n; ++i) p[i].~T();
    }
  }

  T* elements = nullptr;
  int allocated = 0;  // capacity
  int count = 0;
};

template <class T>
class WCValVector : public WCBareVectorBase<T> {
 public:
  WCValVector() = default;
  // Starts with room for n elements (none exist yet).
  explicit WCValVector(int n) { this->Reserve(n); }
  WCValVector(const WCValVector& other) { CopyFrom(other); }
  WCValVector(WCValVector&& other) noexcept { Take(other); }
  WCValVector& operator=(const WCValVector& other) {
    if (this != &other) {
      WCValVector copy(other);
      if (copy.count == other.count) *this = std::move(copy);  // unchanged on failure
    }
    return *this;
  }
  WCValVector& operator=(WCValVector&& other) noexcept {
    if (this != &other) {
      this->Release();
      Take(other);
    }
    return *this;
  }

  // The element at index, created (with all before it) when missing. A negative
  // index or a failed growth gives a default element that belongs to nobody.
  T& operator[](int index) {
    if (index < 0 || (index >= this->count && (index >= this->kMaxElements || !this->GrowTo(index + 1))))
      return WCDefaultElement<T>();
    return this->elements[index];
  }
  // Reading never grows: a missing index gives a default element.
  const T& operator[](int index) const {
    if (index < 0 || index >= this->count) return WCDefaultElement<T>();
    return this->elements[index];
  }
  // Adds at the end; false when the vector cannot grow.
  bool append(const T& element) {
    if (!this->Reserve(this->count + 1)) return false;
    try {
      ::new (this->elements + this->count) T(element);
    } catch (...) {
      return false;
    }
    ++this->count;
    return true;
  }
  // Destroys all elements and frees the array.
  void clear() { this->Release(); }

 private:
  void CopyFrom(const WCValVector& other) {
    if (!this->Reserve(other.count)) return;
    try {
      for (; this->count < other.count; ++this->count)
        ::new (this->elements + this->count) T(other.elements[this->count]);
    } catch (...) {
      this->Release();
    }
  }
  void Take(WCValVector& other) {
    this->elements = other.elements;
    this->allocated = other.allocated;
    this->count = other.count;
    other.elements = nullptr;
    other.allocated = 0;
    other.count = 0;
  }
};
