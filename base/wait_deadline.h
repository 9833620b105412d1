// When a wait that has a limit is over.
//
// By the clock that runs through, not by the system's ticks: those come every 16 milliseconds on some
// machines, and whatever is done before the wait counts.
#pragma once

#include <chrono>
#include <cstdint>

namespace orsin {

class WaitDeadline {
 public:
  explicit WaitDeadline(std::uint32_t timeout_ms)
      : end_(Clock::now() + std::chrono::milliseconds(timeout_ms)) {}

  /// Rounded up, so that nobody comes back too early; 0 when it is over.
  [[nodiscard]] std::uint32_t left_ms() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now());
    return left.count() > 0 ? static_cast<std::uint32_t>(left.count()) : 0;
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point end_;
};

}  // namespace orsin
