// Chunks of equal elements on the process heap; see the header for the layout.
#include "memory/small_block_pool.h"

#include <algorithm>
#include <new>

#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr std::size_t kChunkBytesMin = 32769;  // Below it, memory is too short to go on trying.
constexpr std::size_t kThreadedBytes = 16384;  // A few pages: rare enough, and soon used.

}  // namespace

void* SmallBlockPool::take_fresh() {
  if (fresh_ == fresh_end_ && !obtain_chunk()) {
    msgcont("Failed to extend the '%s' memory pool!", name_);
    return nullptr;
  }
  thread_some();
  Element* element = free_;
  free_ = element->next;
  return element + 1;
}

// Asks for the usual count first, then for half as many, and so on.
bool SmallBlockPool::obtain_chunk() {
  std::size_t count = chunk_elements_;
  void* chunk = std::calloc(count, stride_);
  while (chunk == nullptr && count / 2 * stride_ >= kChunkBytesMin) {
    count /= 2;
    chunk = std::calloc(count, stride_);
  }
  if (chunk == nullptr) {
    return false;
  }
  remember_chunk(chunk);
  fresh_ = static_cast<std::byte*>(chunk);
  fresh_end_ = fresh_ + count * stride_;
  return true;
}

// A chunk that cannot be remembered serves its caller all the same; only closedown misses it.
void SmallBlockPool::remember_chunk(void* chunk) {
  if (chunks_ == nullptr) {
    chunks_ = new (std::nothrow) ov_vector<void*>;
  }
  if (chunks_ != nullptr) {
    static_cast<void>(chunks_->append(chunk));  // A failure has its own line.
  }
}

// The list is empty here, so the fresh elements follow each other in address order.
void SmallBlockPool::thread_some() {
  const auto left = static_cast<std::size_t>(fresh_end_ - fresh_) / stride_;
  const std::size_t count = std::clamp<std::size_t>(kThreadedBytes / stride_, 1, left);
  std::byte* end = fresh_ + count * stride_;
  Element** link = &free_;
  for (; fresh_ != end; fresh_ += stride_) {
    auto* element = ::new (static_cast<void*>(fresh_)) Element{nullptr};
    *link = element;
    link = &element->next;
  }
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
