// Times the steps of start-up and tells the log of them; see the header.
#include "startup/startup_steps.h"

#include <algorithm>

#include "orsincore/log.h"

namespace orsin {
namespace {

double to_milliseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

}  // namespace

void StartupSteps::remember(const char* name, Clock::duration time) {
  if (count_ < kStepsMax) {
    taken_[count_] = {name, time};
  } else {
    rest_ += time;
  }
  ++count_;
}

void StartupSteps::trace() const {
  const int remembered = std::min(count_, kStepsMax);
  for (int i = 0; i < remembered; ++i) {
    msg_trace("Start-up: %s, %.2f ms", taken_[i].name, to_milliseconds(taken_[i].time));
  }
  if (count_ > remembered) {
    msg_trace("Start-up: %d more steps, %.2f ms", count_ - remembered, to_milliseconds(rest_));
  }
}

}  // namespace orsin
