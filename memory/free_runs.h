// An index of a heap's free runs, in address order: where is the first one that is large enough?
//
// A run is a longest stretch of free blocks, joined to one block or not yet; it is named by its
// first granule, and a granule is one unit of the heap's alignment. The headers in the heap remain
// the truth; the index only spares the walk over them.
//
//   slot         2^n granules, so few that no two runs can begin in the same one
//   leaf         16 slots in which a run begins: for each slot the length of its run, 0 for none,
//                and the offset of its first granule in the slot; and how many runs there are
//   leaves_of    for each 16 slots their leaf; leaf 0, which stays empty, where no run begins
//   maxima       levels of the largest length among 16 below, up to one level of at most 16
//   unjoined     runs of more than one block, as bits with summaries of 64
//
// A run's end is not written down: the last run that begins before a granule ends there or ends
// earlier, and the maxima lead to it.
//
// Everything is allocated at once, for as many runs as the heap can ever have. Untouched memory stays
// untouched, and a leaf that has lost its last run is the next to be used: what is touched follows
// the number of runs (81 bytes for each at most) and the heap's size (11 bytes for 16 slots). No
// lock: the heap's mutex covers it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin {

class FreeRuns {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  /// Starts empty. `granules` is the size of the heap; `distance_min` how far apart, at least, two
  /// runs begin. False, and no index, when memory is short or the heap too large to count.
  bool create(std::uint64_t granules, std::uint64_t distance_min);
  void destroy();
  [[nodiscard]] bool exists() const { return leaves_of_ != nullptr; }

  /// A new run; used blocks lie before and behind it.
  void insert(std::uint32_t begin, std::uint32_t end);

  /// Forgets a run; returns its end.
  std::uint32_t remove(std::uint32_t begin);

  /// The end of the run that begins exactly there; kNone for none.
  [[nodiscard]] std::uint32_t end_of_run_at(std::uint32_t begin) const;

  /// The begin of the run that ends exactly there; kNone for none.
  [[nodiscard]] std::uint32_t begin_of_run_to(std::uint32_t end) const;

  /// The first run of at least that length, which is not 0; kNone for none.
  [[nodiscard]] std::uint32_t first_fit(std::uint64_t length) const;

  void mark_unjoined(std::uint32_t begin);
  void mark_joined(std::uint32_t begin);
  [[nodiscard]] bool is_unjoined(std::uint32_t begin) const;
  /// The first unjoined run; kNone for none.
  [[nodiscard]] std::uint32_t first_unjoined() const;

  /// How many leaves have been in use at a time, at most: so many are touched. For tests.
  [[nodiscard]] std::uint32_t leaves_touched() const { return leaves_touched_; }

 private:
  static constexpr std::uint32_t kFan = 16;  // Lengths: one cache line of children.
  static constexpr int kLevelsMax = 8;       // 16^8 slots are more than a count of 32 bits needs.
  static constexpr int kBitLevelsMax = 6;

  struct Lengths {
    std::uint32_t of[kFan];
  };
  struct Offsets {
    std::uint8_t of[kFan];
  };

  [[nodiscard]] std::uint32_t slot_of(std::uint32_t granule) const { return granule >> shift_; }
  [[nodiscard]] std::uint32_t length_in(std::uint32_t slot) const {
    return lengths_[leaves_of_[slot / kFan]].of[slot % kFan];
  }
  [[nodiscard]] std::uint32_t begin_in(std::uint32_t slot) const {
    return (slot << shift_) + offsets_[leaves_of_[slot / kFan]].of[slot % kFan];
  }
  /// The lengths (level 0) or maxima of the 16 in that group.
  [[nodiscard]] const std::uint32_t* children(int level, std::uint32_t group) const {
    return level == 0 ? lengths_[leaves_of_[group]].of : maxima_[level] + std::size_t{group} * kFan;
  }
  [[nodiscard]] std::uint32_t last_slot_before(std::uint32_t slot) const;
  [[nodiscard]] std::uint32_t last_slot_below(int level, std::uint32_t index) const;
  [[nodiscard]] static std::uint32_t largest_but(const std::uint32_t* lengths,
                                                 std::uint32_t left_out);
  void raise_maxima(std::uint32_t slot, std::uint32_t length);
  void lower_maxima(std::uint32_t slot, std::uint32_t length);
  std::uint32_t take_leaf();
  void give_back_leaf(std::uint32_t leaf);

  void* memory_ = nullptr;
  std::uint32_t* leaves_of_ = nullptr;
  Lengths* lengths_ = nullptr;
  Offsets* offsets_ = nullptr;
  std::uint8_t* runs_in_ = nullptr;  // Each leaf.
  std::uint32_t leaves_touched_ = 0;
  std::uint32_t unused_leaf_ = 0;  // The first of a list through their first lengths; 0 ends it.
  std::uint32_t* maxima_[kLevelsMax] = {};  // From level 1 on.
  int top_ = 0;
  std::uint64_t* bits_[kBitLevelsMax] = {};
  int bit_top_ = 0;
  int shift_ = 0;
};

}  // namespace orsin
