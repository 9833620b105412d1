// Copies one worker's share of a large block.
#pragma once

#include <cstddef>

namespace orsin {

/// As memcpy(); from 4 MiB on around the caches, which a block of that size would only flush.
void copy_slice(void* destination, const void* source, std::size_t count);

}  // namespace orsin
