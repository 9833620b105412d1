// The writer's interface over a block of memory.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "files/byte_count.h"
#include "files/growing_block.h"
#include "orsincore/io.h"

namespace orsin {

struct MemorySteps {
  static bool grow(fMemBuffer& buffer, unsigned long long size) {
    const auto position = static_cast<unsigned long long>(buffer.target_cursor_ - buffer.target_);
    unsigned char* grown = grown_block(buffer.target_, buffer.target_size_, size);
    if (grown == nullptr) {
      return false;
    }
    buffer.target_ = grown;
    buffer.target_cursor_ = grown + position;
    buffer.target_size_ = size;
    return true;
  }
};

}  // namespace orsin

using namespace orsin;

fMemBuffer::fMemBuffer()
    : fWriteBuffer(io_invalid_handle(), false),
      target_(nullptr),
      target_size_(0),
      target_used_(0),
      target_cursor_(nullptr),
      growable_(true) {}

fMemBuffer::~fMemBuffer() {
  fMemBuffer::reset_buffers();
}

bool fMemBuffer::set_buffer(int size, bool /*double_buffer*/) {
  reset_buffers();
  return ensure_minimum_buffer_size(size);
}

unsigned char* fMemBuffer::get_current_buffer() {
  return target_;
}

bool fMemBuffer::ensure_minimum_buffer_size(int size) {
  const auto wanted = static_cast<unsigned long long>(std::max(size, 0));
  return wanted <= target_size_ || (growable_ && MemorySteps::grow(*this, wanted));
}

void fMemBuffer::flush_buffers() {}

void fMemBuffer::reset_buffers() {
  if (growable_) {
    std::free(target_);
  }
  target_ = target_cursor_ = nullptr;
  target_size_ = target_used_ = 0;
  growable_ = true;
}

void fMemBuffer::set_memory_buffer(void* memory, int size) {
  reset_buffers();
  target_ = target_cursor_ = static_cast<unsigned char*>(memory);
  target_size_ = memory != nullptr ? static_cast<unsigned long long>(std::max(size, 0)) : 0;
  growable_ = false;
}

unsigned long long fMemBuffer::get_buffer_used() {
  return target_used_;
}

bool fMemBuffer::data_pending() {
  return false;
}

bool fMemBuffer::open_file(const char* /*name*/, long long /*initial_size*/, bool /*unbuffered*/) {
  return true;
}

int fMemBuffer::close_file(bool /*force*/) {
  return 1;
}

unsigned long long fMemBuffer::write_file(const void* data, unsigned long long size,
                                          unsigned long long count) {
  const auto* from = static_cast<const unsigned char*>(data);
  unsigned long long left = data != nullptr ? byte_count(size, count, 0) : 0;
  unsigned long long taken = 0;
  while (left > 0) {
    const auto position = static_cast<unsigned long long>(target_cursor_ - target_);
    const unsigned long long bytes = std::min(left, target_size_ - position);
    if (bytes == 0) {
      if (!growable_ || !MemorySteps::grow(*this, target_size_ + kGrowthBytes)) {
        break;
      }
      continue;
    }
    std::memcpy(target_cursor_, from + taken, bytes);
    target_cursor_ += bytes;
    taken += bytes;
    left -= bytes;
    target_used_ = std::max(target_used_, position + bytes);
  }
  return taken;
}

unsigned long long fMemBuffer::add_write_buffer(const void* /*buffer*/,
                                                unsigned long long /*size*/) {
  return 0;
}

unsigned long long fMemBuffer::get_file_position() {
  return static_cast<unsigned long long>(target_cursor_ - target_);
}

bool fMemBuffer::set_file_position(unsigned long long position) {
  if (position > target_used_) {
    return false;
  }
  target_cursor_ = target_ + position;
  return true;
}
