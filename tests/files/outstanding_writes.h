// Many asynchronous writes of one thread, all under way before the first is waited for.
#pragma once

#include <cstddef>
#include <vector>

#include "orsincore/io.h"

namespace orsin::test {

struct OutstandingWrite {
  const void* data;
  long long place;
  std::size_t bytes;
};

/// @return How many writes did not start or did not end well.
inline int write_all_at_once(void* file, const std::vector<OutstandingWrite>& writes) {
  std::vector<int> tickets(writes.size());
  int failures = 0;
  for (std::size_t i = 0; i < writes.size(); ++i) {
    const auto& [data, place, bytes] = writes[i];
    failures += io_write_async64(file, data, place, bytes, &tickets[i]) ? 0 : 1;
  }
  for (int& ticket : tickets) {
    failures += io_complete64(file, &ticket, true) == 1 ? 0 : 1;
  }
  return failures;
}

}  // namespace orsin::test
