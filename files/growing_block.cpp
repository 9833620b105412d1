// Reallocates with room ahead, so that growing in small steps copies little; see the header.
#include "files/growing_block.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

#include "base/rounding.h"

namespace orsin {
namespace {

std::uint64_t bytes_behind(std::uint64_t size) {
  const std::uint64_t step = std::max(kGrowthBytes, std::bit_floor(size) / 4);
  return rounded_up(std::max(size, std::uint64_t{1}), step);
}

}  // namespace

unsigned char* grown_block(unsigned char* block, std::uint64_t old_size, std::uint64_t size) {
  if (block != nullptr && bytes_behind(old_size) == bytes_behind(size)) {
    return block;
  }
  return static_cast<unsigned char*>(std::realloc(block, bytes_behind(size)));
}

}  // namespace orsin
