// What the fuzz targets share: an invariant check that aborts with its text (so
// libFuzzer keeps the input as a crash), and a reader that takes the input a byte
// at a time, giving zeros once it is used up.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace fuzzutil {

[[noreturn]] inline void Fail(const char* file, int line, const char* what) {
  std::fprintf(stderr, "%s:%d: invariant broken: %s\n", file, line, what);
  std::abort();
}

class ByteReader {
 public:
  ByteReader(const uint8_t* data, size_t size) : d_(data), n_(size) {}
  bool More() const { return i_ < n_; }
  uint8_t Byte() { return i_ < n_ ? d_[i_++] : 0; }

 private:
  const uint8_t* d_;
  size_t n_;
  size_t i_ = 0;
};

}  // namespace fuzzutil

#define FUZZ_CHECK(c)                                      \
  do {                                                     \
    if (!(c)) ::fuzzutil::Fail(__FILE__, __LINE__, #c);    \
  } while (0)
