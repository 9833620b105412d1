// The standard heaps, as the buffer calls and the tests see them.
#pragma once

#include "orsincore/memory.h"

namespace orsin::standard_heaps {

/// The heap in whose region `*handle` lies; null when there is none. Takes no lock: whether the block
/// there is this handle's own is known under that heap's mutex. Any thread.
[[nodiscard]] _mheap* heap_around(void** handle);

/// Back to the state before start-up. mem_free_pools() alone does not go that far: it leaves the
/// total, and with it the belief that the heaps have been made.
void reset();

}  // namespace orsin::standard_heaps
