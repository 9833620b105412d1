// Reads of one file that were started and are collected in their order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>

namespace host::ingest {

inline constexpr std::size_t kAlignment = 8192;  // Of transfers past the cache, in bytes.

/// The next multiple of the alignment.
[[nodiscard]] constexpr std::size_t aligned(std::size_t bytes) {
  return (bytes + kAlignment - 1) / kAlignment * kAlignment;
}

/// When it goes, no read is left that could still write into somebody's memory.
class ReadsInFlight {
 public:
  explicit ReadsInFlight(void* file) : file_(file) {}
  ~ReadsInFlight();
  ReadsInFlight(const ReadsInFlight&) = delete;
  ReadsInFlight& operator=(const ReadsInFlight&) = delete;

  [[nodiscard]] bool empty() const { return reads_.empty(); }
  [[nodiscard]] std::size_t size() const { return reads_.size(); }

  /// @param block  Has room for the aligned size.
  [[nodiscard]] bool start(unsigned char* block, std::uint64_t offset, std::size_t bytes);

  /// Waits for the oldest. Its bytes, with zeros behind them up to the alignment; 0 when it failed.
  std::size_t take();

 private:
  struct Read {
    int ticket;
    unsigned char* block;
    std::size_t bytes;
  };
  void* file_;
  std::deque<Read> reads_;
};

}  // namespace host::ingest
