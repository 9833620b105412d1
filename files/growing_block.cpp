#include "files/growing_block.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace orsin {
namespace {

constexpr std::uint64_t kStepMin = 0x20000;

std::uint64_t bytes_behind(std::uint64_t size) {
  const std::uint64_t step = std::max(kStepMin, std::bit_floor(size) / 4);
  return (size + step - 1) / step * step;
}

}  // namespace

unsigned char* grown_block(unsigned char* block, std::uint64_t old_size, std::uint64_t size) {
  if (block != nullptr && bytes_behind(old_size) == bytes_behind(size)) {
    return block;
  }
  return static_cast<unsigned char*>(std::realloc(block, bytes_behind(size)));
}

}  // namespace orsin
