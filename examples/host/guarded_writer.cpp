#include "examples/host/guarded_writer.h"

#include <utility>

#include "examples/host/console.h"

namespace host {
namespace {

constexpr int kBufferBytes = 16 * 1024 * 1024;

}  // namespace

GuardedWriter::GuardedWriter(std::string destination)
    : fWriteBuffer(io_invalid_handle(), true), file_(std::move(destination)) {
  set_buffer(kBufferBytes, true);
}

GuardedWriter::~GuardedWriter() {
  close_file(true);  // Or the unfinished file could not be removed.
}

std::uint64_t GuardedWriter::write_file(const void* data, std::uint64_t size, std::uint64_t count) {
  return cancel_requested() ? 0 : fWriteBuffer::write_file(data, size, count);
}

}  // namespace host
