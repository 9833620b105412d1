// A thread that stays until it is let go.
#pragma once

#include <string>

#include "orsincore/threads.h"
#include "tests/threads/gate.h"

namespace orsin::test {

/// What such a thread runs on: mp_start_thread(name, HeldThread::run, &held). Must outlive it, which
/// release() makes sure of.
class HeldThread {
 public:
  static void run(void* held) {
    auto& self = *static_cast<HeldThread*>(held);
    self.gate_.wait();
    self.name_ = mp_get_thread_name();
    self.finished_.open();
  }

  /// Lets the thread go and waits until it needs this object no more.
  void release() {
    gate_.open();
    finished_.wait();
  }

  /// The name the thread saw for itself, after release().
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  Gate gate_;
  Gate finished_;
  std::string name_;
};

}  // namespace orsin::test
