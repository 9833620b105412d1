// The memory that an answer is read into, chunk after chunk.
//
// Invariant: text() has size() bytes of the answer, a NUL, and room for a chunk before another NUL.
// The memory comes from malloc(): whoever takes it with release() gives it to free().
//
// Growing by one chunk at a time would copy the answer once a chunk; the capacity grows by half of
// what was read instead, so a byte is copied at most three times on average.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin {

class ResponseBody {
 public:
  static constexpr std::uint32_t kChunkBytes = 8192;

  ResponseBody();
  ~ResponseBody();
  ResponseBody(const ResponseBody&) = delete;
  ResponseBody& operator=(const ResponseBody&) = delete;

  /// False when memory is short; nothing else may be called then.
  [[nodiscard]] bool is_valid() const { return text_ != nullptr; }

  /// Where the next chunk goes: kChunkBytes of room.
  [[nodiscard]] char* room() { return text_ + size_; }

  /// Takes over `bytes` that were written into the room, and makes room for the next chunk. False
  /// when memory is short; what was read so far is lost then.
  [[nodiscard]] bool add(std::uint32_t bytes);

  [[nodiscard]] std::size_t size() const { return size_; }

  /// Hands the text over, with no more memory behind it than one chunk and the NUL.
  [[nodiscard]] char* release();

 private:
  [[nodiscard]] bool resize(std::size_t capacity);

  char* text_;
  std::size_t size_ = 0;
  std::size_t capacity_;
};

}  // namespace orsin
