// Running another program while the caller's own loop goes on.
//
//   start, then as long as it runs: idle, pause, look again; then collect the exit code
//
// The waiting ends with the program: there is no time-out. The system's handle is closed on every
// way out, an exception of the idle function's included.
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "modules/argument_quoting.h"
#include "modules/spawn_port.h"
#include "orsincore/log.h"
#include "orsincore/modules.h"

namespace orsin {
namespace {

static_assert(offsetof(ProcessResultStruct, started) == 0);
static_assert(offsetof(ProcessResultStruct, exit_code) == 4);
static_assert(offsetof(ProcessResultStruct, exited) == 8);
static_assert(offsetof(ProcessResultStruct, reserved) == 12);
static_assert(sizeof(ProcessResultStruct) == 16);

struct ProgramCloser {
  void operator()(void* process) const { port::close_program(process); }
};
using UniqueProgram = std::unique_ptr<void, ProgramCloser>;

std::vector<std::string> quoted(char* const* argv) {
  std::vector<std::string> arguments;
  for (int i = 0; argv[i] != nullptr; ++i) {
    arguments.push_back(i == 0 ? quoted_program_name(argv[i]) : quoted_argument(argv[i]));
  }
  return arguments;
}

// Null with the reason in errno.
UniqueProgram start(const char* program, char* const* argv, bool is_waited_for) {
  if (program == nullptr || argv == nullptr || argv[0] == nullptr) {
    errno = EINVAL;
    return nullptr;
  }
  try {
    const std::vector<std::string> arguments = quoted(argv);
    std::vector<const char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments) {
      pointers.push_back(argument.c_str());
    }
    pointers.push_back(nullptr);
    // What may live longer than this process must not hold its log.
    const auto errors = is_waited_for ? port::ErrorOutput::kOurs : port::ErrorOutput::kNowhere;
    return UniqueProgram(port::start_program(program, pointers.data(), errors));
  } catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return nullptr;
  }
}

void pause_for(int milliseconds) {
  if (milliseconds > 0) {
    std::this_thread::sleep_until(std::chrono::steady_clock::now() +
                                  std::chrono::milliseconds(milliseconds));
  }
}

}  // namespace
}  // namespace orsin

using namespace orsin;

bool SpawnAndLoopUntilFinished(const char* program, char* const* argv, bool wait,
                               void (*idle)(void*), void* idle_argument,
                               ProcessResultStruct& result, int poll_ms) {
  result = {false, -1, false, 0};
  const UniqueProgram process = start(program, argv, wait);
  if (process == nullptr) {
    msgerror("_spawnvp failed (%s)", std::strerror(errno));
    return false;
  }
  result.started = true;
  if (!wait) {
    return true;
  }

  port::ProgramState state = port::test_program(process.get());
  while (state == port::ProgramState::kRunning) {
    if (idle != nullptr) {
      idle(idle_argument);
    }
    pause_for(poll_ms);
    state = port::test_program(process.get());
  }
  if (state == port::ProgramState::kUnknown) {
    msgerror("_spawnvp wait failed");
    return false;
  }

  std::int32_t exit_code = 0;
  if (!port::read_exit_code(process.get(), exit_code)) {
    msgerror("_spawnvp cwait failed (%s)", std::strerror(errno));
    return false;
  }
  result.exit_code = exit_code;
  result.exited = true;
  return true;
}
