// The processor query, for start-up; its results are public: ov_cpu_info() and the table.
#pragma once

#include <cstdint>

namespace orsin {

/// Asks the system and the processor once; later calls change nothing. Returns the hyper-threading
/// state.
std::uint32_t query_processors(bool strict_affinity);

/// Forgets the answers, as before start-up. For tests.
void forget_processors();

}  // namespace orsin
