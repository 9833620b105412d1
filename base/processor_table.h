// The processors that threads can be bound to, as the processor query found them.
#pragma once

#include <cstdint>

#include "orsincore/base.h"

namespace orsin {

/// One physical core: the logical processors that belong to it, within its processor group.
struct ProcessorEntry {
  std::uint64_t mask = 0;
  std::uint16_t group = 0;
};

struct ProcessorTable {
  ov_vector<ProcessorEntry> entries;
  int group_count = 0;
  bool strict_affinity = false;  // Bind hard instead of preferring.
};

/// The table; empty before the processor query.
const ProcessorTable& processor_table();

}  // namespace orsin
