// The current directory of the process, elsewhere for one test.
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/temporary_directory.h"

namespace orsin::test {

class CurrentDirectory {
 public:
  explicit CurrentDirectory(const TemporaryDirectory& directory)
      : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(to_path(directory.path()));
  }
  ~CurrentDirectory() { std::filesystem::current_path(before_); }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  std::filesystem::path before_;
};

}  // namespace orsin::test
