// A latch as the standard's, over a mutex and a condition: the run-time library's own has lost
// wake-ups under Wine, and a test then hangs.
#pragma once

#include <condition_variable>
#include <mutex>

namespace orsin::test {

class Latch {
 public:
  explicit Latch(int count) : count_(count) {}

  void count_down() {
    const std::lock_guard guard(mutex_);
    if (--count_ == 0) {
      reached_.notify_all();
    }
  }

  void wait() {
    std::unique_lock guard(mutex_);
    reached_.wait(guard, [this] { return count_ <= 0; });
  }

  void arrive_and_wait() {
    count_down();
    wait();
  }

 private:
  std::mutex mutex_;
  std::condition_variable reached_;
  int count_;
};

}  // namespace orsin::test
