// The buffered writer without a file: it collects in the caller's memory, or in a block of its own
// that grows. Nothing of it is ever used for transfers.
#include <algorithm>
#include <cstring>

#include "files/growing_block.h"
#include "files/write_steps.h"
#include "orsincore/io.h"

namespace orsin {

bool WriteSteps::collects_in_memory(const fWriteBuffer& writer) {
  return writer.file_ == io_invalid_handle();
}

// Moves what lies up to the cursor into a larger block of the library's own.
bool WriteSteps::grow_memory(fWriteBuffer& writer, unsigned long long size) {
  if (size > kBufferBytesMax) {
    return false;
  }
  const bool first = writer.memory_block_ == nullptr;
  unsigned char* grown =
      grown_block(writer.memory_block_, static_cast<unsigned long long>(writer.buffer_size_), size);
  if (grown == nullptr) {
    return false;
  }
  const unsigned long long held = std::max(writer.used_, writer.offset_);
  if (first && held > 0) {
    std::memcpy(grown, writer.current_, held);
  }
  const auto old_size = first ? held : static_cast<unsigned long long>(writer.buffer_size_);
  if (writer.expects_gaps_) {
    std::memset(grown + old_size, 0, size - old_size);
  }
  writer.memory_block_ = writer.current_ = grown;
  writer.spare_ = nullptr;
  writer.buffer_size_ = static_cast<int>(size);
  writer.cursor_ = writer.current_ + writer.offset_;
  return true;
}

}  // namespace orsin

using namespace orsin;

void fWriteBuffer::set_memory_buffer(void* memory, int size) {
  flush_buffers();
  reset_buffers();
  current_ = static_cast<unsigned char*>(memory);
  buffer_size_ = memory != nullptr ? std::max(size, 0) : 0;
  WriteSteps::empty_buffer(*this);
}
