// Three pools of small blocks, chosen by size; no lock, one thread at a time.
//
//   up to 32 bytes   chunks of 524288 blocks (about 20 MiB)
//   up to 64 bytes   chunks of 262144 blocks
//   up to 128 bytes  chunks of 131072 blocks
//   above            the process heap
#include "memory/small_blocks.h"

#include <cstdlib>

#include "memory/small_block_pool.h"
#include "orsincore/memory.h"

namespace orsin {
namespace {

constinit SmallBlockPool pool_32(32, 524288, "SmallBlockPool<32>");
constinit SmallBlockPool pool_64(64, 262144, "SmallBlockPool<64>");
constinit SmallBlockPool pool_128(128, 131072, "SmallBlockPool<128>");

}  // namespace

namespace small_blocks {

void release() {
  pool_32.release_chunks();
  pool_64.release_chunks();
  pool_128.release_chunks();
}

}  // namespace small_blocks
}  // namespace orsin

using namespace orsin;

void* sb_alloc(std::size_t size) {
  if (size <= 32) {
    return pool_32.take();
  }
  if (size <= 64) {
    return pool_64.take();
  }
  return size <= 128 ? pool_128.take() : std::malloc(size);
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
