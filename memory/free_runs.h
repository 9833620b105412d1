// An index of a heap's free runs, in address order: where is the first one that is large enough?
//
// A run is a longest stretch of free blocks, joined to one block or not yet; it is named by its
// first granule, and a granule is one unit of the heap's alignment. The headers in the heap remain
// the truth; the index only spares the walk over them.
//
//   slot         2^n granules, so few that no two runs can begin (or end) in the same one
//   length       of the run that begins in a slot, 0 for none; by slot
//   begin        of the run that ends in a slot; by slot, and trusted only after a look at the run
//   maxima       levels of the largest length among 16 below, up to one level of at most 16
//   unjoined     runs of more than one block, as bits with summaries of 64
//
// Everything is allocated at once, for as many runs as the heap can ever have, and untouched memory
// stays untouched. No lock: the heap's mutex covers it.
#pragma once

#include <cstdint>

namespace orsin {

class FreeRuns {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  /// Starts empty. `granules` is the size of the heap; `distance_min` how far apart, at least, two
  /// runs begin and two runs end. False, and no index, when memory is short or the heap too large to
  /// count.
  bool create(std::uint64_t granules, std::uint64_t distance_min);
  void destroy();
  [[nodiscard]] bool exists() const { return lengths_ != nullptr; }

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

 private:
  static constexpr int kLevelsMax = 8;  // 16^8 slots are more than a count of 32 bits needs.
  static constexpr int kBitLevelsMax = 6;

  [[nodiscard]] std::uint32_t slot_of(std::uint32_t granule) const { return granule >> shift_; }
  [[nodiscard]] std::uint32_t begin_in(std::uint32_t slot) const {
    return (slot << shift_) + offsets_[slot];
  }
  void set_length(std::uint32_t slot, std::uint32_t length);

  void* memory_ = nullptr;
  std::uint32_t* lengths_ = nullptr;
  std::uint32_t* begins_ = nullptr;         // By the slot of the end.
  std::uint8_t* offsets_ = nullptr;         // Of a run's first granule in its slot.
  std::uint32_t* levels_[kLevelsMax] = {};  // levels_[0] is lengths_.
  std::uint32_t top_count_ = 0;
  int top_ = 0;
  std::uint64_t* bits_[kBitLevelsMax] = {};
  int bit_top_ = 0;
  int shift_ = 0;
};

}  // namespace orsin
