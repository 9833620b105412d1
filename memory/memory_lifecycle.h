// Start and stop of the memory layer; ov_initialize() and ov_closedown() call them.
#pragma once

#include "orsincore/memory.h"

namespace orsin {

/// Before anything else allocates, while one thread runs: creates the layer's mutexes, has
/// allocations that fail reported in the log, and fills `info`.
/// @return The available physical memory in bytes.
std::uint64_t start_memory(mem_info_str& info);

/// Last of all memory users, while the log is still open and one thread runs: releases the small
/// blocks, reports pages that were never given back and damage to the process heap, deletes the
/// mutexes. Pages that were left stay the process's.
void stop_memory();

}  // namespace orsin
