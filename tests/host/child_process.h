// Runs the test host as a child process in a data folder of the test's own.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "base/win/windows.h"
#include "tests/support/temporary_directory.h"

namespace orsin::test {

/// Only to end a test that hangs; nothing is expected to take this long.
constexpr DWORD kDeadlineMs = 20000;

class ChildProcess {
 public:
  /// Starts the command line; standard output and error go to the file `output`, if it is named.
  explicit ChildProcess(const std::string& command_line, const std::string& output = {});
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// The exit code; -2 when it did not start or was still running at the deadline.
  int wait();

  [[nodiscard]] bool has_ended() const;

  /// Ends it from outside, as a task manager does, with this exit code.
  void kill(unsigned exit_code);

 private:
  HANDLE process_ = nullptr;
};

/// An event of the session by its name, created if it is new.
class NamedEvent {
 public:
  explicit NamedEvent(const std::string& name)
      : event_(CreateEventW(nullptr, TRUE, FALSE, to_path(name).c_str())) {}
  ~NamedEvent() { CloseHandle(event_); }
  NamedEvent(const NamedEvent&) = delete;
  NamedEvent& operator=(const NamedEvent&) = delete;

  void set() { SetEvent(event_); }
  [[nodiscard]] bool wait(DWORD milliseconds = kDeadlineMs) {
    return WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
  }

 private:
  HANDLE event_;
};

/// Lets one test process of the session at a time pass: for what all processes share.
class OneAtATime {
 public:
  explicit OneAtATime(const std::string& name)
      : mutex_(CreateMutexW(nullptr, FALSE, to_path(name).c_str())) {
    const DWORD result = WaitForSingleObject(mutex_, 10 * kDeadlineMs);
    EXPECT_TRUE(result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) << name;
  }
  ~OneAtATime() {
    ReleaseMutex(mutex_);
    CloseHandle(mutex_);
  }
  OneAtATime(const OneAtATime&) = delete;
  OneAtATime& operator=(const OneAtATime&) = delete;

 private:
  HANDLE mutex_;
};

/// The test host's path.
std::string host_program();

/// A test whose children keep their data and their log in a folder of its own.
class HostTest : public testing::Test {
 protected:
  HostTest();
  ~HostTest() override;

  /// The command line that makes the test host do `command` with these letters.
  [[nodiscard]] std::string host(const std::string& command, const std::string& letters = {}) const;

  /// Runs the test host to its end.
  [[nodiscard]] int run(const std::string& command, const std::string& letters = {}) const;

  /// What the children of `run` printed.
  [[nodiscard]] std::string output() const;

  /// The log of the latest child; empty when there is none.
  [[nodiscard]] std::string log() const;

  /// Every line is in the log of the latest child, each behind the one before.
  void expect_in_order(std::initializer_list<const char*> lines) const;

  /// The application's name: this test's only, as there is one instance a name, and a process that
  /// has just ended may hold its mutex for a moment.
  [[nodiscard]] const std::string& name() const { return name_; }

  /// Puts letters behind the name, outside ASCII for one. Call first.
  void extend_name(const std::string& letters) { name_ += letters; }

  [[nodiscard]] const TemporaryDirectory& directory() const { return directory_; }

 private:
  TemporaryDirectory directory_;
  std::string name_;
};

}  // namespace orsin::test
