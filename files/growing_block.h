// A block of the process heap whose size grows in small steps and that seldom moves.
#pragma once

#include <cstdint>

namespace orsin {

/// By how much such a block is enlarged when it is full.
constexpr std::uint64_t kGrowthBytes = 0x20000;

/// Grows a block to `size` bytes, or makes one where there is none. Null when memory is short: the
/// block is then as it was. Ends with free().
///
/// Behind it lies up to a quarter more: moved at every step, 100 MiB would be copied hundreds of
/// times over.
[[nodiscard]] unsigned char* grown_block(unsigned char* block, std::uint64_t old_size,
                                         std::uint64_t size);

}  // namespace orsin
