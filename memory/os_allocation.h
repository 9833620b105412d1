// The owner of the allocation table, as the rest of the memory layer sees it.
//
// os_alloc() and os_free() stand in orsincore/memory.h. Both work before start() too, but unguarded:
// then only one thread may run.
#pragma once

#include <cstdint>

namespace orsin::os_allocation {

/// Creates the mutex that guards the table, for the life of the process. Calling it twice is
/// harmless.
void start();

/// Closedown: reports pages that nobody gave back, and forgets them. The pages stay.
void report_and_forget();

/// True while `address` is in the table.
[[nodiscard]] bool is_live(const void* address);

/// The size in KiB that log lines show.
[[nodiscard]] constexpr double to_kib(std::uint64_t size_bytes) {
  return static_cast<double>(size_bytes) * (1.0 / 1024);
}

}  // namespace orsin::os_allocation
