// Storage for the names in directory lists: short ones in 64-byte blocks that all lists share, longer
// ones on the heap.
#pragma once

#include <cstddef>

namespace orsin::name_cache {

constexpr unsigned int kBlockBytes = 64;

/// Creates the mutex; the first listing calls it.
void start();

/// Room for a name of this stored length and one byte more; null when memory is short.
[[nodiscard]] char* take(unsigned int stored_length);
void give_back(char* name, unsigned int stored_length);

/// Frees every block and the mutex. Only while no list is alive.
void flush();

}  // namespace orsin::name_cache
