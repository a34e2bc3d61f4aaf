#include "core/diag/StaticCleanup.h"

#include <atomic>

namespace zx {
namespace {
std::atomic<bool> g_begun{false};
}  // namespace

bool StaticCleanupBegun() { return g_begun.load(std::memory_order_acquire); }
void SetStaticCleanupBegun(bool begun) { g_begun.store(begun, std::memory_order_release); }

}  // namespace zx
