// What start-up finds in native builds: the machine, its registration and its files, with knobs.
#pragma once

#include <cstdio>
#include <map>
#include <string>

#include "startup/startup_port.h"

namespace orsin::test {

struct FakeStartup {
  std::string computer = "STUDIO";  // Empty: the system does not tell.
  bool tells_product = true;
  port::Version product = {{10, 0, 19045, 1}};
  port::SystemVersion system = {6, 1, 7601, "Service Pack 1"};
  std::map<std::string, std::string> registered;

  std::string common_folder;  // For the data of all users; empty: there is none.
  int written_looks = 0;      // So often somebody is found writing to a file.
  int looks = 0;
  bool refuses_copies = false;
  std::FILE* log = nullptr;  // What standard error was pointed at. The test closes it.
};

/// The one instance; tests reset it with `fake_startup() = {}`.
FakeStartup& fake_startup();

}  // namespace orsin::test
