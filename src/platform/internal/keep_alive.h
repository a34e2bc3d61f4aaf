// Internal: objects that must outlive every possible reader (hook slots replaced
// while another thread may still be using the old one) are handed here. They stay
// reachable for the life of the process, which also tells leak checkers so.
#pragma once

namespace plat::detail {

void KeepAlive(const void* object);

}  // namespace plat::detail
