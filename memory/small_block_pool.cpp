#include "memory/small_block_pool.h"

#include <cstdlib>
#include <new>

#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr std::size_t kChunkBytesMin = 32769;  // A smaller chunk is not worth a try.

}  // namespace

void* SmallBlockPool::take_fresh() {
  if (fresh_ == fresh_end_ && !add_chunk()) {
    return nullptr;
  }
  auto* element = reinterpret_cast<Element*>(fresh_);
  fresh_ += stride_;
  return element + 1;
}

// The elements of a chunk are taken in address order, as if all of them had been threaded into the
// list; leaving that undone keeps untouched pages untouched.
bool SmallBlockPool::add_chunk() {
  std::size_t count = chunk_elements_;
  void* chunk = std::calloc(count, stride_);
  while (chunk == nullptr) {
    count /= 2;
    if (count * stride_ < kChunkBytesMin) {
      msgcont("Failed to extend the '%s' memory pool!", name_);
      return false;
    }
    chunk = std::calloc(count, stride_);
  }
  if (chunks_ == nullptr) {
    chunks_ = new (std::nothrow) ov_vector<void*>;
  }
  // A chunk that cannot be recorded still serves; it only stays behind at closedown. The failed
  // growth has written its own line.
  if (chunks_ != nullptr) {
    static_cast<void>(chunks_->append(chunk));
  }
  fresh_ = static_cast<std::byte*>(chunk);
  fresh_end_ = fresh_ + count * stride_;
  return true;
}

void SmallBlockPool::release_chunks() {
  if (chunks_ != nullptr) {
    for (void* chunk : *chunks_) {
      std::free(chunk);
    }
    delete chunks_;
    chunks_ = nullptr;
  }
  free_ = nullptr;
  fresh_ = nullptr;
  fresh_end_ = nullptr;
}

}  // namespace orsin
