// A drive whose sector size has been asked for already: what the first question writes to the log is
// then not in the test's.
#pragma once

#include <string>

#include "files/volumes.h"

namespace orsin::test {

struct KnownDrive {
  explicit KnownDrive(const std::string& path) {
    static_cast<void>(drive_sector_size(path.c_str()));
  }
};

}  // namespace orsin::test
