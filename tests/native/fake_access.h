// What becomes of granting everybody access to a directory, in builds without Windows.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/file_system_port.h"

namespace orsin::test {

struct FakeAccess {
  port::AccessGrant grant = port::AccessGrant::kGranted;
  std::uint32_t merge_error = 0;
  std::vector<std::string> directories = {};  // That were asked for, in order.
};

FakeAccess& fake_access();

}  // namespace orsin::test
