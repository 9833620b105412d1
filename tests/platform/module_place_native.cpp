// The module around an address, out of the test's own table.
#include <cstdio>
#include <iterator>

#include "tests/platform/fake_modules.h"
#include "threads/module_place_port.h"

namespace orsin {

namespace test {

std::map<std::uintptr_t, FakeModule>& fake_modules() {
  static std::map<std::uintptr_t, FakeModule> modules;
  return modules;
}

}  // namespace test

bool port::find_module_place(std::uintptr_t address, ModulePlace& place) noexcept {
  const auto& modules = test::fake_modules();
  const auto behind = modules.upper_bound(address);
  if (behind == modules.begin()) {
    return false;
  }
  const auto& [base, module] = *std::prev(behind);
  if (address - base >= module.size) {
    return false;
  }
  std::snprintf(place.file, sizeof(place.file), "%s", module.file.c_str());
  place.offset = address - base;
  return true;
}

}  // namespace orsin
