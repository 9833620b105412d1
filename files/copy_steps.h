// What the copy functions share: their own reader and writer, the destination's directory, times and
// attributes.
#pragma once

#include <memory>

#include "orsincore/io.h"

namespace orsin {

/// The caller's reader, or one of our own with eight buffers of 1 MiB.
class BorrowedReader {
 public:
  explicit BorrowedReader(fReadBuffer* callers);
  [[nodiscard]] fReadBuffer* get() const { return reader_; }
  fReadBuffer* operator->() const { return reader_; }

 private:
  std::unique_ptr<fReadBuffer> own_;
  fReadBuffer* reader_;
};

/// The caller's writer, or one of our own with two buffers of 16 MiB.
class BorrowedWriter {
 public:
  explicit BorrowedWriter(fWriteBuffer* callers);
  [[nodiscard]] fWriteBuffer* get() const { return writer_; }
  fWriteBuffer* operator->() const { return writer_; }

 private:
  std::unique_ptr<fWriteBuffer> own_;
  fWriteBuffer* writer_;
};

enum class DestinationDirectory { kReady, kNotAllowed, kNotMade };

/// Makes the directory of a destination unless it exists.
[[nodiscard]] DestinationDirectory prepare_destination(const char* destination);

/// Copies last-write time and attributes; failures are warnings.
///
/// @param share_source  Opens the source so that others may read it.
/// @param warn          Writes the warnings.
void copy_times_and_attributes(const char* source, const char* destination, bool share_source,
                               bool warn);

/// The system's text for the thread's last error, in a buffer that the next call overwrites.
const char* file_last_error_text();

}  // namespace orsin
