// A pool of blocks of one size: a list to pop from and to push on.
//
//   element:  | next, 8 bytes | element_bytes for the caller ... |   stride = element_bytes + 8
//
// Elements come from chunks of many, in address order; the one that was freed last is handed out
// first. A chunk goes back to the process heap only at closedown.
//
// Promises: a free element is on the list or still in the unthreaded rest of the newest chunk;
// `next` means something only while the element is free. No lock: one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/compiler.h"
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

  /// Gives every chunk back to the process heap; the blocks in use go with them.
  void release_chunks();

 private:
  struct Element {
    Element* next;
  };
  [[nodiscard]] ORSIN_NOINLINE void* take_fresh();
  [[nodiscard]] bool add_chunk();

  Element* free_ = nullptr;
  std::byte* fresh_ = nullptr;
  std::byte* fresh_end_ = nullptr;
  std::size_t stride_;
  std::size_t chunk_elements_;
  const char* name_;
  ov_vector<void*>* chunks_ = nullptr;  // Made with the first chunk.
};

}  // namespace orsin
