// A writer whose disk fills up, whose drive vanishes, or that cannot be opened.
#pragma once

#include <cstdint>
#include <limits>

#include "orsincore/io.h"

namespace orsin::test {

class FailingWriter : public fWriteBuffer {
 public:
  FailingWriter() : fWriteBuffer(io_invalid_handle(), true) {}

  /// Takes so many bytes; the write that would pass them takes what fits.
  void fill_disk_after(std::uint64_t bytes) { room_ = bytes; }

  /// Takes everything, but reports an error once so many bytes were passed.
  void vanish_after(std::uint64_t bytes) { error_after_ = bytes; }

  /// Reports an error only once it was closed.
  void fail_at_close() { fails_at_close_ = true; }

  void refuse_to_open() { refuses_to_open_ = true; }

  [[nodiscard]] std::uint64_t bytes_taken() const { return taken_; }
  [[nodiscard]] int closings() const { return closings_; }
  [[nodiscard]] bool was_forced() const { return was_forced_; }  // By each of them.

  bool open_file(const char* name, long long initial_size, bool unbuffered) override {
    return !refuses_to_open_ && fWriteBuffer::open_file(name, initial_size, unbuffered);
  }

  unsigned long long write_file(const void* data, unsigned long long size,
                                unsigned long long count) override {
    const unsigned long long bytes = size * count;
    const unsigned long long fitting = bytes < room_ - taken_ ? bytes : room_ - taken_;
    taken_ += fitting;
    return fWriteBuffer::write_file(data, 1, fitting);
  }

  int close_file(bool force) override {
    ++closings_;
    was_forced_ = was_forced_ && force;
    return fWriteBuffer::close_file(force);
  }

  int error() override {
    const bool fails = taken_ > error_after_ || (fails_at_close_ && closings_ > 0);
    return fails ? 1 : fWriteBuffer::error();
  }

 private:
  static constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();

  std::uint64_t room_ = kNever;
  std::uint64_t error_after_ = kNever;
  std::uint64_t taken_ = 0;
  int closings_ = 0;
  bool was_forced_ = true;
  bool fails_at_close_ = false;
  bool refuses_to_open_ = false;
};

}  // namespace orsin::test
