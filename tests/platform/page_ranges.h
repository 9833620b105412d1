// Ranges of pages as documented Windows keeps them, over mmap(): every stand-in for it has its pages from
// here. What the system refuses is an error; where the library has no use for an answer, the caller's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>

namespace orsin::platform {

/// One process's. Not safe for several threads at once.
class PageRanges {
 public:
  /// Each returns the system's error, 0 for none.
  std::uint32_t take_committed(std::uint64_t size, void*& pages);
  std::uint32_t take_reserved(std::uint64_t size, void*& pages);

  /// Of a whole range, by its beginning. Pages that are pinned are so no longer.
  std::uint32_t release(void* pages);

  /// Of pages that lie in one range.
  std::uint32_t commit(void* pages, std::uint64_t size);
  std::uint32_t decommit(void* pages, std::uint64_t size);

  /// Of any memory of the process; unpinned as it was pinned.
  std::uint32_t pin(void* pages, std::uint64_t size);
  std::uint32_t unpin(void* pages, std::uint64_t size);

  [[nodiscard]] std::size_t count() const { return ranges_.size(); }

  /// Sizes of what is pinned, by address.
  [[nodiscard]] const std::map<std::uint64_t, std::uint64_t>& pinned() const { return pinned_; }

 private:
  std::uint32_t take(std::uint64_t size, int protection, void*& pages);
  [[nodiscard]] bool lie_in_one(void* pages, std::uint64_t size) const;

  std::map<std::uint64_t, std::uint64_t> ranges_;  // Sizes by address.
  std::map<std::uint64_t, std::uint64_t> pinned_;
};

}  // namespace orsin::platform
