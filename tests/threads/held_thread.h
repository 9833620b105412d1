// A thread that stays until it is let go, and the wait for one that the table has forgotten.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "orsincore/threads.h"
#include "tests/threads/gate.h"
#include "threads/thread_port.h"
#include "threads/thread_table.h"

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

/// Waits, when it goes, for the end of a thread that the table may have forgotten by then. Where a
/// process ends beside the last steps of such a thread, Wine stands still until its server kills it.
class AwaitedThread {
 public:
  explicit AwaitedThread(unsigned int identifier)
      : handle_(port::duplicate_thread(thread_handle(static_cast<int>(identifier)))) {}
  ~AwaitedThread() {
    EXPECT_EQ(port::wait_for_thread(handle_, 60000), port::ThreadWait::kEnded);
    port::close_thread(handle_);
  }
  AwaitedThread(const AwaitedThread&) = delete;
  AwaitedThread& operator=(const AwaitedThread&) = delete;

 private:
  void* handle_;
};

}  // namespace orsin::test
