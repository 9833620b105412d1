// How a thread is bound to a processor of the table, decided apart from the calling of the system.
#pragma once

#include <cstdint>
#include <optional>

#include "base/processor_table.h"

namespace orsin {

struct AffinityPlan {
  enum class Kind { kExactMask, kIdealProcessor, kGroupMask };
  Kind kind;
  std::uint16_t group;
  std::uint64_t mask;   // For the masks.
  std::uint8_t number;  // For the ideal processor: its number within the group.
};

/// Nothing for an index outside the table.
[[nodiscard]] std::optional<AffinityPlan> plan_affinity(const ProcessorTable& table, int processor);

}  // namespace orsin
