// The computer as start-up's report finds it, natively: its name, its system, who it is registered to.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "startup/startup_port.h"

namespace orsin::test {

struct FakeComputer {
  std::string name = "STUDIO";  // Empty: the system does not tell.
  bool tells_product = true;
  port::Version product = {{10, 0, 19045, 1}};
  port::SystemVersion system = {6, 1, 7601, "Service Pack 1"};
  std::map<std::string, std::string, std::less<>> registered;
};

/// The one instance; tests reset it with `fake_computer() = {}`.
FakeComputer& fake_computer();

}  // namespace orsin::test
