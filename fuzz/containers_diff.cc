// Differential fuzz target for the WC containers: the input bytes are a
// sequence of operations applied to our skip lists, lists, stack and vector and
// to standard models; any difference in results, contents, order or level in use
// aborts.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "../tests/core/containers/containers_test_util.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string difference = wcdiff::Run(data, size);
  if (!difference.empty()) {
    std::fprintf(stderr, "containers differ from the model: %s\n", difference.c_str());
    std::abort();
  }
  return 0;
}
