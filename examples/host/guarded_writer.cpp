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

bool GuardedWriter::open_file(const char* name, long long initial_size, bool unbuffered) {
  is_refused_ = !fWriteBuffer::open_file(name, initial_size, unbuffered);
  return !is_refused_;
}

std::uint64_t GuardedWriter::write_file(const void* data, std::uint64_t size, std::uint64_t count) {
  if (cancel_requested()) {
    return 0;
  }
  const std::uint64_t taken = fWriteBuffer::write_file(data, size, count);
  is_short_ = is_short_ || taken != size * count;
  return taken;
}

std::string GuardedWriter::problem() {
  if (is_refused_) {
    return "cannot create " + partial();
  }
  if (is_short_ || error() > 0) {
    return "cannot write " + destination() + " (is the disk full?)";
  }
  return {};
}

}  // namespace host
