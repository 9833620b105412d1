// The host's main window: never shown, found by a second copy of the host.
//
// It has a thread of its own that sees to its messages. The commands work on the main thread and look
// at none; a window there would keep everybody waiting who speaks to all windows, a log-off for one.
#pragma once

#include <string>

namespace host {

class MainWindow {
 public:
  /// The library must be running for as long as this lives. Returns when the window is there.
  explicit MainWindow(const std::string& class_name);
  ~MainWindow();
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;

  /// False when the system refused it.
  [[nodiscard]] bool is_open() const { return window_ != nullptr; }

 private:
  static void run(void* self);
  void open_and_see_to_messages();

  std::string class_name_;
  void* window_ = nullptr;
  void* opened_ = nullptr;  // An event: window_ is set.
  unsigned thread_ = 0;
};

}  // namespace host
