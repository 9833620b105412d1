// Writes the lines about an allocation that failed; formats and logs, and allocates nothing.
#include "memory/out_of_memory.h"

#include "orsincore/log.h"

namespace orsin {

void log_out_of_memory(std::size_t requested_bytes) {
  msgerror("************************************");
  if (requested_bytes <= 1024) {
    msgcont("* Out of (system) memory, requested %d Bytes", static_cast<int>(requested_bytes));
  } else {
    msgcont("* Out of (system) memory, requested %d Kb", static_cast<int>(requested_bytes >> 10));
  }
  msgcont("*");
}

}  // namespace orsin
