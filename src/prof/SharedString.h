// The shared pointer to a text that items, lists and the string caches hold. One
// block carries an atomic count, the length and the terminated UTF-16 text itself
// (one allocation per text, no String inside); copies of the pointer count up and
// down, the last one frees the block. Items of different jobs may share one.
// Threads: the count is atomic, so pointers are copied and dropped on any thread.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <string_view>

#include "core/strings/String.h"

namespace zx {

class SharedString {
 public:
  SharedString() = default;
  // A new block with a copy of `count` characters of `text`, as far as its first
  // zero character (the text String(text, 0, count) holds). Empty when memory runs out.
  static SharedString Make(const char16_t* text, int64_t count = kWholeString) {
    size_t n = 0;
    if (text != nullptr && count > 0) {
      const size_t limit = static_cast<size_t>(count < kWholeString ? count : kWholeString);
      while (n < limit && text[n]) ++n;
    }
    return MakeExact(std::u16string_view(text ? text : u"", n));
  }
  // The same for a text without zero characters, taken as it is.
  static SharedString MakeExact(std::u16string_view text) {
    SharedString s;
    // The block header is constructed whole, so even an empty text takes sizeof(Block).
    const size_t bytes = offsetof(Block, chars) + sizeof(char16_t) * (text.size() + 1);
    void* raw = ::operator new(bytes < sizeof(Block) ? sizeof(Block) : bytes, std::nothrow);
    if (raw == nullptr) return s;
    Block* b = new (raw) Block{{1}, static_cast<uint32_t>(text.size()), {}};
    if (!text.empty()) std::memcpy(b->chars, text.data(), sizeof(char16_t) * text.size());
    b->chars[text.size()] = 0;
    s.block_ = b;
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
  // The text; empty for an empty pointer. Chars() is terminated.
  std::u16string_view View() const {
    return block_ ? std::u16string_view(block_->chars, block_->length) : std::u16string_view();
  }
  const char16_t* Chars() const { return block_ ? block_->chars : kEmptyWide; }
  int64_t Length() const { return block_ ? block_->length : 0; }
  // A String of the text (a copy: for callers that need one).
  String Text() const { return String(View()); }
  bool SameAs(const SharedString& other) const { return block_ == other.block_; }
  uint32_t UseCount() const { return block_ ? block_->refs.load(std::memory_order_relaxed) : 0; }

  // Ordinal, case-sensitive order of the texts: the order of a cache bucket.
  friend bool operator==(const SharedString& a, const SharedString& b) {
    return a.block_ == b.block_ || a.View() == b.View();
  }
  friend bool operator<(const SharedString& a, const SharedString& b) {
    return a.View() < b.View();
  }

 private:
  struct Block {
    std::atomic<uint32_t> refs;
    uint32_t length;
    char16_t chars[1];  // length + 1 units in the allocation
  };
  void AddRef() const {
    if (block_) block_->refs.fetch_add(1, std::memory_order_relaxed);
  }
  void Release() {
    if (block_ && block_->refs.fetch_sub(1, std::memory_order_acq_rel) == 1) ::operator delete(block_);
    block_ = nullptr;
  }
  Block* block_ = nullptr;
};

}  // namespace zx
