// Finds, adds and joins free runs by their slots; see the header for the layout.
#include "memory/free_runs.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <utility>

#include <emmintrin.h>

namespace orsin {
namespace {

constexpr std::uint32_t kBitFan = 64;
constexpr int kShiftMax = 8;  // An offset in a slot has 8 bits.
constexpr std::size_t kLineBytes = 64;

constexpr std::uint64_t groups(std::uint64_t count, std::uint64_t fan) {
  return (count + fan - 1) / fan;
}

constexpr std::uint64_t whole_lines(std::uint64_t bytes) {
  return groups(bytes, kLineBytes) * kLineBytes;
}

// Bit k stands for the k-th of 16 lengths: whether it is at least `length`, which is not 0.
std::uint32_t at_least(const std::uint32_t* lengths, std::uint32_t length) {
  // The comparison is one of signed numbers: both sides are moved down by half their range.
  const __m128i half = _mm_set1_epi32(std::numeric_limits<int>::min());
  const __m128i wanted = _mm_xor_si128(_mm_set1_epi32(static_cast<int>(length)), half);
  const auto shorter = [&](int quarter) {
    const auto* four = reinterpret_cast<const __m128i*>(lengths) + quarter;
    return _mm_cmpgt_epi32(wanted, _mm_xor_si128(_mm_load_si128(four), half));
  };
  const __m128i first = _mm_packs_epi32(shorter(0), shorter(1));
  const __m128i second = _mm_packs_epi32(shorter(2), shorter(3));
  const int mask = _mm_movemask_epi8(_mm_packs_epi16(first, second));
  return ~static_cast<std::uint32_t>(mask) & 0xFFFF;
}

std::uint32_t last_bit(std::uint32_t mask) {
  return static_cast<std::uint32_t>(std::bit_width(mask)) - 1;
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
  shift_ = std::min(static_cast<int>(std::bit_width(distance_min)) - 1, kShiftMax);
  const std::uint64_t slots = (granules >> shift_) + 1;

  const auto lay_out = [&](std::byte* memory) {
    Carver carver(memory);
    top_ = 0;
    std::uint64_t count = groups(slots, kFan) * kFan;
    const std::uint64_t leaves = count / kFan + 1;
    leaves_of_ = carver.take<std::uint32_t>(count / kFan);
    lengths_ = carver.take<Lengths>(leaves);
    offsets_ = carver.take<Offsets>(leaves);
    runs_in_ = carver.take<std::uint8_t>(leaves);
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
  std::uint32_t& leaf = leaves_of_[slot / kFan];
  if (leaf == 0) {
    leaf = take_leaf();
  }
  ++runs_in_[leaf];
  lengths_[leaf].of[slot % kFan] = end - begin;
  offsets_[leaf].of[slot % kFan] = static_cast<std::uint8_t>(begin - (slot << shift_));
  raise_maxima(slot, end - begin);
}

std::uint32_t FreeRuns::remove(std::uint32_t begin) {
  const std::uint32_t slot = slot_of(begin);
  std::uint32_t& leaf = leaves_of_[slot / kFan];
  const std::uint32_t length = lengths_[leaf].of[slot % kFan];
  mark_joined(begin);
  lower_maxima(slot, length);
  lengths_[leaf].of[slot % kFan] = 0;
  if (--runs_in_[leaf] == 0) {
    give_back_leaf(std::exchange(leaf, 0));
  }
  return begin + length;
}

std::uint32_t FreeRuns::take_leaf() {
  if (unused_leaf_ == 0) {
    return ++leaves_touched_;
  }
  const std::uint32_t leaf = unused_leaf_;
  unused_leaf_ = std::exchange(lengths_[leaf].of[0], 0);
  return leaf;
}

void FreeRuns::give_back_leaf(std::uint32_t leaf) {
  lengths_[leaf].of[0] = unused_leaf_;
  unused_leaf_ = leaf;
}

std::uint32_t FreeRuns::end_of_run_at(std::uint32_t begin) const {
  const std::uint32_t slot = slot_of(begin);
  const std::uint32_t length = length_in(slot);
  return length != 0 && begin_in(slot) == begin ? begin + length : kNone;
}

std::uint32_t FreeRuns::begin_of_run_to(std::uint32_t end) const {
  std::uint32_t slot = slot_of(end);
  if (length_in(slot) == 0 || begin_in(slot) >= end) {
    slot = last_slot_before(slot);
    if (slot == kNone) {
      return kNone;
    }
  }
  const std::uint32_t begin = begin_in(slot);
  return begin + length_in(slot) == end ? begin : kNone;
}

std::uint32_t FreeRuns::largest_but(const std::uint32_t* lengths, std::uint32_t left_out) {
  std::uint32_t largest = 0;
  for (std::uint32_t child = 0; child < kFan; ++child) {
    largest = std::max(largest, child != left_out ? lengths[child] : 0);
  }
  return largest;
}

// Up until something begins further left in the same group, and down to the last of that.
std::uint32_t FreeRuns::last_slot_before(std::uint32_t slot) const {
  std::uint32_t index = slot;
  for (int level = 0; level <= top_; ++level) {
    const std::uint32_t group = index / kFan;
    const std::uint32_t before = (1U << index % kFan) - 1;
    if (const std::uint32_t mask = at_least(children(level, group), 1) & before; mask != 0) {
      return last_slot_below(level, group * kFan + last_bit(mask));
    }
    index = group;
  }
  return kNone;
}

std::uint32_t FreeRuns::last_slot_below(int level, std::uint32_t index) const {
  while (level > 0) {
    --level;
    // Not 0: the level above promised one.
    index = index * kFan + last_bit(at_least(children(level, index), 1));
  }
  return index;
}

// A length has come.
void FreeRuns::raise_maxima(std::uint32_t slot, std::uint32_t length) {
  std::uint32_t index = slot;
  for (int level = 1; level <= top_; ++level) {
    index /= kFan;
    if (maxima_[level][index] >= length) {
      return;
    }
    maxima_[level][index] = length;
  }
}

// A length is about to go. A line is read as a whole before one number in it is written: the other
// way round the processor would wait for the write.
void FreeRuns::lower_maxima(std::uint32_t slot, std::uint32_t length) {
  std::uint32_t below = slot;
  std::uint32_t left = 0;  // What stands at `below` from now on.
  for (int level = 1;; ++level) {
    const std::uint32_t group = below / kFan;
    const bool was_largest = level <= top_ && maxima_[level][group] == length;
    std::uint32_t largest = left;
    if (was_largest && (level > 1 || runs_in_[leaves_of_[group]] > 1)) {
      largest = std::max(left, largest_but(children(level - 1, group), below % kFan));
    }
    if (level > 1) {
      maxima_[level - 1][below] = left;
    }
    if (!was_largest || largest == length) {
      return;
    }
    left = largest;
    below = group;
  }
}

std::uint32_t FreeRuns::first_fit(std::uint64_t length) const {
  if (length > kNone) {
    return kNone;
  }
  std::uint32_t group = 0;
  for (int level = top_;; --level) {
    const std::uint32_t mask = at_least(children(level, group), static_cast<std::uint32_t>(length));
    if (mask == 0) {
      return kNone;  // Only at the top: below it the maximum promised one.
    }
    group = group * kFan + static_cast<std::uint32_t>(std::countr_zero(mask));
    if (level == 0) {
      return begin_in(group);
    }
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
