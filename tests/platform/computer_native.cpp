// Answers what start-up asks about the computer in native builds.
#include <cstdio>
#include <string_view>

#include "tests/platform/copied_text.h"
#include "tests/platform/fake_computer.h"

namespace orsin {

test::FakeComputer& test::fake_computer() {
  static FakeComputer computer;
  return computer;
}

namespace port {

bool computer_name(char* name, std::size_t size) noexcept {
  return platform::copy_if_any(test::fake_computer().name, name, size);
}

bool system_product_version(Version& version) noexcept {
  version = test::fake_computer().product;
  return test::fake_computer().tells_product;
}

SystemVersion system_version() noexcept {
  return test::fake_computer().system;
}

bool registered(const char* value_name, char* text, std::size_t size) noexcept {
  const auto& values = test::fake_computer().registered;
  const auto found = values.find(std::string_view(value_name));
  return found != values.end() && platform::copy_if_any(found->second, text, size);
}

}  // namespace port
}  // namespace orsin
