// A moment after which several waits in a row are given up.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>

#include "base/lock.h"
#include "orsincore/threads.h"

namespace orsin {

class Deadline {
 public:
  /// Never.
  Deadline() = default;

  explicit Deadline(std::uint32_t timeout_ms)
      : end_(Clock::now() + std::chrono::milliseconds(timeout_ms)) {}

  /// Waits for the condition, whose mutex is held. False, without a wait, when the time is over.
  bool wait(__cond_str* condition, const Mutex& mutex) const {
    if (end_ == kNever) {
      mp_cond_wait(condition, mutex.handle());
      return true;
    }
    const std::uint32_t left = left_ms();
    if (left > 0) {
      mp_cond_timedwait(condition, mutex.handle(), left * 1000000LL);
    }
    return left > 0;
  }

  /// Milliseconds, rounded up; 0 when the time is over, and the most that there are without an end.
  [[nodiscard]] std::uint32_t left_ms() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
    return static_cast<std::uint32_t>(
        std::clamp<decltype(left)>(left, 0, std::numeric_limits<std::uint32_t>::max()));
  }

 private:
  using Clock = std::chrono::steady_clock;

  static constexpr auto kNever = Clock::time_point::max();

  Clock::time_point end_ = kNever;
};

}  // namespace orsin
