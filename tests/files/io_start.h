// The I/O layer, started for one test.
#pragma once

#include "files/transfer_slots.h"

namespace orsin::test {

class IoStart {
 public:
  IoStart() { start_transfers(); }
  ~IoStart() { stop_transfers(); }
  IoStart(const IoStart&) = delete;
  IoStart& operator=(const IoStart&) = delete;
};

}  // namespace orsin::test
