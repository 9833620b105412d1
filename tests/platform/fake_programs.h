// The programs of native builds: none runs, each call is written down.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "modules/spawn_port.h"

namespace orsin::test {

struct FakePrograms {
  int start_error = 0;                    // Not 0: starting fails with this errno.
  bool lacks_memory = false;              // Starting throws.
  std::deque<port::ProgramState> states;  // One a look; kEnded when none is left.
  int exit_code_error = 0;
  std::int32_t exit_code = 0;

  std::string program;
  std::vector<std::string> arguments;
  port::ErrorOutput errors = port::ErrorOutput::kOurs;
  int looks = 0;
  int open_handles = 0;
};

/// The one instance; tests reset it with `fake_programs() = {}`.
FakePrograms& fake_programs();

}  // namespace orsin::test
