// Makes memory short for `new (std::nothrow)`.
#pragma once

#include <cstddef>
#include <limits>

namespace orsin::test {

/// While one lives, such allocations of this thread are refused.
class NewRefusal {
 public:
  static constexpr int kAll = std::numeric_limits<int>::max();

  /// As many as `refused`, or all, after the first `granted` ones.
  explicit NewRefusal(int granted = 0, int refused = kAll);
  ~NewRefusal();
  NewRefusal(const NewRefusal&) = delete;
  NewRefusal& operator=(const NewRefusal&) = delete;

  /// Those of at least `bytes_min`.
  [[nodiscard]] static NewRefusal of_size(std::size_t bytes_min);
};

}  // namespace orsin::test
