#include "orsincore/memory.h"

#include <cstring>

//! [example]
struct Frame {
  void* pixels = nullptr;  // The heap writes it: this variable's address is the handle.
};

bool make_black(Frame& frame, std::uint64_t size) {
  if (mem_alloc_locked_buffer(&frame.pixels, size, MEM_HEAP_FRAME) == nullptr) {
    return false;
  }
  std::memset(frame.pixels, 0, size);  // It stays where it is while it is locked.
  mem_unlock_buffer(&frame.pixels);    // From here on it may be moved, or discarded.
  return true;
}

void drop(Frame& frame) {
  mem_free_buffer(&frame.pixels);
}
//! [example]
