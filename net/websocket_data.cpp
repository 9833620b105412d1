// Takes, fills and gives back the heap buffer of a message; see the header.
#include "net/websocket_data.h"

#include "orsincore/memory.h"

namespace orsin {

WebSocketData::WebSocketData(std::size_t capacity) {
  if (mem_alloc_locked_buffer(&buffer_, capacity, MEM_HEAP_FRAME) != nullptr) {
    capacity_ = capacity;
  }
}

WebSocketData::~WebSocketData() {
  if (buffer_ != nullptr) {
    mem_free_locked_buffer(&buffer_);
  }
}

void WebSocketData::complete_binary(std::size_t size) {
  constexpr std::uint32_t kBinary = 1;
  type_ = kBinary;
  size_ = size;
}

}  // namespace orsin
