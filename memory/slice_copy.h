// Copies of blocks that are too large for the caches.
#pragma once

#include <cstddef>

namespace orsin {

/// As memcpy(), past the caches: for a destination that is not read again before it would have left
/// them. Worth it from some tens of KiB on.
void copy_past_caches(void* destination, const void* source, std::size_t count);

/// One worker's share of a large block: as memcpy(), from 4 MiB on past the caches, which a block
/// of that size would only flush.
void copy_slice(void* destination, const void* source, std::size_t count);

}  // namespace orsin
