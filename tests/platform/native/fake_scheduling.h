// The priorities and rights of native builds: none is real, each call is written down.
#pragma once

#include <string>
#include <vector>

#include "threads/scheduling_port.h"

namespace orsin::test {

struct FakeScheduling {
  bool refuse = false;  // Every priority.
  int error = 5;        // The system's code for what is refused.
  port::PrivilegeResult privilege = port::PrivilegeResult::kEnabled;
  bool is_administrator = false;
  std::vector<std::string> calls;
};

/// The one instance; tests reset it with `fake_scheduling() = {}`.
FakeScheduling& fake_scheduling();

}  // namespace orsin::test
