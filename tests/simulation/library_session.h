// The library started on a simulated machine, and stopped when this goes.
//
// Its log is a text of the scenario's, on no disk, that never fails: by it a failure must name itself.
#pragma once

#include <cstdio>
#include <string>

#include "tests/platform/machine/machine.h"

namespace orsin::simulation {

class LibrarySession {
 public:
  LibrarySession();
  ~LibrarySession();
  LibrarySession(const LibrarySession&) = delete;
  LibrarySession& operator=(const LibrarySession&) = delete;

  /// Whether the library has written an error line, or a warning, since the last time.
  [[nodiscard]] bool has_complained();
  [[nodiscard]] bool has_warned();

  /// The process's first reader makes a lock that stays. For stories in which only some seeds have one,
  /// so that it is no leak.
  static void make_lock_of_readers();

 private:
  std::string log_;
  std::size_t seen_ = 0;
  std::FILE* stream_ = nullptr;
};

}  // namespace orsin::simulation
