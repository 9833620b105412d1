// The three pools behind sb_alloc(), as closedown sees them.
#pragma once

namespace orsin::small_blocks {

/// Gives every pool's memory back to the process heap, whatever is still in use.
void stop();

}  // namespace orsin::small_blocks
