// What start-up finds of folders and files in native builds, with knobs.
#pragma once

#include <cstdio>
#include <string>

#include "startup/startup_port.h"

namespace orsin::test {

struct FakeStartup {
  std::string common_folder;  // For the data of all users; empty: there is none.
  int written_looks = 0;      // So often somebody is found writing to a file.
  int looks = 0;
  bool refuses_copies = false;
  std::FILE* log = nullptr;  // What standard error was pointed at. The test closes it.
};

/// The one instance; tests reset it with `fake_startup() = {}`.
FakeStartup& fake_startup();

}  // namespace orsin::test
