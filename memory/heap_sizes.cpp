// The arithmetic of the standard heaps' sizes, and the lines of "memory.cfg".
#include "memory/heap_sizes.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace orsin {
namespace {

constexpr std::uint64_t kSmallMachineBelow = 0x83000000;  // 2096 MiB available.

constexpr std::uint64_t round_down(std::uint64_t size, std::uint64_t unit) {
  return size - size % unit;
}

// Half of what is available, but of what lies beyond 4 GiB only a quarter.
std::uint64_t fair_share(std::uint64_t available) {
  const std::uint64_t half = available / 2;
  if (half <= 4 * kGib) {
    return half;
  }
  const auto beyond = static_cast<float>(available - 4 * kGib);
  return static_cast<std::uint64_t>(static_cast<float>(4 * kGib) + beyond * 0.25f);
}

std::uint64_t frame_size(const mem_info_str& info, bool is_small_machine) {
  const std::uint64_t available = info.available_physical;
  const std::uint64_t limit =
      info.largest_usable != 0
          ? info.largest_usable
          : static_cast<std::uint64_t>(0.75 * static_cast<double>(info.total_virtual));
  std::uint64_t size = round_down(std::min(limit, available * 2 / 3), 4 * kMib);
  size = std::min(size, fair_share(available));
  // Room for the other heaps.
  size -= is_small_machine ? (256 + 32) * kMib : (512 + 64) * kMib;
  return round_down(size, kMib);
}

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

// The number at the beginning, after blanks; what follows it does not matter.
std::optional<std::uint64_t> leading_number(std::string_view text) {
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  if (text.empty() || !is_digit(text.front())) {
    return std::nullopt;
  }
  std::uint64_t number = 0;
  for (; !text.empty() && is_digit(text.front()); text.remove_prefix(1)) {
    const auto digit = static_cast<std::uint64_t>(text.front() - '0');
    if (number > (kMax - digit) / 10) {
      return std::nullopt;
    }
    number = number * 10 + digit;
  }
  return number;
}

}  // namespace

HeapSizes default_heap_sizes(const mem_info_str& info) {
  const bool is_small_machine = info.available_physical < kSmallMachineBelow;
  const std::uint64_t frame = frame_size(info, is_small_machine);
  if (is_small_machine) {
    return {frame, 128 * kMib, 128 * kMib, 32 * kMib};
  }
  return {frame, 256 * kMib, 256 * kMib, 64 * kMib};
}

void apply_configuration_line(std::string_view line, HeapSizes& sizes) {
  struct Key {
    std::string_view text;
    std::uint64_t HeapSizes::*size;
  };
  constexpr Key kKeys[] = {{"frame_heap_size=", &HeapSizes::frame},
                           {"proxy_heap_size=", &HeapSizes::proxy},
                           {"audio_heap_size=", &HeapSizes::audio},
                           {"image_heap_size=", &HeapSizes::image}};
  for (const Key& key : kKeys) {
    if (line.substr(0, key.text.size()) == key.text) {
      if (const auto number = leading_number(line.substr(key.text.size())); number) {
        sizes.*key.size = *number << 20;  // MiB; absurd numbers lose their upper bits.
      }
    }
  }
}

void raise_to_minimum(HeapSizes& sizes) {
  sizes.frame = std::max(sizes.frame, kHeapMinimum.frame);
  sizes.proxy = std::max(sizes.proxy, kHeapMinimum.proxy);
  sizes.audio = std::max(sizes.audio, kHeapMinimum.audio);
  sizes.image = std::max(sizes.image, kHeapMinimum.image);
}

}  // namespace orsin
