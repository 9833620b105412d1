// Where the names of all directory lists live; see name_cache.h.
#include "files/name_cache.h"

#include <cstdlib>

#include "base/compiler.h"
#include "base/library_locks.h"
#include "memory/small_block_pool.h"

namespace orsin {
namespace {

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kBlocksPerChunk = 8192;

struct NameCache {
  LibraryMutex mutex{LockRank::kDirectoryNames};
  SmallBlockPool pool ORSIN_GUARDED_BY(mutex){kBlockBytes, kBlocksPerChunk, "directory names"};
};

constinit NameCache cache;

bool is_short(std::uint32_t stored_length) {
  return stored_length < kBlockBytes;
}

}  // namespace

void start_name_cache() {
  cache.mutex.create();
}

char* take_name(std::uint32_t stored_length) {
  if (!is_short(stored_length)) {
    return static_cast<char*>(std::malloc(std::size_t{stored_length} + 1));
  }
  const ScopedLock guard(cache.mutex);
  return static_cast<char*>(cache.pool.take());
}

NameReturn::NameReturn() ORSIN_NO_THREAD_SAFETY_ANALYSIS {
  cache.mutex.lock();
}

NameReturn::~NameReturn() ORSIN_NO_THREAD_SAFETY_ANALYSIS {
  cache.mutex.unlock();
}

void NameReturn::give_back(char* name,
                           std::uint32_t stored_length) ORSIN_NO_THREAD_SAFETY_ANALYSIS {
  if (is_short(stored_length)) {
    cache.pool.give_back(name);
  } else {
    std::free(name);
  }
}

void flush_name_cache() {
  const ScopedLock guard(cache.mutex);
  cache.pool.release_chunks();
}

}  // namespace orsin
