// A gate that threads wait at until it is opened.
#pragma once

#include <condition_variable>
#include <mutex>

namespace orsin::test {

class Gate {
 public:
  void open() {
    const std::lock_guard guard(mutex_);
    is_open_ = true;
    changed_.notify_all();  // Under the lock: whoever waits may destroy the gate at once.
  }

  void wait() {
    std::unique_lock guard(mutex_);
    changed_.wait(guard, [this] { return is_open_; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool is_open_ = false;
};

}  // namespace orsin::test
