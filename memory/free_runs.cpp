// Finds, adds and joins free runs by their slots; see the header for the layout.
#include "memory/free_runs.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>

namespace orsin {
namespace {

constexpr std::uint32_t kFan = 16;  // Lengths: one cache line of children.
constexpr std::uint32_t kBitFan = 64;
constexpr std::size_t kLineBytes = 64;

constexpr std::uint64_t groups(std::uint64_t count, std::uint64_t fan) {
  return (count + fan - 1) / fan;
}

constexpr std::uint64_t whole_lines(std::uint64_t bytes) {
  return groups(bytes, kLineBytes) * kLineBytes;
}

// Hands out parts of one allocation; without memory it only adds up.
class Carver {
 public:
  explicit Carver(std::byte* memory) : memory_(memory) {}

  template <typename T>
  T* take(std::uint64_t count) {
    std::byte* part = memory_ != nullptr ? memory_ + used_ : nullptr;
    used_ += whole_lines(count * sizeof(T));
    return reinterpret_cast<T*>(part);
  }
  [[nodiscard]] std::uint64_t used() const { return used_; }

 private:
  std::byte* memory_;
  std::uint64_t used_ = 0;
};

}  // namespace

bool FreeRuns::create(std::uint64_t granules, std::uint64_t distance_min) {
  *this = {};
  if (granules >= kNone) {
    return false;
  }
  shift_ = static_cast<int>(std::bit_width(distance_min)) - 1;
  const std::uint64_t slots = (granules >> shift_) + 1;

  const auto lay_out = [&](std::byte* memory) {
    Carver carver(memory);
    top_ = 0;
    std::uint64_t count = groups(slots, kFan) * kFan;
    slots_ = carver.take<Slot>(count);
    while (count > kFan) {
      count = groups(count / kFan, kFan) * kFan;
      maxima_[++top_] = carver.take<std::uint32_t>(count);
    }
    bit_top_ = 0;
    std::uint64_t words = groups(slots, kBitFan);
    bits_[0] = carver.take<std::uint64_t>(words);
    while (words > 1) {
      words = groups(words, kBitFan);
      bits_[++bit_top_] = carver.take<std::uint64_t>(words);
    }
    return carver.used();
  };
  const std::uint64_t bytes = lay_out(nullptr);
  // Zeroed by the system, page by page as they are touched.
  memory_ = std::calloc(1, bytes + kLineBytes);
  if (memory_ == nullptr) {
    *this = {};
    return false;
  }
  const auto address = reinterpret_cast<std::uintptr_t>(memory_);
  lay_out(static_cast<std::byte*>(memory_) + (whole_lines(address) - address));
  return true;
}

void FreeRuns::destroy() {
  std::free(memory_);
  *this = {};
}

void FreeRuns::insert(std::uint32_t begin, std::uint32_t end) {
  const std::uint32_t slot = slot_of(begin);
  slots_[slot].offset = begin - (slot << shift_);
  slots_[slot_of(end)].begin_of_ended = begin;
  set_length(slot, end - begin);
}

std::uint32_t FreeRuns::remove(std::uint32_t begin) {
  const std::uint32_t slot = slot_of(begin);
  const std::uint32_t end = begin + slots_[slot].length;
  mark_joined(begin);
  set_length(slot, 0);
  return end;
}

std::uint32_t FreeRuns::end_of_run_at(std::uint32_t begin) const {
  const std::uint32_t slot = slot_of(begin);
  const std::uint32_t length = slots_[slot].length;
  return length != 0 && begin_in(slot) == begin ? begin + length : kNone;
}

std::uint32_t FreeRuns::begin_of_run_to(std::uint32_t end) const {
  const std::uint32_t begin = slots_[slot_of(end)].begin_of_ended;
  return end_of_run_at(begin) == end ? begin : kNone;
}

std::uint32_t FreeRuns::largest_below(int level, std::uint32_t index) const {
  std::uint32_t largest = 0;
  for (std::uint32_t child = index * kFan; child < (index + 1) * kFan; ++child) {
    largest = std::max(largest, length_at(level - 1, child));
  }
  return largest;
}

void FreeRuns::set_length(std::uint32_t slot, std::uint32_t length) {
  std::uint32_t before = slots_[slot].length;
  slots_[slot].length = length;
  std::uint32_t index = slot;
  for (int level = 1; level <= top_; ++level) {
    index /= kFan;
    std::uint32_t& largest = maxima_[level][index];
    const std::uint32_t largest_before = largest;
    if (length >= largest_before) {
      largest = length;
    } else if (before == largest_before) {
      largest = largest_below(level, index);
    }
    if (largest == largest_before) {
      return;
    }
    before = largest_before;
    length = largest;
  }
}

std::uint32_t FreeRuns::first_fit(std::uint64_t length) const {
  std::uint32_t group = 0;
  for (int level = top_;; --level) {
    const std::uint32_t end = (group + 1) * kFan;
    std::uint32_t child = group * kFan;
    while (child < end && length_at(level, child) < length) {
      ++child;
    }
    if (child == end) {
      return kNone;  // Only at the top: below it the maximum promised one.
    }
    if (level == 0) {
      return begin_in(child);
    }
    group = child;
  }
}

void FreeRuns::mark_unjoined(std::uint32_t begin) {
  std::uint32_t index = slot_of(begin);
  for (int level = 0; level <= bit_top_; ++level) {
    bits_[level][index / kBitFan] |= std::uint64_t{1} << index % kBitFan;
    index /= kBitFan;
  }
}

void FreeRuns::mark_joined(std::uint32_t begin) {
  std::uint32_t index = slot_of(begin);
  for (int level = 0; level <= bit_top_; ++level) {
    std::uint64_t& word = bits_[level][index / kBitFan];
    word &= ~(std::uint64_t{1} << index % kBitFan);
    if (word != 0) {
      return;
    }
    index /= kBitFan;
  }
}

bool FreeRuns::is_unjoined(std::uint32_t begin) const {
  const std::uint32_t slot = slot_of(begin);
  return (bits_[0][slot / kBitFan] >> slot % kBitFan & 1) != 0;
}

std::uint32_t FreeRuns::first_unjoined() const {
  std::uint32_t index = 0;
  for (int level = bit_top_; level >= 0; --level) {
    const std::uint64_t word = bits_[level][index];
    if (word == 0) {
      return kNone;  // Only at the top.
    }
    index = index * kBitFan + static_cast<std::uint32_t>(std::countr_zero(word));
  }
  return begin_in(index);
}

}  // namespace orsin
