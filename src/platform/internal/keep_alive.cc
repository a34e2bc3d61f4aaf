#include "platform/internal/keep_alive.h"

#include <mutex>
#include <vector>

namespace plat::detail {

void KeepAlive(const void* object) {
  if (!object) return;
  static std::mutex* mutex = new std::mutex;
  static auto* kept = new std::vector<const void*>;
  std::lock_guard<std::mutex> lock(*mutex);
  kept->push_back(object);
}

}  // namespace plat::detail
