// Paths below a temporary directory with the separator that the library looks for.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

#include "tests/support/temporary_directory.h"

namespace orsin::test {

/// The directory itself; absolute to the library on every system.
inline std::string backslashed(const TemporaryDirectory& directory) {
  std::string path = directory.path();
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

/// A name below it; write it with backslashes.
inline std::string below(const TemporaryDirectory& directory, std::string_view name) {
  return backslashed(directory) + "\\" + std::string(name);
}

}  // namespace orsin::test
