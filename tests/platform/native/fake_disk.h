// A disk that fills up or becomes unreadable, in builds without Windows.
#pragma once

#include <cstdint>
#include <limits>

namespace orsin::test {

/// Counts down what transfers may still move, over all files; a transfer that does not fit moves
/// nothing and fails with the error.
struct FakeDisk {
  static constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

  std::uint64_t writable_bytes = kNoLimit;
  std::uint64_t readable_bytes = kNoLimit;
  std::uint32_t write_error = 112;  // Disk full.
  std::uint32_t read_error = 23;    // Checksum error.
};

FakeDisk& fake_disk();

/// An ordinary disk again when the test ends.
class FakeDiskScope {
 public:
  FakeDiskScope() { fake_disk() = {}; }
  ~FakeDiskScope() { fake_disk() = {}; }
  FakeDiskScope(const FakeDiskScope&) = delete;
  FakeDiskScope& operator=(const FakeDiskScope&) = delete;
};

}  // namespace orsin::test
