// The memory of a transfer that runs is nobody's: that of a read must not be looked at, that of a write must
// not change. Every stand-in for the system shows whoever does.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace orsin::platform {

class TransferMemory {
 public:
  TransferMemory() = default;

  /// When the transfer starts: what a read will fill holds nothing of use from now on.
  TransferMemory(bool is_read, void* memory, std::uint32_t bytes)
      : memory_(static_cast<unsigned char*>(memory)), bytes_(bytes) {
    if (is_read) {
      for_some([](unsigned char& byte) { byte = static_cast<unsigned char>(~byte); });
    } else {
      written_ = sample();
    }
  }

  /// When it ends: whether what was to be written still stands there. Always of a read.
  [[nodiscard]] bool is_as_it_was() const { return written_.empty() || written_ == sample(); }

 private:
  // From here and there, so that it costs nothing.
  template <typename Use>
  void for_some(const Use& use) const {
    constexpr std::uint32_t kLooks = 64;
    const std::uint32_t step = std::max(bytes_ / kLooks, 1U);
    for (std::uint32_t i = 0; i < bytes_; i += step) {
      use(memory_[i]);
    }
  }

  [[nodiscard]] std::vector<unsigned char> sample() const {
    std::vector<unsigned char> bytes;
    for_some([&](const unsigned char& byte) { bytes.push_back(byte); });
    return bytes;
  }

  unsigned char* memory_ = nullptr;
  std::uint32_t bytes_ = 0;
  std::vector<unsigned char> written_;
};

}  // namespace orsin::platform
