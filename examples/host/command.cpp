#include "examples/host/command.h"

#include <cstdio>
#include <string>

#include "examples/host/console.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"

namespace host {
namespace {

// The name of the log file, of the single-instance mutex and of the main window's class.
char application_name[] = "OrsinHost";

}  // namespace

int bad_usage(const Command& command, const std::string& problem) {
  std::fprintf(console_errors(), "host %.*s: %s\nTry: host %.*s --help\n",
               static_cast<int>(command.name.size()), command.name.data(), problem.c_str(),
               static_cast<int>(command.name.size()), command.name.data());
  return kBadUsage;
}

int fail(const std::string& reason) {
  std::fprintf(console_errors(), "host: %s\n", reason.c_str());
  return kFailed;
}

int busy() {
  std::fputs("host: another copy is running\n", console_errors());
  return kBusy;
}

FullLibrary::FullLibrary() {
  started_ = ov_initialize(application_name, "ORSIN_HOST_DATA", console_argc(), console_argv());
  if (started_) {
    window_ = std::make_unique<MainWindow>(std::string(application_name) + "KORVANE");
  }
}

FullLibrary::~FullLibrary() {
  if (started_) {
    window_.reset();
    ov_closedown();
  }
}

SharedLibrary::SharedLibrary() {
  constexpr int kWarnings = 1;
  constexpr int kInformation = 2;
  const int saved = silence_errors();  // The system report is for log files.
  ov_initialize(nullptr, "ORSIN_HOST_DATA", console_argc(), console_argv());
  std::fflush(stderr);
  restore_errors(saved);
  if (msg_getlevel() <= kInformation) {
    msg_setlevel(kWarnings);
  }
}

SharedLibrary::~SharedLibrary() {
  ov_closedown();
}

FastLibrary::FastLibrary(bool with_heaps) {
  ov_fast_initialize(application_name, with_heaps);
}

FastLibrary::~FastLibrary() {
  ov_closedown();
}

}  // namespace host
