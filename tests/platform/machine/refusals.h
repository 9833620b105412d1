// What the machine refuses: nothing, some calls by chance, or exactly the n-th.
//
// Every call that documented Windows may refuse is a point, and so is every allocation. The points of a
// run without refusals are counted; then each can be the one that fails.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "tests/platform/machine/random.h"

namespace orsin::simulation {

struct RefusalPlan {
  std::uint64_t one_in = 0;       // Calls, by chance; 0: none.
  std::uint64_t first_point = 0;  // The n-th, from 1; 0: none.
  std::uint64_t in_a_row = 1;     // And those that follow.
  std::uint64_t kind = 0;         // Which of its documented failures.
};

class Refusals {
 public:
  Refusals(std::uint64_t seed, const RefusalPlan& plan) : random_(seed, 2), plan_(plan) {}

  /// The error that the call at this point fails with; 0: it is carried out.
  std::uint32_t at_call(std::initializer_list<std::uint32_t> errors);

  /// Whether there is no memory at this point.
  bool at_allocation();

  /// While the library starts: it does not claim to survive without memory for its locks.
  void pause(bool is_paused) { is_paused_ = is_paused; }

  /// No more of them.
  void stop() { plan_ = {}; }

  [[nodiscard]] std::uint64_t points() const { return points_; }
  [[nodiscard]] std::uint64_t refused() const { return refused_; }

  [[nodiscard]] std::uint64_t allocations_refused() const { return allocations_refused_; }

  /// How many ways to fail the first refused call had.
  [[nodiscard]] std::uint64_t kinds() const { return kinds_; }

 private:
  bool is_chosen();

  Random random_;
  RefusalPlan plan_;
  bool is_paused_ = false;
  std::uint64_t points_ = 0;
  std::uint64_t refused_ = 0;
  std::uint64_t allocations_refused_ = 0;
  std::uint64_t kinds_ = 0;
};

}  // namespace orsin::simulation
