// Compares a copy that is read back with what its source hashed to, on several processors at once.
#pragma once

#include <cstdint>

#include "files/hash_marks.h"
#include "files/source_blocks.h"

namespace orsin {

class CopyCheck {
 public:
  /// @param marks  Complete; must stay.
  explicit CopyCheck(const HashMarks& marks);

  /// Makes its parts workers on the blocks of the copy.
  void add_to(SourceBlocks& blocks);

  /// Whether the blocks, all finished, were the source's from its first byte to its last. A copy that
  /// changes while it is read is not.
  [[nodiscard]] bool is_same() const;

 private:
  static constexpr std::uint64_t kParts = 3;

  // Hashes every third block.
  class Part final : public BlockWorker {
   public:
    void begin(const HashMarks& marks, std::uint64_t turn);
    void work(const SourceRun& run) override;

    [[nodiscard]] bool has_failed() const { return has_failed_; }
    [[nodiscard]] std::uint64_t bytes() const { return bytes_; }

   private:
    const HashMarks* marks_ = nullptr;
    std::uint64_t turn_ = 0;
    std::uint64_t bytes_ = 0;  // Of the copy, found to be the source's.
    bool has_failed_ = false;
  };

  const HashMarks& marks_;
  Part parts_[kParts];
};

}  // namespace orsin
