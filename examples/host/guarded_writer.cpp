#include "examples/host/guarded_writer.h"

#include <utility>

#include "examples/host/console.h"
#include "orsincore/files.h"

namespace host {
namespace {

constexpr int kBufferBytes = 16 * 1024 * 1024;

}  // namespace

GuardedWriter::GuardedWriter(std::string destination)
    : fWriteBuffer(io_invalid_handle(), true),
      destination_(std::move(destination)),
      partial_(destination_ + ".partial") {
  set_buffer(kBufferBytes, true);
}

GuardedWriter::~GuardedWriter() {
  close_file(true);
  if (file_exists(partial_.c_str()) != 0) {
    file_delete(partial_.c_str());
  }
}

std::uint64_t GuardedWriter::write_file(const void* data, std::uint64_t size, std::uint64_t count) {
  return cancel_requested() ? 0 : fWriteBuffer::write_file(data, size, count);
}

bool GuardedWriter::commit() {
  const std::string replaced = destination_ + ".replaced";
  const bool replaces = file_exists(destination_.c_str()) != 0;
  if (replaces && file_move(destination_.c_str(), replaced.c_str(), false) != 0) {
    return false;
  }
  if (file_move(partial_.c_str(), destination_.c_str(), false) != 0) {
    if (replaces) {
      file_move(replaced.c_str(), destination_.c_str(), false);
    }
    return false;
  }
  return !replaces || file_delete(replaced.c_str()) == 0;
}

}  // namespace host
