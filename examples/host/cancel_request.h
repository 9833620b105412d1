// The user's wish to stop, as the console tells it.
//
// After Ctrl-C the program goes on until it has cleaned up. When the console is closed, the user logs
// off or the machine goes down, the system ends the process as soon as its handler returns, which
// therefore waits for the clean-up. The system does not wait for ever, whatever the handler does.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace host {

/// What the console tells; the numbers are the system's.
enum ConsoleEvent : unsigned {
  kInterrupted = 0,
  kBroken = 1,
  kConsoleClosed = 2,
  kLoggedOff = 5,
  kShutDown = 6,
};

/// Whether the system ends the process as soon as the handler of this event returns.
[[nodiscard]] bool ends_process(unsigned event);

class CancelRequest {
 public:
  /// The handler: asks the program to stop, and returns when the process may end.
  void on_event(unsigned event);

  /// Whether the program is to stop. Any thread.
  [[nodiscard]] bool is_asked() const { return is_asked_.load(); }

  /// The program has cleaned up.
  void set_cleaned_up();

 private:
  std::atomic<bool> is_asked_ = false;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool is_clean_ = false;
};

}  // namespace host
