// "run": another program, with a spinner while it works.
#include <cstdio>
#include <string>

#include "examples/host/argument_vector.h"
#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/spinner.h"
#include "orsincore/startup.h"

namespace host {
namespace {

constexpr int kPollMs = 100;  // Fast enough for the eye, slow enough for the processor.

int run(const Arguments& arguments) {
  if (arguments.empty()) {
    return bad_usage(kRunCommand, "needs a program");
  }
  const FastLibrary library;
  std::fflush(stdout);  // The program writes to the same output.
  ArgumentVector argv(arguments);
  Spinner spinner(arguments[0]);
  ProcessResultStruct result = {};
  const bool is_done = SpawnAndLoopUntilFinished(
      arguments[0].c_str(), argv.get(), true, [](void* own) { static_cast<Spinner*>(own)->turn(); },
      &spinner, result, kPollMs);
  if (!is_done) {
    return fail(result.started ? "lost track of " + arguments[0] : "cannot start " + arguments[0]);
  }
  return result.exit_code;
}

}  // namespace

const Command kRunCommand = {
    "run", "run another program",
    "Usage: host run PROGRAM [ARGUMENTS]\n"
    "\n"
    "PROGRAM is looked for along PATH; it receives each argument exactly as typed. A spinner shows\n"
    "that it still runs. The exit code is the program's own, or 1 when it cannot be started.\n",
    run, true};

}  // namespace host
