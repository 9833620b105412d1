// The memory that an answer is read into, chunk after chunk.
//
// An answer may be small or endless, and its length is not known: so it grows inside a reserved
// stretch of the address space. Nothing is copied while it grows, and no more is committed than was
// read, rounded up. Only an answer that outgrows its reservation moves, piece by piece, to one that
// is many times larger.
//
// What remains is what the system takes to clear fresh pages, once per page of a first body; it is
// the same in small and large steps, one page at a time or in advance. Later bodies find the pages
// of the earlier ones.
//
//   region:  | Header | text ... NUL | room ... |             reserved             |
//                                               ^ committed_bytes                  ^ reserved_bytes
//
// Invariant: behind the text there is room for one chunk and its NUL. The text stands for the whole
// region: release() gives it away, a later body takes it over with its pages, free() ends it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin {

class ResponseBody {
 public:
  static constexpr std::uint32_t kChunkBytes = 8192;
  static constexpr std::uint64_t kReservedBytes = std::uint64_t{1} << 30;  // Most answers fit.

  /// An empty body in the region of an earlier text, which ends with this; or, when there is none,
  /// in a new one.
  explicit ResponseBody(char* earlier, std::uint64_t reserved_bytes = kReservedBytes);
  ~ResponseBody();
  ResponseBody(const ResponseBody&) = delete;
  ResponseBody& operator=(const ResponseBody&) = delete;

  /// False when memory is short; nothing else may be called then.
  [[nodiscard]] bool is_valid() const { return text_ != nullptr; }

  /// Where the next chunk goes: kChunkBytes of room.
  [[nodiscard]] char* room() { return text_ + size_; }

  /// Takes over `bytes` that were written into the room, and makes room for the next chunk. False
  /// when memory is short; the body is no longer valid then.
  [[nodiscard]] bool add(std::uint32_t bytes);

  [[nodiscard]] std::uint64_t size() const { return size_; }

  /// Hands the text over, after giving back what an earlier text had committed beyond it.
  [[nodiscard]] char* release();

  /// Gives a released text back to the system. Null does nothing.
  static void free(char* text);

 private:
  void reserve(std::uint64_t reserved_bytes);
  [[nodiscard]] bool make_room();
  [[nodiscard]] bool move(std::uint64_t reserved_bytes);

  char* text_;  // Null: not valid.
  std::uint64_t size_ = 0;
};

}  // namespace orsin
