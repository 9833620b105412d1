// Small blocks: three pools chosen by size, and the process heap above them.
//
// The caller names the size again when it frees, so a block carries no header that would have to be
// read. The pools take no lock: sb_alloc() and sb_free() belong to one thread at a time.
#include "memory/small_blocks.h"

#include <cstdlib>

#include "memory/small_block_pool.h"
#include "orsincore/memory.h"

using namespace orsin;

namespace {

// About 20 MiB a chunk: taking a block is a pointer popped, thousands of times a second, for days.
constinit SmallBlockPool pool_32(32, 524288, "small blocks of 32 bytes");
constinit SmallBlockPool pool_64(64, 262144, "small blocks of 64 bytes");
constinit SmallBlockPool pool_128(128, 131072, "small blocks of 128 bytes");

}  // namespace

void* sb_alloc(std::size_t size) {
  if (size <= 32) {
    return pool_32.take();
  }
  if (size <= 64) {
    return pool_64.take();
  }
  if (size <= 128) {
    return pool_128.take();
  }
  return std::malloc(size);
}

void sb_free(void* pointer, std::size_t size) {
  if (size <= 32) {
    pool_32.give_back(pointer);
  } else if (size <= 64) {
    pool_64.give_back(pointer);
  } else if (size <= 128) {
    pool_128.give_back(pointer);
  } else {
    std::free(pointer);
  }
}

namespace orsin::small_blocks {

void stop() {
  pool_32.release_chunks();
  pool_64.release_chunks();
  pool_128.release_chunks();
}

}  // namespace orsin::small_blocks
