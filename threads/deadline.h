// A moment after which several waits in a row are given up.
#pragma once

#include <chrono>
#include <cstdint>

#include "base/lock.h"
#include "orsincore/threads.h"

namespace orsin {

class Deadline {
 public:
  /// Never.
  Deadline() = default;

  explicit Deadline(std::uint32_t timeout_ms)
      : has_end_(true), end_(Clock::now() + std::chrono::milliseconds(timeout_ms)) {}

  /// Waits for the condition, whose mutex is held. False, without a wait, when the time is over.
  bool wait(__cond_str* condition, const Mutex& mutex) const {
    if (!has_end_) {
      mp_cond_wait(condition, mutex.handle());
      return true;
    }
    const std::uint32_t left = left_ms();
    if (left > 0) {
      mp_cond_timedwait(condition, mutex.handle(), left * 1000000LL);
    }
    return left > 0;
  }

  /// Milliseconds, rounded up; 0 when the time is over. Only where there is an end.
  [[nodiscard]] std::uint32_t left_ms() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
    return left > 0 ? static_cast<std::uint32_t>(left) : 0;
  }

 private:
  using Clock = std::chrono::steady_clock;

  // No std::optional, which GCC suspects to be read while it is empty.
  bool has_end_ = false;
  Clock::time_point end_;
};

}  // namespace orsin
