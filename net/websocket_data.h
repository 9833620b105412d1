// A message in a locked buffer of the Frame heap.
//
// The buffer has its whole capacity from the start and belongs to this object: the heap keeps the
// address of `buffer_` as the owner's handle, so the object must not move in memory.
#pragma once

#include <cstdint>

#include "orsincore/network.h"

namespace orsin {

class WebSocketData final : public OvWebSocketData {
 public:
  /// A failed allocation leaves a capacity of 0.
  explicit WebSocketData(std::size_t capacity);
  ~WebSocketData() override;
  WebSocketData(const WebSocketData&) = delete;
  WebSocketData& operator=(const WebSocketData&) = delete;

  [[nodiscard]] unsigned int GetType() const override { return type_; }
  [[nodiscard]] const void* GetData() const override { return buffer_; }
  [[nodiscard]] const char* GetText() const override { return static_cast<const char*>(buffer_); }
  [[nodiscard]] std::size_t GetSize() const override { return size_; }

  [[nodiscard]] void* buffer() { return buffer_; }
  [[nodiscard]] std::size_t capacity() const { return capacity_; }

  /// The buffer holds a whole binary message of `size` bytes.
  void complete_binary(std::size_t size);

 private:
  friend struct WebSocketDataLayout;  // The tests' look at the order of the fields.

  std::uint32_t type_ = 0;
  void* buffer_ = nullptr;
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};

}  // namespace orsin
