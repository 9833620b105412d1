// A pool of blocks of one size: a list to pop from and to push on.
//
//   element:  | next, 8 bytes | element_bytes for the caller ... |   stride = element_bytes + 8
//
// Elements come from chunks of many, in address order; the one that was freed last is handed out
// first. A chunk goes back to the process heap only at closedown.
//
// Promises: a free element is on the list or in the rest of the newest chunk, which is threaded
// into the list a few pages at a time: the order is the same as if the whole chunk had been, but
// memory that nobody asked for is never touched. `next` means something only while the element is
// free. No lock: one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/compiler.h"
#include "orsincore/base.h"

namespace orsin {

class SmallBlockPool {
 public:
  /// @param name  Stands in the log when the pool cannot grow; a literal.
  constexpr SmallBlockPool(std::size_t element_bytes, std::size_t chunk_elements, const char* name)
      : stride_(element_bytes + sizeof(Element)), chunk_elements_(chunk_elements), name_(name) {}

  /// A block, or null after one line when memory is short.
  [[nodiscard]] void* take() {
    Element* element = free_;
    if (element == nullptr) [[unlikely]] {
      return take_fresh();
    }
    free_ = element->next;
    return element + 1;
  }

  void give_back(void* block) {
    Element* element = static_cast<Element*>(block) - 1;
    element->next = free_;
    free_ = element;
  }

  /// Gives every chunk back to the process heap; blocks in use go with them.
  void release_chunks();

 private:
  struct Element {
    Element* next;
  };

  [[nodiscard]] ORSIN_NOINLINE void* take_fresh();
  [[nodiscard]] bool obtain_chunk();
  void remember_chunk(void* chunk);
  void thread_some();

  Element* free_ = nullptr;
  std::byte* fresh_ = nullptr;      // The part of the newest chunk that is not threaded yet,
  std::byte* fresh_end_ = nullptr;  // up to here.
  ov_vector<void*>* chunks_ =
      nullptr;  // Made with the first chunk: a static pool has no destructor.
  std::size_t stride_;
  std::size_t chunk_elements_;
  const char* name_;
};

}  // namespace orsin
