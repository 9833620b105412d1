// The steps of start-up and their times, kept until the log is at its level.
#pragma once

#include <chrono>

namespace orsin {

/// Does the steps of start-up and remembers them for the log, which is not at TRACE level before the
/// last one is done.
class StartupSteps {
 public:
  template <typename Step>
  void take(const char* name, Step step) {
    const auto begin = Clock::now();
    step();
    remember(name, Clock::now() - begin);
  }

  /// Writes a line for each step; where there were more than it remembers, one for the rest.
  void trace() const;

 private:
  using Clock = std::chrono::steady_clock;  // The library's own starts on the way.
  static constexpr int kStepsMax = 16;      // Start-up takes fourteen.

  struct Taken {
    const char* name;
    Clock::duration time;
  };

  void remember(const char* name, Clock::duration time);

  Taken taken_[kStepsMax] = {};
  int count_ = 0;  // Of all steps.
  Clock::duration rest_ = {};
};

}  // namespace orsin
