// A movable-block heap reduced to a list of numbers: what the real one must do, done naively.
//
// Offsets count from the beginning of the region; owners are small numbers. Only data addresses are
// real ones: a block whose free is pending keeps its address when the heap moves, and may by chance
// lie there again later. Nothing is shared with the library but the meaning of the operations.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace orsin::test {

class HeapModel {
 public:
  static constexpr int kNobody = -1;
  static constexpr std::int64_t kNull = -1;

  struct Block {
    std::uint64_t size = 0;
    bool is_used = false;
    int owner = kNobody;
    std::uint64_t data = 0;  // Its address; 0 for none.
    std::uint32_t locks = 0;
    std::uint32_t ex_locks = 0;
    std::uint64_t last_use = 0;
    bool has_callback = false;
    bool is_pending = false;

    [[nodiscard]] bool is_pinned() const { return locks > 0 || ex_locks > 0; }
  };

  HeapModel(std::uint64_t region, std::uint64_t size, std::uint64_t alignment, int mode,
            int owners);

  // Each returns what the heap's function returns; addresses are offsets.
  int allocate(int owner, std::uint64_t size);
  int lock(int owner);
  int keep(int owner);
  int unlock(int owner);
  int free(int owner);
  std::int64_t lock_ex(std::uint64_t offset);
  int unlock_ex(std::uint64_t data_offset);
  void set_callback(std::uint64_t data_offset);
  void clear_all();
  void validate();
  [[nodiscard]] bool can_grow_to(std::uint64_t size) const;
  void resize(std::uint64_t region, std::uint64_t size);

  [[nodiscard]] std::uint64_t free_bytes() const;
  [[nodiscard]] std::uint64_t freeable_bytes() const;
  [[nodiscard]] std::uint64_t total_size() const { return total_size_; }
  [[nodiscard]] std::uint64_t header_size() const { return header_size_; }
  [[nodiscard]] std::uint64_t end_offset() const;
  [[nodiscard]] const std::vector<Block>& blocks() const { return blocks_; }
  [[nodiscard]] std::int64_t pointer(int owner) const {
    return pointers_[static_cast<std::size_t>(owner)];
  }

  /// Data offsets of the blocks whose callbacks ran, oldest first.
  std::vector<std::uint64_t> callbacks;

 private:
  using Index = std::size_t;

  [[nodiscard]] std::uint64_t offset_of(Index index) const;
  [[nodiscard]] std::optional<Index> with_data_at(std::uint64_t data_offset) const;
  [[nodiscard]] std::optional<Index> of_owner(int owner) const;
  void absorb_following(Index index);
  std::optional<Index> search(std::uint64_t needed, bool may_compact);
  std::optional<std::optional<Index>> compact(Index start, std::uint64_t needed, Index& victim);
  void throw_away(Index index);
  void release(Index index);

  std::uint64_t region_;
  std::uint64_t alignment_;
  std::uint64_t header_size_;
  std::uint64_t total_size_;
  int mode_;
  std::uint64_t clock_ = 0;
  std::vector<Block> blocks_;
  std::vector<std::int64_t> pointers_;  // Of each owner.
};

}  // namespace orsin::test
