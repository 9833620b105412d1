// The end of the three small-block pools; taking and giving back is public: sb_alloc(), sb_free().
#pragma once

namespace orsin::small_blocks {

/// Gives all chunks of the pools back to the process heap. Closedown: no block may be in use.
void release();

}  // namespace orsin::small_blocks
