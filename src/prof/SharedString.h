// The shared pointer to String that items, lists and the string caches hold. One
// block carries an atomic count and the String; copies of the pointer count up
// and down, the last one frees the block. Items of different jobs may share one.
// Threads: the count is atomic, so pointers are copied and dropped on any thread.
#pragma once
#include <atomic>
#include <cstdint>
#include <new>

#include "core/strings/String.h"

namespace zx {

class SharedString {
 public:
  SharedString() = default;
  // A new block with its own String (a text of `count` characters from `text`).
  // Empty when memory runs out.
  static SharedString Make(const char16_t* text, int64_t count = kWholeString) {
    SharedString s;
    s.block_ = new (std::nothrow) Block(text, count);
    return s;
  }

  SharedString(const SharedString& other) : block_(other.block_) { AddRef(); }
  SharedString(SharedString&& other) noexcept : block_(other.block_) { other.block_ = nullptr; }
  SharedString& operator=(const SharedString& other) {
    if (block_ != other.block_) {
      other.AddRef();
      Release();
      block_ = other.block_;
    }
    return *this;
  }
  SharedString& operator=(SharedString&& other) noexcept {
    if (this != &other) {
      Release();
      block_ = other.block_;
      other.block_ = nullptr;
    }
    return *this;
  }
  ~SharedString() { Release(); }

  explicit operator bool() const { return block_ != nullptr; }
  // The text; the shared empty String for an empty pointer.
  const String& Text() const { return block_ ? block_->text : String::Empty(); }
  const char16_t* Chars() const { return Text().wchar(); }
  int64_t Length() const { return block_ ? block_->text.Length() : 0; }
  bool SameAs(const SharedString& other) const { return block_ == other.block_; }
  uint32_t UseCount() const { return block_ ? block_->refs.load(std::memory_order_relaxed) : 0; }

  // Ordinal, case-sensitive order of the texts: the order of a cache bucket.
  friend bool operator==(const SharedString& a, const SharedString& b) {
    return a.block_ == b.block_ || a.Text().View() == b.Text().View();
  }
  friend bool operator<(const SharedString& a, const SharedString& b) {
    return a.Text().View() < b.Text().View();
  }

 private:
  struct Block {
    Block(const char16_t* text, int64_t count) : text(text, 0, count) {}
    std::atomic<uint32_t> refs{1};
    String text;
  };
  void AddRef() const {
    if (block_) block_->refs.fetch_add(1, std::memory_order_relaxed);
  }
  void Release() {
    if (block_ && block_->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) delete block_;
    block_ = nullptr;
  }
  Block* block_ = nullptr;
};

}  // namespace zx
