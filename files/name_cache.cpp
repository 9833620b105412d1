// Where the names of all directory lists live; see name_cache.h.
#include "files/name_cache.h"

#include <atomic>
#include <cstdlib>

#include "base/compiler.h"
#include "base/lock.h"
#include "memory/small_block_pool.h"

namespace orsin {
namespace {

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kBlocksPerChunk = 8192;

struct NameCache {
  std::atomic<bool> is_started = false;
  std::atomic_flag is_starting = ATOMIC_FLAG_INIT;
  Mutex mutex;
  SmallBlockPool pool ORSIN_GUARDED_BY(mutex){kBlockBytes, kBlocksPerChunk, "directory names"};
};

constinit NameCache cache;

bool is_short(std::uint32_t stored_length) {
  return stored_length < kBlockBytes;
}

}  // namespace

void start_name_cache() {
  if (cache.is_started.load(std::memory_order_acquire)) {
    return;
  }
  // Two first listings at once: one makes the mutex, the other waits those few microseconds.
  while (cache.is_starting.test_and_set(std::memory_order_acquire)) {
    mp_yield();
  }
  cache.is_started.store(cache.mutex.create(), std::memory_order_release);
  cache.is_starting.clear(std::memory_order_release);
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
  {
    const ScopedLock guard(cache.mutex);
    cache.pool.release_chunks();
  }
  cache.mutex.destroy();
  cache.is_started.store(false, std::memory_order_release);
}

}  // namespace orsin
