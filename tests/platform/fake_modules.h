// The modules of native builds: whatever a test says lies in memory.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace orsin::test {

struct FakeModule {
  std::string file;
  std::uintptr_t size = 0;
};

/// By their first address; empty unless a test fills it.
std::map<std::uintptr_t, FakeModule>& fake_modules();

}  // namespace orsin::test
