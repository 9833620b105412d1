// The sample host's commands: a table of names, help texts and functions.
//
// A command receives its own arguments (without its name), starts the library as it needs it, and
// returns the process's exit code.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "examples/host/main_window.h"

namespace host {

using Arguments = std::vector<std::string>;

// What the process reports to whoever started it.
enum ExitCode {
  kDone = 0,
  kFailed = 1,     // The work could not be done; the reason is on standard error.
  kBadUsage = 2,   // The command line makes no sense.
  kCancelled = 3,  // Ctrl-C.
  kBusy = 4,       // Another copy of the host is running.
};

struct Command {
  std::string_view name;
  std::string_view summary;
  std::string_view help;
  int (*run)(const Arguments& arguments);
  bool passes_arguments_on = false;  // To another program: --help is ours as the first one only.
};

extern const Command kReportCommand;
extern const Command kCopyCommand;
extern const Command kIngestCommand;
extern const Command kCheckCommand;
extern const Command kListCommand;
extern const Command kHashCommand;
extern const Command kRunCommand;
extern const Command kRundllCommand;
extern const Command kGetCommand;
extern const Command kPutCommand;
extern const Command kHttpCommand;
extern const Command kWebSocketCommand;
extern const Command kHeapsCommand;
extern const Command kTrCommand;
extern const Command kDateCommand;
extern const Command kBidiCommand;

/// Says what is wrong with the command line and how to get help; returns kBadUsage.
int bad_usage(const Command& command, const std::string& problem);

/// Writes one line to standard error; returns kFailed.
int fail(const std::string& reason);

/// Says that another copy of the host is running; returns kBusy.
int busy();

/// The whole library, with log file and report, for as long as it lives.
class FullLibrary {
 public:
  FullLibrary();
  ~FullLibrary();
  FullLibrary(const FullLibrary&) = delete;
  FullLibrary& operator=(const FullLibrary&) = delete;

  /// False when another copy of the host is running; nothing was started then.
  [[nodiscard]] bool started() const { return started_; }

 private:
  bool started_ = false;
  std::unique_ptr<MainWindow> window_;  // A second copy looks for it instead of showing a message.
};

/// The whole library without the single instance, for several copies side by side. Its log goes to
/// standard error: warnings and errors, more with -d.
class SharedLibrary {
 public:
  SharedLibrary();
  ~SharedLibrary();
  SharedLibrary(const SharedLibrary&) = delete;
  SharedLibrary& operator=(const SharedLibrary&) = delete;
};

/// The library for small tools: its log goes to standard error, warnings and errors only. Commands
/// that need buffers of the standard heaps say so.
class FastLibrary {
 public:
  explicit FastLibrary(bool with_heaps = false);
  ~FastLibrary();
  FastLibrary(const FastLibrary&) = delete;
  FastLibrary& operator=(const FastLibrary&) = delete;
};

}  // namespace host
