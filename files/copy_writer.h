// The writer that a copy makes for itself: full buffers are written by a thread of its own.
//
// A write that makes a file longer runs inside the call that starts it, asynchronous or not: so the
// documentation of Windows says of its file systems, and a copy's writes all do that. Issued from
// the copying thread they would hold up the reading, and with several destinations each other.
//
// A write that fails is therefore counted when the next buffer is full or the file is closed, not when
// it is started.
#pragma once

#include <cstdint>

#include "orsincore/io.h"
#include "threads/job_line.h"

namespace orsin {

class CopyWriter final : public fWriteBuffer {
 public:
  CopyWriter();
  ~CopyWriter() override;

  unsigned long long write_file(const void* data, unsigned long long size,
                                unsigned long long count) override;
  void flush_buffers() override;

  /// Closes the file as it is: nothing more is written, nothing cut.
  void abandon();

  /// Closes the file and ends the thread; the buffers stay.
  void rest();

 private:
  // One full buffer on its way. The line's thread has it while a job is not done.
  struct Write {
    void* file;
    const unsigned char* data;
    std::uint64_t position;
    std::uint64_t bytes;
    bool has_failed;
  };

  static bool make_room(fWriteBuffer& writer);
  static void write_buffer(void* writer, std::uint64_t number);
  [[nodiscard]] bool has_line();
  void hand_over_buffer();
  void finish_write();

  Write write_ = {};
  JobLine line_;
  bool may_start_line_ = true;
};

}  // namespace orsin
