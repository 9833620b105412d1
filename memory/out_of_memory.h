// The last words of an allocation that failed.
#pragma once

#include <cstddef>

namespace orsin {

/// Writes the block of lines that a customer's log shows when the process heap is exhausted.
/// Allocates nothing itself. Any thread.
void log_out_of_memory(std::size_t requested_bytes);

}  // namespace orsin
