// The libraries of native builds: none is real, each call is written down.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace orsin::test {

struct FakeLibraries {
  std::map<std::string, void*> loadable;  // Handles by path or name; anything else fails.
  std::map<std::string, void*> symbols;   // The same for every library.
  int error = 0;                          // The system's code for a load that fails.
  std::function<void(const std::string& path)> on_load;
  std::function<void(void* module)> on_unload;
  std::wstring directory;              // What the process has set.
  std::string current = "C:\\work\\";  // In front of what absolute_path() is asked for.
  unsigned error_mode = 0;
  std::vector<std::string> calls;
};

/// The one instance; tests reset it with `fake_libraries() = {}`.
FakeLibraries& fake_libraries();

}  // namespace orsin::test
