// The standard heaps, as the buffer calls and the tests see them.
#pragma once

#include "orsincore/memory.h"

namespace orsin::standard_heaps {

/// The heap whose block belongs to this very handle; null when there is none. Any thread.
[[nodiscard]] _mheap* owner_of(void** handle);

/// Back to the state before start-up. mem_free_pools() alone does not go that far: it leaves the
/// total, and with it the belief that the heaps have been made.
void reset();

}  // namespace orsin::standard_heaps
