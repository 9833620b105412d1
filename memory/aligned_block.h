// Where an aligned block lies inside its heap block.
//
//   start                      data - 16        data - 8         data
//   | unused, 0 or more bytes  | size, u64      | distance, u64  | size bytes ... |
//
// `size` is what the caller asked for, `distance` is data - start. The words need not lie at a
// multiple of 8: alignments may be any number.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>

namespace orsin {

constexpr std::uint64_t kAlignedHeaderBytes = 16;

/// Bytes to ask of the heap; nothing when no 64-bit size can hold them.
[[nodiscard]] constexpr std::optional<std::uint64_t> aligned_request(std::uint64_t size,
                                                                     std::uint64_t alignment) {
  const std::uint64_t request = size + kAlignedHeaderBytes + alignment;
  if (request < size) {
    return std::nullopt;
  }
  return request;
}

/// The data address in the heap block at `start`.
///
/// Kept on purpose: where start + 16 is aligned already, a whole unit is skipped all the same. The
/// request has room for it. Required.
[[nodiscard]] constexpr std::uint64_t aligned_data_address(std::uint64_t start,
                                                           std::uint64_t alignment) {
  const std::uint64_t earliest = start + kAlignedHeaderBytes;
  return earliest + (alignment - earliest % alignment);
}

/// The two words in front of the data of an aligned block.
struct AlignedHeader {
  std::uint64_t size = 0;
  std::uint64_t distance = 0;

  [[nodiscard]] static AlignedHeader read(const void* data) {
    AlignedHeader header;
    std::memcpy(&header, static_cast<const unsigned char*>(data) - sizeof header, sizeof header);
    return header;
  }

  void write(void* data) const {
    std::memcpy(static_cast<unsigned char*>(data) - sizeof *this, this, sizeof *this);
  }
};
static_assert(sizeof(AlignedHeader) == kAlignedHeaderBytes);

}  // namespace orsin
