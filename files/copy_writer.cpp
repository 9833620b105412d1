// The writer that a copy makes for itself; see copy_writer.h.
#include "files/copy_writer.h"

#include <utility>

#include "files/byte_count.h"
#include "files/transfer_slots.h"
#include "files/write_steps.h"

namespace orsin {

CopyWriter::CopyWriter() : fWriteBuffer(io_invalid_handle(), true), line_(this, write_buffer, 1) {}

CopyWriter::~CopyWriter() {
  rest();
}

unsigned long long CopyWriter::write_file(const void* data, unsigned long long size,
                                          unsigned long long count) {
  return WriteSteps::write(*this, data, byte_count(size, count, 0), make_room);
}

void CopyWriter::flush_buffers() {
  finish_write();
  fWriteBuffer::flush_buffers();
}

void CopyWriter::abandon() {
  finish_write();
  if (file_ != io_invalid_handle()) {
    io_close64(file_);
  }
  file_ = io_invalid_handle();
  opened_ = false;
}

void CopyWriter::rest() {
  close_file(true);
  line_.stop();
  may_start_line_ = true;
}

bool CopyWriter::make_room(fWriteBuffer& writer) {
  auto& self = static_cast<CopyWriter&>(writer);
  if (self.spare_ == nullptr || !self.has_line()) {
    return WriteSteps::make_room(self);
  }
  self.hand_over_buffer();
  return true;
}

// Short files never come here and cost no thread. Where none can be had, writing goes on without.
bool CopyWriter::has_line() {
  if (!line_.is_running() && may_start_line_) {
    may_start_line_ = line_.start("Copy");
  }
  return line_.is_running();
}

void CopyWriter::hand_over_buffer() {
  finish_write();
  write_ = {file_, current_, buffer_file_position_, static_cast<std::uint64_t>(buffer_size_),
            false};
  line_.add();
  WriteSteps::begin_next_buffer(*this);
}

void CopyWriter::write_buffer(void* writer, std::uint64_t /*number*/) {
  Write& write = static_cast<CopyWriter*>(writer)->write_;
  write.has_failed = !write_whole(write.file, write.data, write.position, write.bytes);
}

void CopyWriter::finish_write() {
  line_.wait_until_done();
  if (std::exchange(write_.has_failed, false)) {
    ++errors_;
  }
}

}  // namespace orsin
