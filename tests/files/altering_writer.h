// A writer after which something happens to its file.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

#include "orsincore/io.h"

namespace orsin::test {

class AlteringWriter final : public fWriteBuffer {
 public:
  /// @param alter  Called when the file has been closed.
  explicit AlteringWriter(std::function<void()> alter)
      : fWriteBuffer(io_invalid_handle(), true), alter_(std::move(alter)) {}

  int close_file(bool force) override {
    const int result = fWriteBuffer::close_file(force);
    alter_();
    return result;
  }

 private:
  std::function<void()> alter_;
};

inline void flip_bit(const std::string& path, std::uint64_t at) {
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  file.seekg(static_cast<std::streamoff>(at));
  const int byte = file.get();
  file.seekp(static_cast<std::streamoff>(at));
  file.put(static_cast<char>(byte ^ 0x10));
  ASSERT_TRUE(file.good());
}

}  // namespace orsin::test
