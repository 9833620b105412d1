#include "files/name_cache.h"

#include <cstdlib>

#include "memory/small_block_pool.h"
#include "threads/lock.h"

namespace orsin::name_cache {
namespace {

constexpr std::size_t kBlocksPerChunk = 8192;

struct Cache {
  Mutex mutex;
  SmallBlockPool blocks{kBlockBytes, kBlocksPerChunk, "NameCache"};
};

constinit Cache cache;

}  // namespace

void start() {
  cache.mutex.create();
}

char* take(unsigned int stored_length) {
  if (stored_length >= kBlockBytes) {
    return static_cast<char*>(std::malloc(stored_length + std::size_t{1}));
  }
  const ScopedLock guard(cache.mutex);
  return static_cast<char*>(cache.blocks.take());
}

void give_back(char* name, unsigned int stored_length) {
  if (stored_length >= kBlockBytes) {
    std::free(name);
    return;
  }
  const ScopedLock guard(cache.mutex);
  cache.blocks.give_back(name);
}

void flush() {
  cache.blocks.release_chunks();
  cache.mutex.destroy();
}

}  // namespace orsin::name_cache
