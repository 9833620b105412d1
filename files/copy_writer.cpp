// The writer that a copy makes for itself; see copy_writer.h.
#include "files/copy_writer.h"

#include <algorithm>

#include "base/rounding.h"
#include "files/transfer_slots.h"
#include "files/volumes.h"
#include "files/write_steps.h"

namespace orsin {

CopyWriter::CopyWriter() : fWriteBuffer(io_invalid_handle(), false) {}

CopyWriter::~CopyWriter() {
  close_file(true);
}

bool CopyWriter::open_file(const char* name, long long initial_size, bool unbuffered) {
  close_file(true);
  has_failed_ = false;
  const auto sector = static_cast<unsigned long long>(drive_sector_size(name));
  const bool is_aligned = kCopyBlockBytes % sector == 0;
  return WriteSteps::open(*this, name, initial_size, unbuffered && is_aligned);
}

int CopyWriter::close_file(bool force) {
  errors_ += has_failed_.exchange(false) ? 1 : 0;
  const WriteSteps::Closed closed = WriteSteps::close(*this, force);
  errors_ += closed.keeps_more ? 1 : 0;  // What a longer file had there would pass for data.
  return closed.result;
}

int CopyWriter::error() {
  return errors_ + (has_failed_ ? 1 : 0);
}

void CopyWriter::work(const SourceRun& run) {
  if (has_failed_) {
    return;
  }
  // The last block's slot holds the whole unit; closing cuts off what is too much.
  const unsigned long long bytes = is_unbuffered_ ? rounded_up(run.length, alignment_) : run.length;
  if (!write_whole(file_, run.data, run.position, bytes)) {
    has_failed_ = true;
    return;
  }
  ++writes_;
  data_end_ = std::max<unsigned long long>(data_end_, run.position + run.length);
}

void CopyWriter::abandon() {
  if (file_ != io_invalid_handle()) {
    io_close64(file_);
  }
  file_ = io_invalid_handle();
  opened_ = false;
}

}  // namespace orsin
