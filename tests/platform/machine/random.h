// Where every choice of the machine comes from: a stream of numbers that its seed decides.
#pragma once

#include <cstdint>

namespace orsin::simulation {

class Random {
 public:
  /// @param stream  Tells the streams of one seed apart, so that one more draw here moves nothing
  ///                there.
  explicit Random(std::uint64_t seed, std::uint64_t stream = 0)
      : state_(mixed(seed) ^ mixed(~stream)) {}

  std::uint64_t next() {
    state_ += kGolden;
    return mixed(state_);
  }

  /// From 0 to `end` - 1; 0 for an empty range.
  std::uint64_t below(std::uint64_t end) { return end == 0 ? 0 : next() % end; }

  /// Both ends included.
  std::uint64_t between(std::uint64_t first, std::uint64_t last) {
    return first + below(last - first + 1);
  }

  /// Never for 0.
  bool one_in(std::uint64_t chances) { return chances != 0 && below(chances) == 0; }

  template <typename T, std::size_t count>
  const T& one_of(const T (&values)[count]) {
    return values[below(count)];
  }

  /// A number that looks like chance, and is the same for the same one.
  static constexpr std::uint64_t mixed(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EB;
    return value ^ (value >> 31);
  }

 private:
  static constexpr std::uint64_t kGolden = 0x9E3779B97F4A7C15;
  std::uint64_t state_;
};

}  // namespace orsin::simulation
