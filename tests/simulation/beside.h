// A thread of the host's that works while a scenario goes on.
#pragma once

#include <functional>
#include <utility>

#include "tests/simulation/scenario.h"

namespace orsin::simulation {

/// Runs its work from now on; its end is waited for.
class Beside {
 public:
  Beside(Pass& pass, std::function<void()> work) : it_(pass.it), work_(std::move(work)) {
    it_.schedule.start(
        [this] {
          work_();
          is_over_ = true;
          it_.schedule.wake_all(this);
        },
        nullptr);
  }
  ~Beside() {
    while (!is_over_) {
      static_cast<void>(it_.schedule.wait(this, "a scenario's thread"));
    }
  }
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;

 private:
  Machine& it_;
  std::function<void()> work_;
  bool is_over_ = false;
};

}  // namespace orsin::simulation
