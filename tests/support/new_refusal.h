// Makes memory short for `new (std::nothrow)`.
#pragma once

#include <cstddef>

namespace orsin::test {

/// While one lives, such allocations of this thread are refused.
class NewRefusal {
 public:
  /// All but the first `granted` ones.
  explicit NewRefusal(int granted = 0);
  ~NewRefusal();
  NewRefusal(const NewRefusal&) = delete;
  NewRefusal& operator=(const NewRefusal&) = delete;

  /// Those of at least `bytes_min`.
  [[nodiscard]] static NewRefusal of_size(std::size_t bytes_min);
};

}  // namespace orsin::test
