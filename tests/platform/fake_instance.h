// The session in which the single instance looks around in native builds.
#pragma once

#include <string>
#include <vector>

#include "startup/instance_port.h"

namespace orsin::test {

struct FakeInstance {
  // Null with this code, as for a mutex that may not be opened; 0: it is new.
  unsigned refusal = 0;
  bool exists = false;  // A mutex that was there already; it can be opened.
  bool has_window = false;
  bool window_is_minimised = false;
  bool desktop_is_visible = true;
  std::string command_line;

  std::vector<std::string> calls;
  int open_mutexes = 0;
  InstanceRecord record = {};
};

/// The one instance; tests reset it with `fake_instance() = {}`.
FakeInstance& fake_instance();

}  // namespace orsin::test
