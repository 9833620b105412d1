// Start and stop of the general allocator, for start-up and closedown.
#pragma once

#include "orsincore/memory.h"

namespace orsin {

/// Creates the mutexes, has failed allocations reported in the log, and fills in the figures of the
/// machine. Returns the available physical memory in bytes. First thing at start-up.
std::uint64_t start_memory(mem_info_str& info);

/// Gives the small blocks back, reports system allocations that are left and a damaged process heap
/// at debug level, deletes the mutexes.
void stop_memory();

}  // namespace orsin
