// The I/O layer, started for one test.
#pragma once

#include <cstdint>

#include "files/transfer_slots.h"

namespace orsin::test {

class IoStart {
 public:
  IoStart() { start_transfers(); }
  explicit IoStart(std::int32_t last_ticket) { start_transfers(last_ticket); }
  ~IoStart() { stop_transfers(); }
  IoStart(const IoStart&) = delete;
  IoStart& operator=(const IoStart&) = delete;
};

}  // namespace orsin::test
