// How often the system's locks are held in native builds.
#pragma once

#include <atomic>

namespace orsin::test {

/// Not yet released.
std::atomic<int>& system_locks_held();

}  // namespace orsin::test
